#pragma once

// How many vertices a streamed PLY point cloud holds in memory at a time;
// tests lower it to cross piece boundaries in files of a few vertices.

#include <brelldata/io/Export.h>

#include <cstddef>

namespace brell::io::detail {

// 65536 vertices, a few MB with their normals and colours.
BRELL_IO_API size_t PlyPieceVertices();

// Lowers the piece size on this thread while it lives.
class BRELL_IO_API PlyPieceScope {
public:
    explicit PlyPieceScope(size_t vertices);
    ~PlyPieceScope();
    PlyPieceScope(const PlyPieceScope&) = delete;
    PlyPieceScope& operator=(const PlyPieceScope&) = delete;

private:
    size_t previous_;
};

}  // namespace brell::io::detail
