#pragma once

#include <brelldata/io/ScanFormats.h>
#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/io/ScanGeometry.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Pieces every format shares: building faces, checking geometry before it is
// written, and writing numbers as text.

namespace brell::io {
class FileWindow;
}

namespace brell::io::detail {

// ReadPly of the file in the window, which it slides on as it reads. With
// positionStore, the vertices' positions go into it (what it held before is
// replaced) and the geometry's positions stay empty.
ScanGeometry ReadPly(FileWindow& window, const std::string& name,
                     CArrayDataStore<VERTEX>* positionStore = nullptr);
// ReadScanFile with the positions in positionStore (what it held before is
// replaced) and the geometry's positions left empty.
ScanGeometry ReadScanFile(const std::string& path, CArrayDataStore<VERTEX>& positionStore);
// Moves the geometry's positions into store, replacing what it held, and
// leaves them empty: their pages are given back to the system as they are
// copied, so that the move needs little more memory than the store. FileError
// naming name for more vertices than a store holds.
void MovePositions(ScanGeometry& geometry, CArrayDataStore<VERTEX>& store, const std::string& name);
// WritePly saved at path as SaveFile saves, the file written as it is made.
void SavePly(const ScanGeometry& geometry, const std::string& path, PlyEncoding encoding);

// One model's or mesh's arrays, in a scan written part after part straight
// from its stores; an array is null where the part has none (its vertices
// then get normal (0, 0, 0) and opaque white, its faces opaque white).
struct ScanPart {
    const VERTEX* positions = nullptr;
    size_t vertices = 0;
    const CVector_3<float>* normals = nullptr;
    const RGBA* colors = nullptr;
    const CPolygon<int>* faces = nullptr;
    size_t faceCount = 0;
    const RGBA* faceColors = nullptr;
};
// SavePly of the geometry the parts make when joined, each part's faces
// moved past the vertices of the parts before it. The parts are checked as
// CheckWritable checks the joined geometry, whose faces' indices must
// already lie within their own part.
void SavePly(const std::vector<ScanPart>& parts, const std::string& path, PlyEncoding encoding);

// Appends polygons to a geometry's faces. Three and four corners make one
// face; more are split into triangles that cover the polygon whatever its
// shape: ears are cut from the polygon as projected onto the plane of its
// Newell normal, so a convex polygon gives the fan around its first corner
// and a concave one no triangle outside it. Its buffers serve polygon after
// polygon.
class PolygonSplitter {
public:
    // The polygon of n >= 3 corners, whose corner k is face index corners[k]
    // at geometry.positions[vertices[k]] (vertices may be corners); with uv
    // also its texture coordinate rows.
    // With color, every face made gets it.
    void Add(ScanGeometry& geometry, const int* corners, const int* vertices, const CVector_2<float>* uv, size_t n,
             const RGBA* color = nullptr);
    // Vertices are found at positions from now on, not in the geometry (for
    // a reader that puts them in a store of their own).
    void FindVerticesAt(const VERTEX* positions) { positions_ = positions; }

private:
    struct Point {
        double u, v;
    };
    void Triangle(ScanGeometry& geometry, const int* corners, const CVector_2<float>* uv, const RGBA* color, size_t a,
                  size_t b, size_t c);
    bool Project(const VERTEX* positions, const int* vertices, size_t n);
    bool IsEar(size_t previous, size_t corner, size_t next);

    const VERTEX* positions_ = nullptr;
    std::vector<Point> points_;
    std::vector<size_t> previous_, next_;
    uint64_t work_ = 0;  // corners tested against ears so far
};

// Appends the polyline through n >= 2 vertices.
void AddLine(ScanGeometry& geometry, const int* vertices, size_t n);
// Appends the edge from a to b: to the last line when that ends at a, else as a new line.
void AddEdge(ScanGeometry& geometry, int a, int b);
// The range of line k's vertices in lineVertices.
inline std::pair<size_t, size_t> LineRange(const ScanGeometry& geometry, size_t k)
{
    const size_t end = k + 1 < geometry.lineStarts.size() ? static_cast<size_t>(geometry.lineStarts[k + 1])
                                                          : geometry.lineVertices.size();
    return {static_cast<size_t>(geometry.lineStarts[k]), end};
}

// "count what dropped", the form of every reader's warnings.
std::string Dropped(uint64_t count, const std::string& what);

// FileError naming name unless the per-vertex arrays match the positions,
// every face has 3 or 4 corners naming existing vertices, texCoords is empty
// or parallel to the faces with matching corner counts, faceColors is empty
// or parallel to the faces, and every line has 2 or more existing vertices.
void CheckGeometry(const ScanGeometry& geometry, const std::string& name);

// CheckGeometry, and the rest of what a reader would refuse: coordinates
// that are not finite, and for a format that cannot hold an empty scan
// (format names it) geometry without vertices.
void CheckWritable(const ScanGeometry& geometry, const std::string& name, const char* formatWithoutEmpty = nullptr);

// CheckWritable of the geometry the parts make joined (see SavePly).
void CheckWritable(const std::vector<ScanPart>& parts, const std::string& name);

// The texture coordinate of each vertex when every corner of that vertex
// agrees (vertices no face uses get (0, 0)); false when any two disagree.
bool PerVertexTexCoords(const ScanGeometry& geometry, BulkVector<CVector_2<float>>& perVertex);

// True when every coordinate is a float value (or not a number).
bool PositionsFitFloat(const VERTEX* positions, size_t count);

// A colour channel of 0 to 1 as 0 to 255, rounded and clamped.
inline uint8_t UnitToChannel(double value)
{
    if (!(value > 0)) return 0;
    if (value >= 1) return 255;
    return static_cast<uint8_t>(std::lround(value * 255.0));
}

// A text file's bytes, built with std::to_chars: shortest forms that read back
// to the same value.
class TextOutput {
public:
    template <class T>
    TextOutput& operator<<(T value)
    {
        char buffer[32];
        auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
        text_.append(buffer, result.ptr);
        return *this;
    }
    TextOutput& operator<<(char c)
    {
        text_ += c;
        return *this;
    }
    TextOutput& operator<<(const char* text)
    {
        text_ += text;
        return *this;
    }
    TextOutput& operator<<(const std::string& text)
    {
        text_ += text;
        return *this;
    }
    void Raw(const char* bytes, size_t size) { text_.append(bytes, size); }
    void Reserve(size_t size) { text_.reserve(size); }
    std::string Take() { return std::move(text_); }

private:
    std::string text_;
};

}  // namespace brell::io::detail
