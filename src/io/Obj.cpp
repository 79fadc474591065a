#include <brelldata/io/ScanFormats.h>

#include "io/Geometry.h"
#include "io/Text.h"

#include <unordered_map>

namespace brell::io {

namespace {

using detail::TextCursor;

bool IsKeyword(std::string_view word)
{
    for (char c : word) {
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_')) return false;
    }
    return !word.empty() && !(word[0] >= '0' && word[0] <= '9');
}

// One corner of a face statement: 0-based indices, -1 where absent.
struct Corner {
    int vertex;
    int texCoord;
    int normal;
};

// Reads "v", "v/vt", "v//vn" or "v/vt/vn"; positive indices count from 1,
// negative ones back from the last item defined so far.
Corner ReadCorner(TextCursor& text, size_t vertices, size_t texCoords, size_t normals)
{
    auto index = [&text](size_t count, const char* what) {
        const char* start = text.At();
        int64_t value = 0;
        int64_t resolved = -1;
        if (text.TryNumber(value, '/') && value != 0)
            resolved = value > 0 ? value - 1 : static_cast<int64_t>(count) + value;
        if (resolved < 0 || resolved >= static_cast<int64_t>(count)) {
            text.FailAt(start, count == 0 ? std::string(what) + " index, with one defined before it"
                                          : std::string(what) + " index of 1 to " + std::to_string(count) +
                                                " or -1 to -" + std::to_string(count));
        }
        return static_cast<int>(resolved);
    };
    Corner corner{index(vertices, "a vertex"), -1, -1};
    if (!text.Skip('/')) return corner;
    if (!text.Skip('/')) {
        corner.texCoord = index(texCoords, "a texture coordinate");
        if (!text.Skip('/')) return corner;
    }
    corner.normal = index(normals, "a normal");
    return corner;
}

// Builds the geometry statement by statement. Per-vertex normals come from
// the faces' corners; a vertex whose corners name different normals is copied
// once for each further normal.
class ObjReader {
public:
    ObjReader(std::string_view bytes, const std::string& name) : text_(bytes, name) {}

    ScanGeometry Read()
    {
        for (;;) {
            text_.SkipSpace('#');
            if (text_.AtEnd()) break;
            const std::string_view keyword = text_.Token();
            if (keyword == "v") {
                Vertex();
            } else if (keyword == "vt") {
                const float u = Single("a texture coordinate u");
                const float v = text_.AtLineEnd('#') ? 0.0f : Single("a texture coordinate v");
                if (!text_.AtLineEnd('#')) Single("a texture coordinate w");
                texCoords_.push_back({u, v});
            } else if (keyword == "vn") {
                const float x = Single("a normal coordinate");
                const float y = Single("a normal coordinate");
                normals_.push_back({x, y, Single("a normal coordinate")});
            } else if (keyword == "f") {
                Face();
            } else if (keyword == "l") {
                Line();
            } else if (IsKeyword(keyword)) {
                ++geometry_.skippedStatements;
                Skipped(keyword);
                text_.SkipLine();
                continue;
            } else {
                text_.Fail("a statement keyword (v, vt, vn, f or another)", detail::Quote(keyword));
            }
            if (!text_.AtLineEnd('#')) text_.Fail("the end of the statement");
            text_.SkipLine();
        }
        // A file without a single vertex is not taken for an empty scan.
        if (geometry_.positions.empty()) text_.Fail("at least one vertex statement");
        Finish();
        for (const auto& [keyword, count] : skipped_)
            geometry_.warnings.push_back(detail::Dropped(count, "\"" + keyword + "\" statements"));
        return std::move(geometry_);
    }

private:
    double Number(const char* what)
    {
        text_.SkipBlanks();
        return text_.Number<double>(what);
    }
    double Coordinate()
    {
        text_.SkipBlanks();
        return text_.Coordinate("vertex coordinate");
    }
    float Single(const char* what)
    {
        text_.SkipBlanks();
        return text_.Number<float>(what);
    }

