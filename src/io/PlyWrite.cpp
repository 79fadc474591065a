// PLY files written in any encoding, with everything the geometry holds.

#include <brelldata/io/ScanFormats.h>

#include "io/Geometry.h"
#include "io/Text.h"

#include <algorithm>
#include <cstring>

namespace brell::io {

namespace {

// Writes values in the file's encoding.
class PlyOutput {
public:
    explicit PlyOutput(PlyEncoding encoding) : encoding_(encoding) {}

    void Text(const std::string& text) { text_ << text; }
    template <class T>
    void Value(T value, bool last = false)
    {
        if (encoding_ == PlyEncoding::ascii) {
            if constexpr (sizeof(T) == 1) {
                text_ << static_cast<int>(value);
            } else {
                text_ << value;
            }
            text_ << (last ? '\n' : ' ');
            return;
        }
        char bytes[sizeof(T)];
        std::memcpy(bytes, &value, sizeof(T));
        if (encoding_ == PlyEncoding::binaryBigEndian) std::reverse(bytes, bytes + sizeof(T));
        text_.Raw(bytes, sizeof(T));
    }
    void Reserve(size_t size) { text_.Reserve(size); }
    std::string Take() { return text_.Take(); }

private:
    PlyEncoding encoding_;
    detail::TextOutput text_;
};

}  // namespace

std::string WritePly(const ScanGeometry& geometry, const std::string& name, PlyEncoding encoding)
{
    detail::CheckWritable(geometry, name);
    const bool asFloat = detail::PositionsFitFloat(geometry.positions);
    const bool normals = !geometry.normals.empty();
    const bool colors = !geometry.colors.empty();
    const bool alpha =
        std::any_of(geometry.colors.begin(), geometry.colors.end(), [](const RGBA& c) { return c.a != 255; });
    BulkVector<CVector_2<float>> vertexUv;
    const bool hasUv = !geometry.texCoords.empty();
    const bool uvPerVertex = hasUv && detail::PerVertexTexCoords(geometry, vertexUv);
    const bool uvPerCorner = hasUv && !uvPerVertex;
    const bool mesh = !geometry.faces.empty();
    const bool faceColors = !geometry.faceColors.empty();
    const bool faceAlpha =
        std::any_of(geometry.faceColors.begin(), geometry.faceColors.end(), [](const RGBA& c) { return c.a != 255; });
    const size_t edges = geometry.lineVertices.size() - geometry.lineStarts.size();

    static const char* formats[] = {"ascii", "binary_little_endian", "binary_big_endian"};
    std::string header = "ply\nformat " + std::string(formats[static_cast<int>(encoding)]) + " 1.0\n";
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

    PlyOutput out(encoding);
    out.Text(header);
    out.Reserve(geometry.positions.size() * (asFloat ? 12 : 24) + geometry.faces.size() * 17);
    for (size_t i = 0; i < geometry.positions.size(); ++i) {
        const VERTEX& p = geometry.positions[i];
        const bool more = normals || colors || uvPerVertex;
        if (asFloat) {
            out.Value(static_cast<float>(p.x));
            out.Value(static_cast<float>(p.y));
            out.Value(static_cast<float>(p.z), !more);
        } else {
            out.Value(p.x);
            out.Value(p.y);
            out.Value(p.z, !more);
        }
        if (normals) {
            const CVector_3<float>& n = geometry.normals[i];
            out.Value(n.x);
            out.Value(n.y);
            out.Value(n.z, !colors && !uvPerVertex);
        }
        if (colors) {
            const RGBA& c = geometry.colors[i];
            out.Value(c.r);
            out.Value(c.g);
            out.Value(c.b, !alpha && !uvPerVertex);
            if (alpha) out.Value(c.a, !uvPerVertex);
        }
        if (uvPerVertex) {
            out.Value(vertexUv[i].x);
            out.Value(vertexUv[i].y, true);
        }
    }
    for (size_t f = 0; f < geometry.faces.size(); ++f) {
        const CPolygon<int>& face = geometry.faces[f];
        out.Value(static_cast<uint8_t>(face.count));
        for (int k = 0; k < face.count; ++k)
            out.Value(static_cast<int32_t>(face.items[k]), k + 1 == face.count && !uvPerCorner && !faceColors);
        if (uvPerCorner) {
            const CPolygon<CVector_2<float>>& row = geometry.texCoords[f];
            out.Value(static_cast<uint8_t>(2 * row.count));
            for (int k = 0; k < row.count; ++k) {
                out.Value(row.items[k].x);
                out.Value(row.items[k].y, k + 1 == row.count && !faceColors);
            }
        }
        if (faceColors) {
            const RGBA& c = geometry.faceColors[f];
            out.Value(c.r);
            out.Value(c.g);
            out.Value(c.b, !faceAlpha);
            if (faceAlpha) out.Value(c.a, true);
        }
    }
    for (size_t k = 0; k < geometry.lineStarts.size(); ++k) {
        const auto [from, to] = detail::LineRange(geometry, k);
        for (size_t i = from; i + 1 < to; ++i) {
            out.Value(static_cast<int32_t>(geometry.lineVertices[i]));
            out.Value(static_cast<int32_t>(geometry.lineVertices[i + 1]), true);
        }
    }
    return out.Take();
}

}  // namespace brell::io
