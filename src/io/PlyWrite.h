#pragma once

// PLY point clouds written a piece of vertices at a time, for a cloud that is
// never whole in memory.

#include "io/Geometry.h"

#include <memory>
#include <string>

namespace brell::io::detail {

// True when any of the colours (none when null) is not opaque: the file
// then gives every colour its alpha.
bool AnyTranslucent(const RGBA* colors, size_t count);

// What a point cloud's file holds, decided before its first vertex is written.
struct PlyPointShape {
    size_t vertices = 0;
    bool asFloat = true, normals = false, colors = false, alpha = false;
};

// The file SavePly saves for the cloud all the pieces make, each piece's
// vertices written as it comes. Destroyed without Commit, it leaves nothing
// behind.
class PlyPointSaver {
public:
    PlyPointSaver(const std::string& path, const PlyPointShape& shape, PlyEncoding encoding);
    ~PlyPointSaver();
    PlyPointSaver(const PlyPointSaver&) = delete;
    PlyPointSaver& operator=(const PlyPointSaver&) = delete;

    // A piece without faces; its arrays are null where the shape has none.
    void Put(const ScanPart& piece);
    void Commit();

private:
    struct Saving;
    std::unique_ptr<Saving> saving_;
};

}  // namespace brell::io::detail