    // "v x y z", optionally followed by w, by r g b (0 to 1) or by both.
    void Vertex()
    {
        const double x = Coordinate();
        const double y = Coordinate();
        geometry_.positions.push_back({x, y, Coordinate()});
        double extra[4];
        int extras = 0;
        while (!text_.AtLineEnd('#')) {
            if (extras == 4) text_.Fail("at most w, r, g and b after a vertex's x, y and z");
            extra[extras++] = Number("a vertex weight or colour value");
        }
        if (extras == 2) text_.Fail("w, r g b or w r g b after a vertex's x, y and z", "two values");
        RGBA color{255, 255, 255, 255};
        if (extras >= 3) {
            const double* rgb = extra + extras - 3;
            color = {detail::UnitToChannel(rgb[0]), detail::UnitToChannel(rgb[1]), detail::UnitToChannel(rgb[2]), 255};
        }
        // Vertices before the first coloured one are white.
        if (extras >= 3 || !geometry_.colors.empty()) {
            geometry_.colors.resize(geometry_.positions.size() - 1, RGBA{255, 255, 255, 255});
            geometry_.colors.push_back(color);
        }
        normalOf_.push_back(-1);
    }

    void Skipped(std::string_view keyword)
    {
        for (auto& [known, count] : skipped_) {
            if (known == keyword) {
                ++count;
                return;
            }
        }
        skipped_.emplace_back(std::string(keyword), 1);
    }

    // "l v1 v2 ...", each vertex optionally with its texture coordinate.
    void Line()
    {
        vertices_.clear();
        while (!text_.AtLineEnd('#'))
            vertices_.push_back(ReadCorner(text_, geometry_.positions.size(), texCoords_.size(), normals_.size()).vertex);
        if (vertices_.size() < 2)
            text_.Fail("a line of at least 2 vertices", std::to_string(vertices_.size()) + " vertices");
        detail::AddLine(geometry_, vertices_.data(), vertices_.size());
    }

    void Face()
    {
        corners_.clear();
        vertices_.clear();
        uv_.clear();
        bool hasUv = false;
        while (!text_.AtLineEnd('#')) {
            const Corner corner = ReadCorner(text_, geometry_.positions.size(), texCoords_.size(), normals_.size());
            corners_.push_back(corner.normal < 0 ? corner.vertex : WithNormal(corner.vertex, corner.normal));
            vertices_.push_back(corner.vertex);
            uv_.push_back(corner.texCoord < 0 ? CVector_2<float>{} : texCoords_[corner.texCoord]);
            hasUv = hasUv || corner.texCoord >= 0;
        }
        if (corners_.size() < 3)
            text_.Fail("a face of at least 3 corners", std::to_string(corners_.size()) + " corners");
        // Faces before the first textured one get coordinates of zero.
        if (hasUv && !textured_) {
            textured_ = true;
            for (const CPolygon<int>& face : geometry_.faces) geometry_.texCoords.push_back({{}, face.count});
        }
        splitter_.Add(geometry_, corners_.data(), vertices_.data(), textured_ ? uv_.data() : nullptr, corners_.size());
    }

    // The vertex to use for a corner naming vertex and normal: the vertex
    // itself, or a copy (-1 - its number among the copies, resolved at the end).
    int WithNormal(int vertex, int normal)
    {
        faceNormals_ = true;
        if (normalOf_[vertex] < 0) normalOf_[vertex] = normal;
        if (normalOf_[vertex] == normal) return vertex;
        const uint64_t key = static_cast<uint64_t>(vertex) << 32 | static_cast<uint32_t>(normal);
        auto [found, added] = copyOf_.try_emplace(key, static_cast<int>(copies_.size()));
        if (added) copies_.push_back({vertex, normal});
        return -1 - found->second;
    }

