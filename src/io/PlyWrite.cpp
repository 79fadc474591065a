// PLY files written in any encoding, with everything the geometry holds, a
// row at a time into a bounded buffer: a file of any size is written from the
// geometry's arrays without a copy of its own.

#include <brelldata/io/ScanFormats.h>

#include "io/FileBytes.h"
#include "io/Geometry.h"
#include "io/PlyWrite.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <vector>

namespace brell::io {

namespace {

constexpr RGBA kWhite{255, 255, 255, 255};

// The parts of a geometry: the geometry itself.
std::vector<detail::ScanPart> PartsOf(const ScanGeometry& geometry)
{
    auto orNull = [](const auto& items) { return items.empty() ? nullptr : items.data(); };
    return {{geometry.positions.data(), geometry.positions.size(), orNull(geometry.normals), orNull(geometry.colors),
             geometry.faces.data(), geometry.faces.size(), orNull(geometry.faceColors)}};
}

// What the file holds, decided from its parts before a byte is written;
// texture coordinates and lines come from a whole geometry, when there is one.
struct Layout {
    Layout(const std::vector<detail::ScanPart>& parts, const ScanGeometry* whole, PlyEncoding encoding);
    Layout(const detail::PlyPointShape& shape, PlyEncoding encoding);

    size_t VertexBytes() const
    {
        return (asFloat ? 12 : 24) + (normals ? 12 : 0) + (colors ? (alpha ? 4 : 3) : 0) + (uvPerVertex ? 8 : 0);
    }
    // The file's size in a binary encoding, with faces of three corners; what
    // progress is told against.
    uint64_t ExpectedBytes() const
    {
        const uint64_t faceBytes = 13 + (uvPerCorner ? 25 : 0) + (faceColors ? (faceAlpha ? 4 : 3) : 0);
        return header.size() + vertices * VertexBytes() + faces * faceBytes + edges * 8;
    }
    // What a saver tells progress against: text takes about twice the bytes
    // of binary values.
    uint64_t SavedBytes() const { return encoding == PlyEncoding::ascii ? 2 * ExpectedBytes() : ExpectedBytes(); }

