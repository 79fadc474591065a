// PLY files written in any encoding, with everything the geometry holds, a
// row at a time into a bounded buffer: a file of any size is written from the
// geometry's arrays without a copy of its own.

#include <brelldata/io/ScanFormats.h>

#include "io/FileBytes.h"
#include "io/Geometry.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace brell::io {

namespace {

// What the file holds, decided from the geometry before a byte is written.
struct Layout {
    Layout(const ScanGeometry& geometry, const std::string& name, PlyEncoding encoding);

    size_t VertexBytes() const
    {
        return (asFloat ? 12 : 24) + (normals ? 12 : 0) + (colors ? (alpha ? 4 : 3) : 0) + (uvPerVertex ? 8 : 0);
    }
    // The file's size in a binary encoding, with faces of three corners; what
    // progress is told against.
    uint64_t ExpectedBytes(const ScanGeometry& geometry) const
    {
        const uint64_t faceBytes = 13 + (uvPerCorner ? 25 : 0) + (faceColors ? (faceAlpha ? 4 : 3) : 0);
        return header.size() + geometry.positions.size() * VertexBytes() + geometry.faces.size() * faceBytes +
               edges * 8;
    }

    PlyEncoding encoding;
    bool asFloat, normals, colors, alpha, uvPerVertex, uvPerCorner, faceColors, faceAlpha;
    size_t edges;
    BulkVector<CVector_2<float>> vertexUv;
    std::string header;
};

bool AnyTranslucent(const BulkVector<RGBA>& colors)
{
    return std::any_of(colors.begin(), colors.end(), [](const RGBA& c) { return c.a != 255; });
}

Layout::Layout(const ScanGeometry& geometry, const std::string& name, PlyEncoding encoding) : encoding(encoding)
{
    detail::CheckWritable(geometry, name);
    asFloat = detail::PositionsFitFloat(geometry.positions);
    normals = !geometry.normals.empty();
    colors = !geometry.colors.empty();
    alpha = AnyTranslucent(geometry.colors);
    const bool hasUv = !geometry.texCoords.empty();
    uvPerVertex = hasUv && detail::PerVertexTexCoords(geometry, vertexUv);
    uvPerCorner = hasUv && !uvPerVertex;
    const bool mesh = !geometry.faces.empty();
    faceColors = !geometry.faceColors.empty();
    faceAlpha = AnyTranslucent(geometry.faceColors);
    edges = geometry.lineVertices.size() - geometry.lineStarts.size();

    static const char* formats[] = {"ascii", "binary_little_endian", "binary_big_endian"};
    header = "ply\nformat " + std::string(formats[static_cast<int>(encoding)]) + " 1.0\n";
    header += "element vertex " + std::to_string(geometry.positions.size()) + "\n";
    for (const char* axis : {"x", "y", "z"})
        header += std::string("property ") + (asFloat ? "float " : "double ") + axis + "\n";
    if (normals) header += "property float nx\nproperty float ny\nproperty float nz\n";
    if (colors) header += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    if (alpha) header += "property uchar alpha\n";
    if (uvPerVertex) header += "property float u\nproperty float v\n";
    if (mesh) {
        header += "element face " + std::to_string(geometry.faces.size()) + "\n";
        header += "property list uchar int vertex_indices\n";
        if (uvPerCorner) header += "property list uchar float texcoord\n";
        if (faceColors) header += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
        if (faceAlpha) header += "property uchar alpha\n";
    }
    if (edges > 0) header += "element edge " + std::to_string(edges) + "\nproperty int vertex1\nproperty int vertex2\n";
    header += "end_header\n";
}

// A row of binary values, in the file's byte order, written where it starts.
template <bool swap>
class BinaryRow {
public:
    explicit BinaryRow(char* start) : start_(start), at_(start) {}

    template <class T>
    void Value(T value)
    {
        if constexpr (swap && sizeof(T) > 1) {
            using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
            Bits bits;
            std::memcpy(&bits, &value, sizeof bits);
            bits = sizeof(T) == 4 ? __builtin_bswap32(static_cast<uint32_t>(bits)) : __builtin_bswap64(bits);
            std::memcpy(at_, &bits, sizeof bits);
        } else {
            std::memcpy(at_, &value, sizeof value);
        }
        at_ += sizeof(T);
    }
    // The row's length.
    size_t End() const { return static_cast<size_t>(at_ - start_); }

private:
    char* start_;
    char* at_;
};

// A row of text values: each in its shortest form that reads back the same,
// followed by a space, the last by the end of the line.
class TextRow {
public:
    explicit TextRow(char* start) : start_(start), at_(start) {}

