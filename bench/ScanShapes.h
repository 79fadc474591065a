#pragma once

// Scans of known shape and size that the benchmarks and the peak memory
// harness make for themselves.

#include <brelldata/io/ScanGeometry.h>

constexpr int kMeshVertices = 1000000;
constexpr int kMeshTriangles = 2000000;

// A scan-like mesh: a 1000 x 1000 grid of float positions with a height
// field, and 2,000,000 triangles over it.
brell::io::ScanGeometry GridMesh();

// A scanned surface as a point cloud of float positions on a height field,
// each point with its red, green and blue when coloured.
brell::io::ScanGeometry PointCloud(int points, bool coloured);
