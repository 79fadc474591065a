#pragma once

#include <brelldata/io/ScanGeometry.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

// Pieces every format shares: building faces, checking geometry before it is
// written, and writing numbers as text.

namespace brell::io {
class FileWindow;
}

namespace brell::io::detail {

// ReadPly of the file in the window, which it slides on as it reads.
ScanGeometry ReadPly(FileWindow& window, const std::string& name);

// Appends the polygon of n > 4 corners as a fan of triangles around the
// first; with uv also their texture coordinate rows.
void AddFan(ScanGeometry& geometry, const int* corners, const CVector_2<float>* uv, size_t n);

// Appends the polygon of n >= 3 corners as one face, or as AddFan for more
// than four corners; with uv also its texture coordinate row.
inline void AddPolygon(ScanGeometry& geometry, const int* corners, const CVector_2<float>* uv, size_t n)
{
    if (n > 4) return AddFan(geometry, corners, uv, n);
    CPolygon<int> face{{}, static_cast<int>(n)};
    for (size_t k = 0; k < n; ++k) face.items[k] = corners[k];
    geometry.faces.push_back(face);
    if (uv == nullptr) return;
    CPolygon<CVector_2<float>> row{{}, static_cast<int>(n)};
    for (size_t k = 0; k < n; ++k) row.items[k] = uv[k];
    geometry.texCoords.push_back(row);
}

// FileError naming name unless the per-vertex arrays match the positions,
// every face has 3 or 4 corners naming existing vertices, and texCoords is
// empty or parallel to the faces with matching corner counts.
void CheckGeometry(const ScanGeometry& geometry, const std::string& name);

// The texture coordinate of each vertex when every corner of that vertex
// agrees (vertices no face uses get (0, 0)); false when any two disagree.
bool PerVertexTexCoords(const ScanGeometry& geometry, BulkVector<CVector_2<float>>& perVertex);

// True when every coordinate is a float value (or not a number).
bool PositionsFitFloat(const BulkVector<VERTEX>& positions);

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
