#pragma once

#include <brelldata/data/BulkMemory.h>
#include <brelldata/data/Records.h>
#include <brelldata/data/PolygonDataStore.h>

#include <cstddef>

namespace brell::io {

// What a scan file holds, independent of its format: points, optionally joined
// into faces of three or four corners. The per-vertex arrays are empty or hold
// one entry per position; texCoords is empty or holds one row per face with
// one coordinate per corner.
struct ScanGeometry {
    BulkVector<VERTEX> positions;
    BulkVector<CVector_3<float>> normals;
    // Channels 0 to 255; a file without alpha gives 255.
    BulkVector<RGBA> colors;
    // Corner indices into positions, 3 or 4 per face; empty for a point cloud.
    BulkVector<CPolygon<int>> faces;
    BulkVector<CPolygon<CVector_2<float>>> texCoords;
    // Statements a reader recognised as valid but not geometry and skipped
    // (OBJ groups, materials, smoothing, ...); not written back.
    size_t skippedStatements = 0;
};

}  // namespace brell::io
