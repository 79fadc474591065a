#include "ScanShapes.h"

#include <cstdint>

using brell::io::ScanGeometry;

namespace {

// A height field over a grid of rows of width points.
VERTEX GridPoint(int i, int width)
{
    const float x = static_cast<float>(i % width) * 0.37f;
    const float y = static_cast<float>(i / width) * 0.41f;
    return {x, y, static_cast<float>((i * int64_t{7919}) % 10007) * 0.0013f};
}

}  // namespace

ScanGeometry GridMesh()
{
    ScanGeometry mesh;
    mesh.positions.resize(kMeshVertices);
    for (int i = 0; i < kMeshVertices; ++i) mesh.positions[i] = GridPoint(i, 1000);
    mesh.faces.resize(kMeshTriangles);
    for (int t = 0; t < kMeshTriangles; ++t) {
        const int corner = (t / 2) % (kMeshVertices - 1001);
        mesh.faces[t] = t % 2 == 0 ? CPolygon<int>{{corner, corner + 1, corner + 1000, 0}, 3}
                                   : CPolygon<int>{{corner + 1, corner + 1001, corner + 1000, 0}, 3};
    }
    return mesh;
}

ScanGeometry PointCloud(int points, bool coloured)
{
    ScanGeometry cloud;
    cloud.positions.resize(points);
    for (int i = 0; i < points; ++i) cloud.positions[i] = GridPoint(i, 2000);
    if (!coloured) return cloud;
    cloud.colors.resize(points);
    for (int i = 0; i < points; ++i)
        cloud.colors[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 3), static_cast<uint8_t>(i >> 6), 255};
    return cloud;
}
