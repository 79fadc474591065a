#include <brelldata/io/Gltf.h>

#include <brelldata/data/Normal.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include "io/FileBytes.h"
#include "io/Png.h"
#include "io/SceneNodes.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <unordered_map>

namespace brell::io {

namespace {

using Json = nlohmann::json;

constexpr int kFloat = 5126, kUnsignedByte = 5121, kUnsignedInt = 5125;
constexpr int kArrayBuffer = 34962, kElementArrayBuffer = 34963;
constexpr int kPoints = 0, kTriangles = 4;

size_t Padded(size_t size)
{
    return (size + 3) / 4 * 4;
}

// One model or mesh as one glTF mesh of one primitive.
struct Part {
    std::string elementName;
    CModelNode* model;
    const CVector_3<float>* normals;
    const RGBA* colors;
    // The model's vertices written as they are: all, or none for flat normals.
    size_t own;
    // Vertices past those, made for corners whose texture coordinates differ
    // from the vertex's first, or for every corner of a flat-shaded mesh: the
    // vertex each copies.
    BulkVector<int> copied;
    // Calculated normals of every vertex written, when the model has none.
    BulkVector<CVector_3<float>> madeNormals;
    BulkVector<CVector_2<float>> texCoords;  // per vertex, own and copied
    BulkVector<uint32_t> indices;            // empty for points
    std::string png;
    float min[3], max[3];

