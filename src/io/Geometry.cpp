#include "io/Geometry.h"

#include "io/Text.h"

#include <brelldata/io/FileError.h>

#include <cstdio>

namespace brell::io::detail {

void AddFan(ScanGeometry& geometry, const int* corners, const CVector_2<float>* uv, size_t n)
{
    for (size_t k = 1; k + 1 < n; ++k) {
        const size_t fan[3] = {0, k, k + 1};
        geometry.faces.push_back({{corners[fan[0]], corners[fan[1]], corners[fan[2]], 0}, 3});
        if (uv != nullptr) geometry.texCoords.push_back({{uv[fan[0]], uv[fan[1]], uv[fan[2]], {}}, 3});
    }
}

void CheckGeometry(const ScanGeometry& geometry, const std::string& name)
{
    const size_t vertices = geometry.positions.size();
    auto refuse = [&](const std::string& expected, const std::string& found) {
        throw FileError::InFile(name, expected, found);
    };
    if (vertices > INT32_MAX) refuse("at most 2147483647 vertices", std::to_string(vertices));
    if (!geometry.normals.empty() && geometry.normals.size() != vertices)
        refuse("one normal per vertex (" + std::to_string(vertices) + ")", std::to_string(geometry.normals.size()));
    if (!geometry.colors.empty() && geometry.colors.size() != vertices)
        refuse("one colour per vertex (" + std::to_string(vertices) + ")", std::to_string(geometry.colors.size()));
    if (!geometry.texCoords.empty() && geometry.texCoords.size() != geometry.faces.size())
        refuse("one texture coordinate row per face (" + std::to_string(geometry.faces.size()) + ")",
               std::to_string(geometry.texCoords.size()));
    for (size_t f = 0; f < geometry.faces.size(); ++f) {
        const CPolygon<int>& face = geometry.faces[f];
        if (face.count < 3 || face.count > 4)
            refuse("3 or 4 corners in face " + std::to_string(f), std::to_string(face.count));
        if (!geometry.texCoords.empty() && geometry.texCoords[f].count != face.count)
            refuse("one texture coordinate per corner of face " + std::to_string(f),
                   std::to_string(geometry.texCoords[f].count));
        for (int k = 0; k < face.count; ++k) {
            if (face.items[k] < 0 || static_cast<size_t>(face.items[k]) >= vertices)
                refuse("vertex indices of face " + std::to_string(f) + " below " + std::to_string(vertices),
                       std::to_string(face.items[k]));
        }
    }
}

bool PerVertexTexCoords(const ScanGeometry& geometry, BulkVector<CVector_2<float>>& perVertex)
{
    perVertex.assign(geometry.positions.size(), CVector_2<float>{});
    std::vector<bool> seen(geometry.positions.size());
    for (size_t f = 0; f < geometry.faces.size(); ++f) {
        for (int k = 0; k < geometry.faces[f].count; ++k) {
            const int v = geometry.faces[f].items[k];
            const CVector_2<float> uv = geometry.texCoords[f].items[k];
            if (!seen[v]) {
                seen[v] = true;
                perVertex[v] = uv;
            } else if (std::memcmp(&perVertex[v], &uv, sizeof uv) != 0) {
                return false;
            }
        }
    }
    return true;
}

bool PositionsFitFloat(const BulkVector<VERTEX>& positions)
{
    auto fits = [](double value) {
        return std::isnan(value) || static_cast<double>(static_cast<float>(value)) == value;
    };
    for (const VERTEX& v : positions) {
        if (!fits(v.x) || !fits(v.y) || !fits(v.z)) return false;
    }
    return true;
}

std::string Quote(std::string_view text)
{
    std::string quoted = "\"";
    for (size_t i = 0; i < text.size() && i < 24; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c < 0x7f && c != '"' && c != '\\') {
            quoted += static_cast<char>(c);
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
            quoted += escaped;
        }
    }
    return quoted + (text.size() > 24 ? "...\"" : "\"");
}

std::string DescribeToken(std::string_view text)
{
    if (text.empty()) return "the end of the file";
    if (text[0] == '\n' || (text[0] == '\r' && text.size() > 1 && text[1] == '\n')) return "the end of the line";
    size_t length = 0;
    while (length < text.size() && !IsSpace(text[length])) ++length;
    return Quote(text.substr(0, length));
}

}  // namespace brell::io::detail