    PlyEncoding encoding;
    size_t vertices = 0, faces = 0, edges = 0;
    bool asFloat = true, normals = false, colors = false, alpha = false, faceColors = false, faceAlpha = false;
    bool uvPerVertex = false, uvPerCorner = false;
    BulkVector<CVector_2<float>> vertexUv;
    std::string header;

private:
    void MakeHeader();
};

Layout::Layout(const std::vector<detail::ScanPart>& parts, const ScanGeometry* whole, PlyEncoding encoding)
    : encoding(encoding)
{
    for (const detail::ScanPart& part : parts) {
        vertices += part.vertices;
        faces += part.faceCount;
        asFloat = asFloat && detail::PositionsFitFloat(part.positions, part.vertices);
        normals = normals || part.normals != nullptr;
        colors = colors || part.colors != nullptr;
        alpha = alpha || detail::AnyTranslucent(part.colors, part.vertices);
        faceColors = faceColors || part.faceColors != nullptr;
        faceAlpha = faceAlpha || detail::AnyTranslucent(part.faceColors, part.faceCount);
    }
    if (whole != nullptr) {
        const bool hasUv = !whole->texCoords.empty();
        uvPerVertex = hasUv && detail::PerVertexTexCoords(*whole, vertexUv);
        uvPerCorner = hasUv && !uvPerVertex;
        edges = whole->lineVertices.size() - whole->lineStarts.size();
    }
    MakeHeader();
}

Layout::Layout(const detail::PlyPointShape& shape, PlyEncoding encoding)
    : encoding(encoding),
      vertices(shape.vertices),
      asFloat(shape.asFloat),
      normals(shape.normals),
      colors(shape.colors),
      alpha(shape.alpha)
{
    MakeHeader();
}

void Layout::MakeHeader()
{
    static const char* formats[] = {"ascii", "binary_little_endian", "binary_big_endian"};
    header = "ply\nformat " + std::string(formats[static_cast<int>(encoding)]) + " 1.0\n";
    header += "element vertex " + std::to_string(vertices) + "\n";
    for (const char* axis : {"x", "y", "z"})
        header += std::string("property ") + (asFloat ? "float " : "double ") + axis + "\n";
    if (normals) header += "property float nx\nproperty float ny\nproperty float nz\n";
    if (colors) header += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    if (alpha) header += "property uchar alpha\n";
    if (uvPerVertex) header += "property float u\nproperty float v\n";
    if (faces > 0) {
        header += "element face " + std::to_string(faces) + "\n";
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
void WriteColour(Row& row, RGBA c, bool alpha)
{
    row.Value(c.r);
    row.Value(c.g);
    row.Value(c.b);
    if (alpha) row.Value(c.a);
}

template <class Row>
void WriteVertices(ByteOutput& out, const detail::ScanPart& part, size_t first, const Layout& layout)
{
    if (std::is_same_v<Row, BinaryRow<false>> && !layout.asFloat && layout.VertexBytes() == sizeof(VERTEX)) {
        // Rows of three doubles in the machine's order are the positions as they lie.
        out.Put(part.positions, part.vertices * sizeof(VERTEX));
        return;
    }
    for (size_t i = 0; i < part.vertices; ++i) {
        Row row(out.Room(kMostRowBytes));
        const VERTEX& p = part.positions[i];
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
            const CVector_3<float> n = part.normals != nullptr ? part.normals[i] : CVector_3<float>{0, 0, 0};
            row.Value(n.x);
            row.Value(n.y);
            row.Value(n.z);
        }
        if (layout.colors) WriteColour(row, part.colors != nullptr ? part.colors[i] : kWhite, layout.alpha);
        if (layout.uvPerVertex) {
            row.Value(layout.vertexUv[first + i].x);
            row.Value(layout.vertexUv[first + i].y);
        }
        out.Advance(row.End());
    }
}

template <class Row>
void WriteFaces(ByteOutput& out, const detail::ScanPart& part, int firstVertex, size_t first,
                const ScanGeometry* whole, const Layout& layout)
{
    for (size_t f = 0; f < part.faceCount; ++f) {
        Row row(out.Room(kMostRowBytes));
        const CPolygon<int>& face = part.faces[f];
        row.Value(static_cast<uint8_t>(face.count));
        for (int k = 0; k < face.count; ++k) row.Value(static_cast<int32_t>(face.items[k] + firstVertex));
        if (layout.uvPerCorner) {
            const CPolygon<CVector_2<float>>& uv = whole->texCoords[first + f];
            row.Value(static_cast<uint8_t>(2 * uv.count));
            for (int k = 0; k < uv.count; ++k) {
                row.Value(uv.items[k].x);
                row.Value(uv.items[k].y);
            }
        }
        if (layout.faceColors)
            WriteColour(row, part.faceColors != nullptr ? part.faceColors[f] : kWhite, layout.faceAlpha);
        out.Advance(row.End());
    }
}

template <class Row>
void WriteBody(ByteOutput& out, const std::vector<detail::ScanPart>& parts, const ScanGeometry* whole,
               const Layout& layout)
{
    size_t vertices = 0, faces = 0;
    for (const detail::ScanPart& part : parts) {
        WriteVertices<Row>(out, part, vertices, layout);
        vertices += part.vertices;
    }
    vertices = 0;
    for (const detail::ScanPart& part : parts) {
        WriteFaces<Row>(out, part, static_cast<int>(vertices), faces, whole, layout);
        vertices += part.vertices;
        faces += part.faceCount;
    }
    for (size_t k = 0; whole != nullptr && k < whole->lineStarts.size(); ++k) {
        const auto [from, to] = detail::LineRange(*whole, k);
        for (size_t i = from; i + 1 < to; ++i) {
            Row row(out.Room(kMostRowBytes));
            row.Value(static_cast<int32_t>(whole->lineVertices[i]));
            row.Value(static_cast<int32_t>(whole->lineVertices[i + 1]));
            out.Advance(row.End());
        }
    }
}

// Calls write with the row type of the encoding as a null pointer.
template <class Write>
void WithRow(PlyEncoding encoding, Write write)
{
    const bool swap = (encoding == PlyEncoding::binaryBigEndian) == (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
    if (encoding == PlyEncoding::ascii) {
        write(static_cast<TextRow*>(nullptr));
    } else if (swap) {
        write(static_cast<BinaryRow<true>*>(nullptr));
    } else {
        write(static_cast<BinaryRow<false>*>(nullptr));
    }
}

void WriteFile(ByteOutput& out, const std::vector<detail::ScanPart>& parts, const ScanGeometry* whole,
               const Layout& layout)
{
    out.Put(layout.header.data(), layout.header.size());
    WithRow(layout.encoding, [&](auto* row) {
        WriteBody<std::remove_pointer_t<decltype(row)>>(out, parts, whole, layout);
    });
    out.Drain();
}

// Saves the parts (and what the whole geometry adds) at path.
void Save(const std::vector<detail::ScanPart>& parts, const ScanGeometry* whole, const std::string& path,
          PlyEncoding encoding)
{
    const Layout layout(parts, whole, encoding);
    FileSaver file(path, layout.SavedBytes());
    WriteFile(file, parts, whole, layout);
    file.Commit();
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
    detail::CheckWritable(geometry, name);
    const std::vector<detail::ScanPart> parts = PartsOf(geometry);
    const Layout layout(parts, &geometry, encoding);
    StringOutput out;
    if (encoding != PlyEncoding::ascii) out.text.reserve(layout.ExpectedBytes());
    WriteFile(out, parts, &geometry, layout);
    return std::move(out.text);
}

void detail::SavePly(const ScanGeometry& geometry, const std::string& path, PlyEncoding encoding)
{
    CheckWritable(geometry, path);
    Save(PartsOf(geometry), &geometry, path, encoding);
}

bool detail::AnyTranslucent(const RGBA* colors, size_t count)
{
    return colors != nullptr && std::any_of(colors, colors + count, [](const RGBA& c) { return c.a != 255; });
}

struct detail::PlyPointSaver::Saving {
    Layout layout;
    FileSaver file;
    size_t written = 0;
};

detail::PlyPointSaver::PlyPointSaver(const std::string& path, const PlyPointShape& shape, PlyEncoding encoding)
{
    Layout layout(shape, encoding);
    const uint64_t bytes = layout.SavedBytes();
    saving_.reset(new Saving{std::move(layout), FileSaver(path, bytes)});
    saving_->file.Put(saving_->layout.header.data(), saving_->layout.header.size());
}

detail::PlyPointSaver::~PlyPointSaver() = default;

void detail::PlyPointSaver::Put(const ScanPart& piece)
{
    WithRow(saving_->layout.encoding, [&](auto* row) {
        WriteVertices<std::remove_pointer_t<decltype(row)>>(saving_->file, piece, saving_->written, saving_->layout);
    });
    saving_->written += piece.vertices;
}

void detail::PlyPointSaver::Commit()
{
    saving_->file.Commit();
}

void detail::SavePly(const std::vector<ScanPart>& parts, const std::string& path, PlyEncoding encoding)
{
    CheckWritable(parts, path);
    Save(parts, nullptr, path, encoding);
}

}  // namespace brell::io