    size_t Vertices() const { return own + copied.size(); }
    int Source(size_t v) const { return v < own ? static_cast<int>(v) : copied[v - own]; }
};

struct UvKey {
    int vertex;
    uint32_t u, v;
    bool operator==(const UvKey& other) const { return vertex == other.vertex && u == other.u && v == other.v; }
};
struct UvKeyHash {
    size_t operator()(const UvKey& key) const
    {
        return (static_cast<size_t>(key.vertex) * 0x9E3779B97F4A7C15ULL ^ key.u) * 0xC2B2AE3D27D4EB4FULL ^ key.v;
    }
};

CVector_3<float> FaceNormal(CMeshNode& mesh, size_t face)
{
    CPolygon<int> row = mesh.polygons->rows[face];
    const CVector_3<double> n = CalcNormal(mesh.vertices, row.items, row.count);
    return {static_cast<float>(n.x), static_cast<float>(n.y), static_cast<float>(n.z)};
}

// The mesh's polygons as triangle fans, with one texture coordinate per
// vertex, copying vertices whose corners disagree, or every corner with its
// face's normal when flat.
void Triangulate(Part& part, CMeshNode& mesh, bool flat, const std::string& name)
{
    const auto& rows = mesh.polygons->rows;
    const int vertices = mesh.VertexNumber();
    const bool textured = mesh.texCoords->Number() != 0;
    if (textured && mesh.texCoords->Number() != mesh.polygons->Number())
        throw FileError::InFile(name,
                                "one texture coordinate row per polygon (" + std::to_string(rows.size()) +
                                    ") in mesh \"" + mesh.Name() + "\"",
                                std::to_string(mesh.texCoords->Number()));
    BulkVector<char> hasTexCoord;
    std::unordered_map<UvKey, uint32_t, UvKeyHash> copies;
    if (flat) part.own = 0;
    if (textured && !flat) {
        part.texCoords.assign(static_cast<size_t>(vertices), CVector_2<float>{0, 0});
        hasTexCoord.assign(static_cast<size_t>(vertices), 0);
    }
    size_t triangles = 0;
    for (const CPolygon<int>& row : rows)
        triangles += static_cast<size_t>(std::max(std::clamp(row.count, 0, 4) - 2, 0));
    part.indices.reserve(triangles * 3);
    for (size_t f = 0; f < rows.size(); ++f) {
        const int corners = std::clamp(rows[f].count, 0, 4);
        uint32_t vertexOf[4];
        for (int k = 0; k < corners; ++k) {
            const int v = rows[f].items[k];
            if (v < 0 || v >= vertices)
                throw FileError::InFile(name,
                                        "vertex indices below " + std::to_string(vertices) + " in polygon " +
                                            std::to_string(f) + " of mesh \"" + mesh.Name() + "\"",
                                        std::to_string(v));
            vertexOf[k] = static_cast<uint32_t>(v);
            if (flat) {
                vertexOf[k] = static_cast<uint32_t>(part.Vertices());
                part.copied.push_back(v);
                part.madeNormals.push_back(FaceNormal(mesh, f));
                if (textured) part.texCoords.push_back(mesh.texCoords->rows[f].items[k]);
                continue;
            }
            if (!textured) continue;
            const CVector_2<float> uv = mesh.texCoords->rows[f].items[k];
            if (!hasTexCoord[v]) {
                hasTexCoord[v] = 1;
                part.texCoords[v] = uv;
                continue;
            }
            if (std::memcmp(&part.texCoords[v], &uv, sizeof uv) == 0) continue;
            UvKey key{v, 0, 0};
            std::memcpy(&key.u, &uv.x, 4);
            std::memcpy(&key.v, &uv.y, 4);
            const auto [at, added] = copies.emplace(key, static_cast<uint32_t>(part.Vertices()));
            if (added) {
                if (part.Vertices() >= UINT32_MAX) throw FileError::InFile(name, "fewer vertices", "more than 2^32");
                part.copied.push_back(v);
                part.texCoords.push_back(uv);
            }
            vertexOf[k] = at->second;
        }
        for (int k = 1; k + 1 < corners; ++k)
            part.indices.insert(part.indices.end(), {vertexOf[0], vertexOf[k], vertexOf[k + 1]});
    }
}

// Normals of the mesh's vertices, each the mean of its faces' normals, for
// every vertex written.
void SmoothNormals(Part& part, CMeshNode& mesh)
{
    std::vector<CVector_3<double>> sums(static_cast<size_t>(mesh.VertexNumber()), CVector_3<double>{0, 0, 0});
    const auto& rows = mesh.polygons->rows;
    for (size_t f = 0; f < rows.size(); ++f) {
        const CVector_3<float> n = FaceNormal(mesh, f);
        for (int k = 0; k < std::clamp(rows[f].count, 0, 4); ++k) {
            CVector_3<double>& sum = sums[rows[f].items[k]];  // checked by Triangulate
            sum = {sum.x + n.x, sum.y + n.y, sum.z + n.z};
        }
    }
    part.madeNormals.resize(part.Vertices());
    for (size_t v = 0; v < part.Vertices(); ++v) {
        const CVector_3<double>& sum = sums[part.Source(v)];
        part.madeNormals[v] = {static_cast<float>(sum.x), static_cast<float>(sum.y), static_cast<float>(sum.z)};
    }
}

std::vector<Part> PartsOf(CBaseNode* root, GltfNormals normals, const std::string& name)
{
    std::vector<Part> parts;
    std::vector<std::pair<CBaseNode*, std::string>> pending{{root, ""}};
    while (!pending.empty()) {
        auto [node, elementName] = pending.back();
        pending.pop_back();
        if (brell::AsKindOf<CElementNode>(node) != nullptr) elementName = node->Name();
        for (unsigned int i = node->GetChildNum(); i-- > 0;) pending.emplace_back(node->GetChild(i), elementName);
        auto* model = brell::AsKindOf<CModelNode>(node);
        if (model == nullptr || model->VertexNumber() < 1) continue;
        const int vertices = model->VertexNumber();
        Part part{elementName.empty() ? model->Name() : elementName,
                  model,
                  ArrayAttribute<CVector_3<float>>(*model, kNormalsAttribute, vertices, "vertices", name),
                  ArrayAttribute<RGBA>(*model, kColorsAttribute, vertices, "vertices", name),
                  static_cast<size_t>(vertices),
                  {},
                  {},
                  {},
                  {},
                  {},
                  {},
                  {}};
        if (auto* mesh = brell::AsKindOf<CMeshNode>(node)) {
            const bool calculated = part.normals == nullptr && normals != GltfNormals::stored;
            Triangulate(part, *mesh, calculated && normals == GltfNormals::flat, name);
            if (calculated && normals == GltfNormals::smooth) SmoothNormals(part, *mesh);
            const auto image = mesh->Image(0);  // an empty matrix when there is none
            if (!part.indices.empty() && !part.texCoords.empty() && image->HeldRows() > 0)
                part.png = EncodePng(*image, name);
        }
        for (int axis = 0; axis < 3; ++axis) {
            part.min[axis] = INFINITY;
            part.max[axis] = -INFINITY;
        }
        const VERTEX* positions = model->vertices->Buffer();
        for (int v = 0; v < vertices; ++v) {
            const float p[3] = {static_cast<float>(positions[v].x), static_cast<float>(positions[v].y),
                                static_cast<float>(positions[v].z)};
            for (int axis = 0; axis < 3; ++axis) {
                if (!std::isfinite(p[axis]))
                    throw FileError::InFile(
                        name, "finite coordinates (as 32-bit floats) in model \"" + model->Name() + "\"",
                        "vertex " + std::to_string(v) + " at " + std::to_string(positions[v].x) + ", " +
                            std::to_string(positions[v].y) + ", " + std::to_string(positions[v].z));
                part.min[axis] = std::min(part.min[axis], p[axis]);
                part.max[axis] = std::max(part.max[axis], p[axis]);
            }
        }
        parts.push_back(std::move(part));
    }
    return parts;
}

// A normal of unit length, as glTF requires; one of no length points up.
CVector_3<float> UnitNormal(const CVector_3<float>& n)
{
    const double length = std::sqrt(double{n.x} * n.x + double{n.y} * n.y + double{n.z} * n.z);
    if (std::fabs(length - 1.0) < 1e-4) return n;
    if (!(length > 0) || !std::isfinite(length)) return {0, 0, 1};
    return {static_cast<float>(n.x / length), static_cast<float>(n.y / length), static_cast<float>(n.z / length)};
}

// The parts' JSON document and where each of their blocks goes in the binary buffer.
class Layout {
public:
    Layout(const std::vector<Part>& parts, const std::string& bufferUri)
    {
        Json meshes = Json::array(), nodes = Json::array(), sceneNodes = Json::array();
        Json images = Json::array(), textures = Json::array(), materials = Json::array();
        for (const Part& part : parts) {
            const size_t vertices = part.Vertices();
            Json attributes;
            attributes["POSITION"] = Accessor(View(vertices * 12, kArrayBuffer), kFloat, vertices, "VEC3");
            accessors_.back()["min"] = {part.min[0], part.min[1], part.min[2]};
            accessors_.back()["max"] = {part.max[0], part.max[1], part.max[2]};
            if (part.normals != nullptr || !part.madeNormals.empty())
                attributes["NORMAL"] = Accessor(View(vertices * 12, kArrayBuffer), kFloat, vertices, "VEC3");
            if (part.colors != nullptr) {
                attributes["COLOR_0"] = Accessor(View(vertices * 4, kArrayBuffer), kUnsignedByte, vertices, "VEC4");
                accessors_.back()["normalized"] = true;
            }
            if (!part.texCoords.empty())
                attributes["TEXCOORD_0"] = Accessor(View(vertices * 8, kArrayBuffer), kFloat, vertices, "VEC2");
            Json primitive{{"attributes", attributes}, {"mode", part.indices.empty() ? kPoints : kTriangles}};
            if (!part.indices.empty())
                primitive["indices"] = Accessor(View(part.indices.size() * 4, kElementArrayBuffer), kUnsignedInt,
                                                part.indices.size(), "SCALAR");
            if (!part.png.empty()) {
                images.push_back({{"bufferView", View(part.png.size(), 0)}, {"mimeType", "image/png"}});
                textures.push_back({{"source", images.size() - 1}});
                materials.push_back(
                    {{"pbrMetallicRoughness",
                      {{"baseColorTexture", {{"index", textures.size() - 1}}}, {"metallicFactor", 0.0}}}});
                primitive["material"] = materials.size() - 1;
            }
            meshes.push_back({{"name", part.model->Name()}, {"primitives", Json::array({primitive})}});
            sceneNodes.push_back(nodes.size());
            nodes.push_back({{"name", part.elementName}, {"mesh", meshes.size() - 1}});
        }
        Json buffer{{"byteLength", binLength_}};
        if (!bufferUri.empty()) buffer["uri"] = bufferUri;
        Json document{{"asset", {{"version", "2.0"}, {"generator", "BrellData"}}},
                      {"scene", 0},
                      {"scenes", Json::array({{{"nodes", sceneNodes}}})},
                      {"nodes", nodes},
                      {"meshes", meshes},
                      {"accessors", accessors_},
                      {"bufferViews", views_},
                      {"buffers", Json::array({buffer})}};
        if (!images.empty()) {
            document["images"] = images;
            document["textures"] = textures;
            document["materials"] = materials;
        }
        json_ = document.dump();
    }