    template <class T>
    void Value(T value)
    {
        if constexpr (sizeof(T) == 1) {
            at_ = std::to_chars(at_, at_ + kMostValueBytes, static_cast<int>(value)).ptr;
        } else {
            at_ = std::to_chars(at_, at_ + kMostValueBytes, value).ptr;
        }
        *at_++ = ' ';
    }
    size_t End()
    {
        at_[-1] = '\n';
        return static_cast<size_t>(at_ - start_);
    }

private:
    static constexpr size_t kMostValueBytes = 32;
    char* start_;
    char* at_;
};

// Room for any one row: a face of four corners with texture coordinates and
// colour, written as text, is the longest.
constexpr size_t kMostRowBytes = 1024;

template <class Row>
void WriteBody(ByteOutput& out, const ScanGeometry& geometry, const Layout& layout)
{
    const size_t vertices = geometry.positions.size();
    if (std::is_same_v<Row, BinaryRow<false>> && !layout.asFloat && layout.VertexBytes() == sizeof(VERTEX)) {
        // Rows of three doubles in the machine's order are the positions as they lie.
        out.Put(geometry.positions.data(), vertices * sizeof(VERTEX));
    } else {
        for (size_t i = 0; i < vertices; ++i) {
            Row row(out.Room(kMostRowBytes));
            const VERTEX& p = geometry.positions[i];
            if (layout.asFloat) {
                row.Value(static_cast<float>(p.x));
                row.Value(static_cast<float>(p.y));
                row.Value(static_cast<float>(p.z));
            } else {
                row.Value(p.x);
                row.Value(p.y);
                row.Value(p.z);
            }
            if (layout.normals) {
                const CVector_3<float>& n = geometry.normals[i];
                row.Value(n.x);
                row.Value(n.y);
                row.Value(n.z);
            }
            if (layout.colors) {
                const RGBA& c = geometry.colors[i];
                row.Value(c.r);
                row.Value(c.g);
                row.Value(c.b);
                if (layout.alpha) row.Value(c.a);
            }
            if (layout.uvPerVertex) {
                row.Value(layout.vertexUv[i].x);
                row.Value(layout.vertexUv[i].y);
            }
            out.Advance(row.End());
        }
    }
    for (size_t f = 0; f < geometry.faces.size(); ++f) {
        Row row(out.Room(kMostRowBytes));
        const CPolygon<int>& face = geometry.faces[f];
        row.Value(static_cast<uint8_t>(face.count));
        for (int k = 0; k < face.count; ++k) row.Value(static_cast<int32_t>(face.items[k]));
        if (layout.uvPerCorner) {
            const CPolygon<CVector_2<float>>& uv = geometry.texCoords[f];
            row.Value(static_cast<uint8_t>(2 * uv.count));
            for (int k = 0; k < uv.count; ++k) {
                row.Value(uv.items[k].x);
                row.Value(uv.items[k].y);
            }
        }
        if (layout.faceColors) {
            const RGBA& c = geometry.faceColors[f];
            row.Value(c.r);
            row.Value(c.g);
            row.Value(c.b);
            if (layout.faceAlpha) row.Value(c.a);
        }
        out.Advance(row.End());
    }
    for (size_t k = 0; k < geometry.lineStarts.size(); ++k) {
        const auto [from, to] = detail::LineRange(geometry, k);
        for (size_t i = from; i + 1 < to; ++i) {
            Row row(out.Room(kMostRowBytes));
            row.Value(static_cast<int32_t>(geometry.lineVertices[i]));
            row.Value(static_cast<int32_t>(geometry.lineVertices[i + 1]));
            out.Advance(row.End());
        }
    }
}

void WriteFile(ByteOutput& out, const ScanGeometry& geometry, const Layout& layout)
{
    out.Put(layout.header.data(), layout.header.size());
    const bool swap = (layout.encoding == PlyEncoding::binaryBigEndian) == (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
    if (layout.encoding == PlyEncoding::ascii) {
        WriteBody<TextRow>(out, geometry, layout);
    } else if (swap) {
        WriteBody<BinaryRow<true>>(out, geometry, layout);
    } else {
        WriteBody<BinaryRow<false>>(out, geometry, layout);
    }
    out.Drain();
}

class StringOutput : public ByteOutput {
public:
    std::string text;

private:
    void Take(const char* bytes, size_t size) override { text.append(bytes, size); }
};

}  // namespace

std::string WritePly(const ScanGeometry& geometry, const std::string& name, PlyEncoding encoding)
{
    const Layout layout(geometry, name, encoding);
    StringOutput out;
    if (encoding != PlyEncoding::ascii) out.text.reserve(layout.ExpectedBytes(geometry));
    WriteFile(out, geometry, layout);
    return std::move(out.text);
}

void detail::SavePly(const ScanGeometry& geometry, const std::string& path, PlyEncoding encoding)
{
    const Layout layout(geometry, path, encoding);
    // Text takes about twice the bytes of binary values.
    const uint64_t binaryBytes = layout.ExpectedBytes(geometry);
    FileSaver file(path, encoding == PlyEncoding::ascii ? 2 * binaryBytes : binaryBytes);
    WriteFile(file, geometry, layout);
    file.Commit();
}

}  // namespace brell::io
