#pragma once

// Element-for-element comparison of scan geometry, and a small textured mesh.

#include <brelldata/io/ScanGeometry.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace brell::test {

// Plain records are equal byte for byte; rows of up to four items in the items in use.
template <class T>
bool Same(const T& a, const T& b)
{
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class T>
bool Same(const CPolygon<T>& a, const CPolygon<T>& b)
{
    return a.count == b.count && std::memcmp(a.items, b.items, sizeof(T) * a.count) == 0;
}

// The index of the first differing item of two arrays, or "" when they are
// equal; sizes compared first.
template <class T>
std::string FirstDifference(const BulkVector<T>& a, const BulkVector<T>& b)
{
    if (a.size() != b.size()) return "sizes " + std::to_string(a.size()) + " and " + std::to_string(b.size());
    for (size_t i = 0; i < a.size(); ++i) {
        if (!Same(a[i], b[i])) return "item " + std::to_string(i);
    }
    return "";
}

inline void ExpectSameGeometry(const io::ScanGeometry& a, const io::ScanGeometry& b, const std::string& label = "")
{
    EXPECT_EQ(FirstDifference(a.positions, b.positions), "") << label << " positions";
    EXPECT_EQ(FirstDifference(a.normals, b.normals), "") << label << " normals";
    EXPECT_EQ(FirstDifference(a.colors, b.colors), "") << label << " colors";
    EXPECT_EQ(FirstDifference(a.faces, b.faces), "") << label << " faces";
    EXPECT_EQ(FirstDifference(a.texCoords, b.texCoords), "") << label << " texCoords";
    EXPECT_EQ(FirstDifference(a.faceColors, b.faceColors), "") << label << " faceColors";
    EXPECT_EQ(FirstDifference(a.lineVertices, b.lineVertices), "") << label << " lineVertices";
    EXPECT_EQ(FirstDifference(a.lineStarts, b.lineStarts), "") << label << " lineStarts";
}

// Five vertices with normals and colours, a quad and a triangle, textured.
inline io::ScanGeometry TexturedMesh()
{
    io::ScanGeometry g;
    g.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0.1, 0.2, 1.0 / 3}};
    g.normals = {{0, 0, 1}, {0, 0, 1}, {0.6f, 0, 0.8f}, {0, 0, -1}, {1, 0, 0}};
    g.colors = {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {9, 8, 7, 255}, {1, 2, 3, 255}};
    g.faces = {{{0, 1, 2, 3}, 4}, {{3, 2, 4, 0}, 3}};
    g.texCoords = {{{{0, 0}, {1, 0}, {1, 1}, {0, 1}}, 4}, {{{0.5f, 0.5f}, {0.25f, 1}, {0.125f, 0}, {}}, 3}};
    return g;
}

}  // namespace brell::test