    const std::string& JsonText() const { return json_; }
    size_t BinLength() const { return binLength_; }

private:
    size_t View(size_t length, int target)
    {
        Json view{{"buffer", 0}, {"byteOffset", binLength_}, {"byteLength", length}};
        if (target != 0) view["target"] = target;
        views_.push_back(view);
        binLength_ += Padded(length);
        return views_.size() - 1;
    }
    size_t Accessor(size_t view, int componentType, size_t count, const char* type)
    {
        accessors_.push_back(
            {{"bufferView", view}, {"componentType", componentType}, {"count", count}, {"type", type}});
        return accessors_.size() - 1;
    }

    Json accessors_ = Json::array(), views_ = Json::array();
    size_t binLength_ = 0;
    std::string json_;
};

// Writes the parts' blocks in the order Layout gives them places.
void FillBin(const std::vector<Part>& parts, char* bin, size_t binLength)
{
    char* at = bin;
    auto pad = [&] {
        while ((at - bin) % 4 != 0) *at++ = 0;
    };
    for (const Part& part : parts) {
        const size_t vertices = part.Vertices();
        const VERTEX* positions = part.model->vertices->Buffer();
        for (size_t v = 0; v < vertices; ++v, at += 12) {
            const VERTEX& p = positions[part.Source(v)];
            const float xyz[3] = {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
            std::memcpy(at, xyz, 12);
        }
        if (part.normals != nullptr || !part.madeNormals.empty())
            for (size_t v = 0; v < vertices; ++v, at += 12) {
                const CVector_3<float> n =
                    UnitNormal(part.normals != nullptr ? part.normals[part.Source(v)] : part.madeNormals[v]);
                std::memcpy(at, &n, 12);
            }
        if (part.colors != nullptr) {
            std::memcpy(at, part.colors, part.own * 4);
            at += part.own * 4;
            for (int v : part.copied) {
                std::memcpy(at, &part.colors[v], 4);
                at += 4;
            }
        }
        if (!part.texCoords.empty()) {
            std::memcpy(at, part.texCoords.data(), vertices * 8);
            at += vertices * 8;
        }
        if (!part.indices.empty()) {
            std::memcpy(at, part.indices.data(), part.indices.size() * 4);
            at += part.indices.size() * 4;
        }
        if (!part.png.empty()) {
            std::memcpy(at, part.png.data(), part.png.size());
            at += part.png.size();
            pad();
        }
    }
    std::memset(at, 0, binLength - static_cast<size_t>(at - bin));
}

std::vector<Part> CheckedParts(CBaseNode* root, GltfNormals normals, const std::string& name)
{
    if (root == nullptr) throw FileError::InFile(name, "a scene to export", "none");
    std::vector<Part> parts = PartsOf(root, normals, name);
    if (parts.empty()) throw FileError::InFile(name, "a model or mesh with vertices to export", "none");
    return parts;
}

void PutWord(char* at, uint32_t word)
{
    const unsigned char bytes[4] = {static_cast<unsigned char>(word), static_cast<unsigned char>(word >> 8),
                                    static_cast<unsigned char>(word >> 16), static_cast<unsigned char>(word >> 24)};
    std::memcpy(at, bytes, 4);
}

FileBytes GlbBytes(CBaseNode* root, GltfNormals normals, const std::string& name)
{
    const std::vector<Part> parts = CheckedParts(root, normals, name);
    const Layout layout(parts, "");
    const size_t json = Padded(layout.JsonText().size()), total = 12 + 8 + json + 8 + layout.BinLength();
    if (total > UINT32_MAX)
        throw FileError::InFile(name, "a glTF binary file below 4 GiB", std::to_string(total) + " bytes");
    FileBytes bytes(total);
    char* at = bytes.Data();
    PutWord(at, 0x46546C67);
    PutWord(at + 4, 2);
    PutWord(at + 8, static_cast<uint32_t>(total));
    PutWord(at + 12, static_cast<uint32_t>(json));
    PutWord(at + 16, 0x4E4F534A);
    std::memcpy(at + 20, layout.JsonText().data(), layout.JsonText().size());
    std::memset(at + 20 + layout.JsonText().size(), ' ', json - layout.JsonText().size());
    at += 20 + json;
    PutWord(at, static_cast<uint32_t>(layout.BinLength()));
    PutWord(at + 4, 0x004E4942);
    FillBin(parts, at + 8, layout.BinLength());
    return bytes;
}

std::string Base64(const char* data, size_t size)
{
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((size + 2) / 3 * 4);
    const auto* bytes = reinterpret_cast<const unsigned char*>(data);
    for (size_t i = 0; i < size; i += 3) {
        const uint32_t group = uint32_t{bytes[i]} << 16 | (i + 1 < size ? uint32_t{bytes[i + 1]} << 8 : 0) |
                               (i + 2 < size ? uint32_t{bytes[i + 2]} : 0);
        text += digits[group >> 18 & 63];
        text += digits[group >> 12 & 63];
        text += i + 1 < size ? digits[group >> 6 & 63] : '=';
        text += i + 2 < size ? digits[group & 63] : '=';
    }
    return text;
}

// A file name as a URI: characters other than unreserved ones percent-encoded.
std::string UriOf(const std::string& fileName)
{
    std::string uri;
    for (unsigned char c : fileName) {
        if (std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~') {
            uri += static_cast<char>(c);
        } else {
            static const char hex[] = "0123456789ABCDEF";
            uri += {'%', hex[c >> 4], hex[c & 15]};
        }
    }
    return uri;
}

bool EndsWith(const std::string& text, const std::string& end)
{
    if (text.size() < end.size()) return false;
    for (size_t i = 0; i < end.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(text[text.size() - end.size() + i])) != end[i]) return false;
    return true;
}

}  // namespace

std::string WriteGlb(CBaseNode* root, const std::string& name, GltfNormals normals)
{
    const FileBytes bytes = GlbBytes(root, normals, name);
    return std::string(bytes.View());
}

void ExportGltf(CBaseNode* root, const std::string& path, GltfBuffer buffer, GltfNormals normals)
{
    if (EndsWith(path, ".glb")) {
        const FileBytes bytes = GlbBytes(root, normals, path);
        SaveFile(path, bytes.View().data(), bytes.Size());
        return;
    }
    if (!EndsWith(path, ".gltf"))
        throw FileError::InFile(path, "a file name ending in .glb or .gltf", path.substr(path.find_last_of('/') + 1));
    const std::vector<Part> parts = CheckedParts(root, normals, path);
    const std::string binPath = path.substr(0, path.size() - 5) + ".bin";
    const std::string binName = binPath.substr(binPath.find_last_of('/') + 1);
    // The buffer's length is known before its bytes, so its URI is the one part of the document written after them.
    const size_t binLength = Layout(parts, "").BinLength();
    FileBytes bin(std::max<size_t>(binLength, 1));
    FillBin(parts, bin.Data(), binLength);
    const std::string uri = buffer == GltfBuffer::external
                                ? UriOf(binName)
                                : "data:application/octet-stream;base64," + Base64(bin.Data(), binLength);
    if (buffer == GltfBuffer::external) SaveFile(binPath, bin.Data(), binLength);
    const std::string json = Layout(parts, uri).JsonText();
    SaveFile(path, json.data(), json.size());
}

}  // namespace brell::io