    void Finish()
    {
        const size_t fileVertices = geometry_.positions.size();
        if (geometry_.faces.empty() && !texCoords_.empty())
            geometry_.warnings.push_back(detail::Dropped(texCoords_.size(), "texture coordinates of a point cloud"));
        if (fileVertices + copies_.size() > INT32_MAX) text_.Fail("at most 2147483647 vertices", "more");
        const bool normalsInOrder = normals_.size() == fileVertices && fileVertices > 0;
        if (!faceNormals_ && !normalsInOrder && !normals_.empty())
            geometry_.warnings.push_back(detail::Dropped(normals_.size(), "normals that no face names"));
        if (faceNormals_ || normalsInOrder) {
            geometry_.normals.resize(fileVertices);
            for (size_t v = 0; v < fileVertices; ++v) {
                if (normalOf_[v] >= 0) {
                    geometry_.normals[v] = normals_[normalOf_[v]];
                } else if (normalsInOrder) {
                    geometry_.normals[v] = normals_[v];
                } else {
                    geometry_.normals[v] = {};
                }
            }
        }
        for (const auto& [vertex, normal] : copies_) {
            geometry_.positions.push_back(geometry_.positions[vertex]);
            geometry_.normals.push_back(normals_[normal]);
            if (!geometry_.colors.empty()) geometry_.colors.push_back(geometry_.colors[vertex]);
        }
        for (CPolygon<int>& face : geometry_.faces) {
            for (int k = 0; k < face.count; ++k) {
                if (face.items[k] < 0) face.items[k] = static_cast<int>(fileVertices) - 1 - face.items[k];
            }
        }
    }

    TextCursor text_;
    ScanGeometry geometry_;
    std::vector<CVector_2<float>> texCoords_;
    std::vector<CVector_3<float>> normals_;
    std::vector<int> normalOf_;
    std::vector<std::pair<int, int>> copies_;
    std::unordered_map<uint64_t, int> copyOf_;
    bool faceNormals_ = false;
    bool textured_ = false;
    // The face being read: its corners (copies of vertices as WithNormal
    // gives them), the file's vertex at each, and their texture coordinates.
    std::vector<int> corners_;
    std::vector<int> vertices_;
    std::vector<CVector_2<float>> uv_;
    detail::PolygonSplitter splitter_;
    // Statements skipped, by keyword, in the order first met.
    std::vector<std::pair<std::string, uint64_t>> skipped_;
};

}  // namespace

ScanGeometry ReadObj(std::string_view bytes, const std::string& name)
{
    return ObjReader(bytes, name).Read();
}

std::string WriteObj(const ScanGeometry& geometry, const std::string& name)
{
    detail::CheckWritable(geometry, name, "an OBJ file");
    const bool normals = !geometry.normals.empty();
    const bool uv = !geometry.texCoords.empty();
    detail::TextOutput out;
    out.Reserve(geometry.positions.size() * 40 + geometry.faces.size() * 30);
    for (size_t i = 0; i < geometry.positions.size(); ++i) {
        const VERTEX& p = geometry.positions[i];
        out << "v " << p.x << ' ' << p.y << ' ' << p.z;
        if (!geometry.colors.empty()) {
            const RGBA& c = geometry.colors[i];
            out << ' ' << c.r / 255.0 << ' ' << c.g / 255.0 << ' ' << c.b / 255.0;
        }
        out << '\n';
    }
    for (const CVector_3<float>& n : geometry.normals) out << "vn " << n.x << ' ' << n.y << ' ' << n.z << '\n';
    for (const CPolygon<CVector_2<float>>& row : geometry.texCoords) {
        for (int k = 0; k < row.count; ++k) out << "vt " << row.items[k].x << ' ' << row.items[k].y << '\n';
    }
    size_t texCoord = 0;
    for (const CPolygon<int>& face : geometry.faces) {
        out << 'f';
        for (int k = 0; k < face.count; ++k) {
            const int vertex = face.items[k] + 1;
            out << ' ' << vertex;
            if (uv || normals) out << '/';
            if (uv) out << ++texCoord;
            if (normals) out << '/' << vertex;
        }
        out << '\n';
    }
    for (size_t k = 0; k < geometry.lineStarts.size(); ++k) {
        const auto [from, to] = detail::LineRange(geometry, k);
        out << 'l';
        for (size_t i = from; i < to; ++i) out << ' ' << geometry.lineVertices[i] + 1;
        out << '\n';
    }
    return out.Take();
}

}  // namespace brell::io
