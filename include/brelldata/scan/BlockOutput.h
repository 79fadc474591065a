#pragma once

#include <brelldata/Export.h>
#include <brelldata/data/ByteOutput.h>

#include <cstdint>

class CBaseNode;

namespace brell {

// The bytes of node's data block, counted in 64 bits: for the scan-data
// classes, which lay out their blocks themselves, also past the 2 GB at which
// SizeOfByte gives up; 0 when they cannot be counted (null, a block of any
// other class past 2 GB, or an attribute block past it).
BRELL_API uint64_t DataBlockBytes(CBaseNode* node);

// Puts node's data block into out: the bytes its Write makes. The scan-data
// classes put their stores a bounded piece at a time; any other class's
// block is made whole first. false, with nothing put, for null and for a
// block past 2 GB; std::bad_alloc when a block made whole cannot be.
BRELL_API bool PutDataBlock(CBaseNode* node, ByteOutput& out);

// What the model and mesh blocks take, for planning a scan's nodes before
// they are made: a model's or mesh's block with that many vertices, no
// polygons and an empty attribute block, and what one polygon of that many
// corners adds to a mesh's, with its row of texture coordinates when
// texCoords. std::bad_alloc when the empty node to count cannot be made.
BRELL_API uint64_t ModelBlockBytes(uint64_t vertices);
BRELL_API uint64_t MeshBlockBytes(uint64_t vertices);
BRELL_API uint64_t MeshPolygonBytes(int corners, bool texCoords);

}  // namespace brell
