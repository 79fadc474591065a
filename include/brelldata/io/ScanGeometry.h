#pragma once

#include <brelldata/data/BulkMemory.h>
#include <brelldata/data/Records.h>
#include <brelldata/data/PolygonDataStore.h>

#include <cstddef>
#include <string>
#include <vector>

namespace brell::io {

// What a scan file holds, independent of its format: points, optionally joined
// into faces of three or four corners and into polylines. The per-vertex arrays
// are empty or hold one entry per position; the per-face ones (texCoords with
// one coordinate per corner, faceColors) are empty or hold one per face.
struct ScanGeometry {
    BulkVector<VERTEX> positions;
    BulkVector<CVector_3<float>> normals;
    // Channels 0 to 255; a file without alpha gives 255.
    BulkVector<RGBA> colors;
    // Corner indices into positions, 3 or 4 per face; empty for a point cloud.
    BulkVector<CPolygon<int>> faces;
    BulkVector<CPolygon<CVector_2<float>>> texCoords;
    // Channels 0 to 255, one colour per face.
    BulkVector<RGBA> faceColors{};
    // Polylines through vertices: line k runs through lineVertices from
    // lineStarts[k] up to the next line's start (or the end), 2 or more.
    BulkVector<int> lineVertices{};
    BulkVector<int> lineStarts{};
    // What a reader met but could not keep, one line per kind of thing with
    // its count, e.g. "1500 values of vertex property \"confidence\" dropped".
    std::vector<std::string> warnings{};
    // Statements a reader recognised as valid but not geometry and skipped
    // (OBJ groups, materials, smoothing, ...); not written back.
    size_t skippedStatements = 0;
};

}  // namespace brell::io
