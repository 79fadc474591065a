#include <brelldata/io/ScanFormats.h>

#include "io/Geometry.h"
#include "io/Text.h"

#include <climits>

namespace brell::io {

namespace {

using detail::TextCursor;

// What the keyword's prefixes ([ST][C][N]OFF) add to each vertex line.
struct OffLayout {
    bool texCoords = false;
    bool colors = false;
    bool normals = false;
};

bool ParseKeyword(std::string_view keyword, OffLayout& layout)
{
    auto take = [&keyword](std::string_view prefix) {
        if (keyword.substr(0, prefix.size()) != prefix) return false;
        keyword.remove_prefix(prefix.size());
        return true;
    };
    layout.texCoords = take("ST");
    layout.colors = take("C");
    layout.normals = take("N");
    return keyword == "OFF";
}

// Counts the tokens left on the cursor's line, before any comment.
int TokensLeftOnLine(std::string_view rest)
{
    int tokens = 0;
    size_t i = 0;
    while (i < rest.size() && rest[i] != '\n' && rest[i] != '#') {
        if (detail::IsBlank(rest[i])) {
            ++i;
            continue;
        }
        ++tokens;
        while (i < rest.size() && !detail::IsSpace(rest[i])) ++i;
    }
    return tokens;
}

// A colour channel written as an integer of 0 to 255 or a fraction of 0 to 1.
uint8_t Channel(TextCursor& text)
{
    text.SkipSpace('#');
    const std::string_view rest = text.Rest();
    const std::string_view token = rest.substr(0, rest.find_first_of(" \t\r\n#"));
    if (token.find_first_of(".eE") != std::string_view::npos)
        return detail::UnitToChannel(text.Number<double>("a colour value"));
    return static_cast<uint8_t>(text.Integer("a colour value of 0 to 255", 0, 255));
}

}  // namespace

ScanGeometry ReadOff(std::string_view bytes, const std::string& name)
{
    TextCursor text(bytes, name);
    text.SkipSpace('#');
    OffLayout layout;
    const char* start = text.At();
    if (!ParseKeyword(text.Token(), layout)) text.FailAt(start, "OFF, or OFF with the prefixes ST, C and N");
    text.SkipSpace('#');
    const int64_t vertices = text.Integer("a vertex count of 0 to 2147483647", 0, INT_MAX);
    text.SkipSpace('#');
    const int64_t faces = text.Integer("a face count of 0 to 2147483647", 0, INT_MAX);
    text.SkipSpace('#');
    text.Integer("an edge count", 0, INT64_MAX);

    // Each value needs a digit and a separator; a face at least four values.
    const int64_t perVertex = 3 + (layout.normals ? 3 : 0) + (layout.colors ? 3 : 0) + (layout.texCoords ? 2 : 0);
    const unsigned __int128 needed = static_cast<unsigned __int128>(vertices) * perVertex * 2 + faces * 8;
    if (needed > text.Left() + 1)
        text.Fail("room for " + std::to_string(vertices) + " vertices and " + std::to_string(faces) + " faces",
                  std::to_string(text.Left()) + " bytes left in the file");

    ScanGeometry geometry;
    geometry.positions.resize(vertices);
    if (layout.normals) geometry.normals.resize(vertices);
    if (layout.colors) geometry.colors.resize(vertices);
    BulkVector<CVector_2<float>> vertexUv(layout.texCoords ? vertices : 0);
    auto coordinate = [&text]() {
        text.SkipSpace('#');
        return text.Coordinate("vertex coordinate");
    };
    auto single = [&text](const char* what) {
        text.SkipSpace('#');
        return text.Number<float>(what);
    };
    for (int64_t i = 0; i < vertices; ++i) {
        VERTEX& p = geometry.positions[i];
        p.x = coordinate();
        p.y = coordinate();
        p.z = coordinate();
        if (layout.normals) {
            CVector_3<float>& n = geometry.normals[i];
            n.x = single("a normal coordinate");
            n.y = single("a normal coordinate");
            n.z = single("a normal coordinate");
        }
        if (layout.colors) {
            RGBA& c = geometry.colors[i];
            c.r = Channel(text);
            c.g = Channel(text);
            c.b = Channel(text);
            c.a = 255;
            // The alpha channel is optional: it is there when the line holds more.
            if (TokensLeftOnLine(text.Rest()) > (layout.texCoords ? 2 : 0)) c.a = Channel(text);
        }
        if (layout.texCoords) {
            vertexUv[i].x = single("a texture coordinate");
            vertexUv[i].y = single("a texture coordinate");
        }
    }
    geometry.faces.reserve(faces);
    if (layout.texCoords) geometry.texCoords.reserve(faces);
    std::vector<int> corners;
    std::vector<CVector_2<float>> uv;
    detail::PolygonSplitter splitter;
    uint64_t otherColors = 0;
    bool colored = false;
    for (int64_t f = 0; f < faces; ++f) {
        text.SkipSpace('#');
        const int64_t count = text.Integer("a face's corner count of 3 or more", 3, static_cast<int64_t>(text.Left()));
        corners.resize(count);
        for (int& corner : corners) {
            text.SkipSpace('#');
            if (vertices == 0 || !text.TryNumber(corner) || corner < 0 || corner >= vertices)
                text.Fail("a vertex index below " + std::to_string(vertices));
        }
        // A face's colour follows on its line as r g b or r g b a; faces
        // before the first coloured one are white.
        const int colorValues = TokensLeftOnLine(text.Rest());
        RGBA color{255, 255, 255, 255};
        if (colorValues == 3 || colorValues == 4) {
            color.r = Channel(text);
            color.g = Channel(text);
            color.b = Channel(text);
            if (colorValues == 4) color.a = Channel(text);
            if (!colored) geometry.faceColors.resize(geometry.faces.size(), RGBA{255, 255, 255, 255});
            colored = true;
        } else if (colorValues > 0) {
            ++otherColors;
        }
        text.SkipLine();
        if (layout.texCoords) {
            uv.resize(count);
            for (int64_t k = 0; k < count; ++k) uv[k] = vertexUv[corners[k]];
        }
        splitter.Add(geometry, corners.data(), corners.data(), layout.texCoords ? uv.data() : nullptr, corners.size(),
                     colored ? &color : nullptr);
    }
    if (otherColors > 0)
        geometry.warnings.push_back(detail::Dropped(otherColors, "face colours that are not r g b or r g b a"));
    if (layout.texCoords && faces == 0 && vertices > 0)
        geometry.warnings.push_back(detail::Dropped(static_cast<uint64_t>(vertices), "texture coordinates of a point cloud"));
    text.SkipSpace('#');
    if (!text.AtEnd()) text.Fail("the end of the file after the last face");
    return geometry;
}

std::string WriteOff(const ScanGeometry& geometry, const std::string& name)
{
    detail::CheckWritable(geometry, name);
    const bool normals = !geometry.normals.empty();
    const bool colors = !geometry.colors.empty();
    detail::TextOutput out;
    out.Reserve(geometry.positions.size() * 40 + geometry.faces.size() * 24);
    out << (colors ? "C" : "") << (normals ? "N" : "") << "OFF\n";
    out << geometry.positions.size() << ' ' << geometry.faces.size() << " 0\n";
    for (size_t i = 0; i < geometry.positions.size(); ++i) {
        const VERTEX& p = geometry.positions[i];
        out << p.x << ' ' << p.y << ' ' << p.z;
        if (normals) {
            const CVector_3<float>& n = geometry.normals[i];
            out << ' ' << n.x << ' ' << n.y << ' ' << n.z;
        }
        if (colors) {
            const RGBA& c = geometry.colors[i];
            out << ' ' << int{c.r} << ' ' << int{c.g} << ' ' << int{c.b} << ' ' << int{c.a};
        }
        out << '\n';
    }
    for (size_t f = 0; f < geometry.faces.size(); ++f) {
        const CPolygon<int>& face = geometry.faces[f];
        out << face.count;
        for (int k = 0; k < face.count; ++k) out << ' ' << face.items[k];
        if (!geometry.faceColors.empty()) {
            const RGBA& c = geometry.faceColors[f];
            out << ' ' << int{c.r} << ' ' << int{c.g} << ' ' << int{c.b} << ' ' << int{c.a};
        }
        out << '\n';
    }
    return out.Take();
}

}  // namespace brell::io
