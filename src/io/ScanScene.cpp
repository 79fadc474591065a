#include <brelldata/io/ScanScene.h>

#include <brelldata/io/Gltf.h>

#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include "io/Geometry.h"
#include "io/SceneNodes.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

namespace brell::io {

namespace {

// What one model or mesh holds, checked.
struct Part {
    CModelNode* model;
    CMeshNode* mesh;
    const CVector_3<float>* normals;
    const RGBA* colors;
    const RGBA* faceColors;
    bool texCoords;
};

// The models and meshes under root, and its linear line nodes.
std::vector<Part> PartsOf(CBaseNode* root, const std::string& name, std::vector<CLinearLineNode*>& lines)
{
    std::vector<Part> parts;
    std::vector<CBaseNode*> pending;
    if (root != nullptr) pending.push_back(root);
    while (!pending.empty()) {
        CBaseNode* node = pending.back();
        pending.pop_back();
        for (unsigned int i = node->GetChildNum(); i-- > 0;) pending.push_back(node->GetChild(i));
        if (auto* line = brell::AsKindOf<CLinearLineNode>(node)) lines.push_back(line);
        auto* model = brell::AsKindOf<CModelNode>(node);
        if (model == nullptr) continue;
        CMeshNode* mesh = brell::AsKindOf<CMeshNode>(node);
        const int vertices = model->VertexNumber();
        Part part{model,
                  mesh,
                  ArrayAttribute<CVector_3<float>>(*model, kNormalsAttribute, vertices, "vertices", name),
                  ArrayAttribute<RGBA>(*model, kColorsAttribute, vertices, "vertices", name),
                  mesh == nullptr
                      ? nullptr
                      : ArrayAttribute<RGBA>(*model, kFaceColorsAttribute, mesh->polygons->Number(), "polygons", name),
                  false};
        if (mesh != nullptr && mesh->texCoords->Number() != 0) {
            if (mesh->texCoords->Number() != mesh->polygons->Number())
                throw FileError::InFile(name,
                                        "one texture coordinate row per polygon (" +
                                            std::to_string(mesh->polygons->Number()) + ") in mesh \"" + mesh->Name() +
                                            "\"",
                                        std::to_string(mesh->texCoords->Number()));
            part.texCoords = true;
        }
        parts.push_back(part);
    }
    return parts;
}

// A point's place as a key: the bits of its coordinates.
struct PointKey {
    uint64_t bits[3];
    bool operator==(const PointKey& other) const { return std::memcmp(bits, other.bits, sizeof bits) == 0; }
};
struct PointKeyHash {
    size_t operator()(const PointKey& key) const
    {
        return static_cast<size_t>((key.bits[0] * 0x9E3779B97F4A7C15ULL ^ key.bits[1]) * 0xC2B2AE3D27D4EB4FULL ^
                                   key.bits[2]);
    }
};

// The lines of the linear line nodes as lines through the geometry's
// vertices: each point is the first vertex at its place, or a new vertex
// (with the defaults of a vertex without normal or colour) where none is.
void AddLines(ScanGeometry& geometry, const std::vector<CLinearLineNode*>& nodes, const std::string& name)
{
    if (nodes.empty()) return;
    std::unordered_map<PointKey, int, PointKeyHash> vertexAt;
    auto keyOf = [](double x, double y, double z) {
        PointKey key;
        const double coordinates[3] = {x, y, z};
        std::memcpy(key.bits, coordinates, sizeof key.bits);
        return key;
    };
    for (size_t v = 0; v < geometry.positions.size(); ++v) {
        const VERTEX& p = geometry.positions[v];
        vertexAt.emplace(keyOf(p.x, p.y, p.z), static_cast<int>(v));
    }
    for (CLinearLineNode* node : nodes) {
        for (const auto& line : node->lines->lines) {
            if (line.size() < 2) continue;  // a point is no line, and no file format holds one
            geometry.lineStarts.push_back(static_cast<int>(geometry.lineVertices.size()));
            for (const CVector_3<double>& point : line) {
                auto [at, added] =
                    vertexAt.emplace(keyOf(point.x, point.y, point.z), static_cast<int>(geometry.positions.size()));
                if (added) {
                    if (geometry.positions.size() >= INT_MAX)
                        throw FileError::InFile(name, "at most 2147483647 vertices with the lines' points", "more");
                    geometry.positions.push_back({point.x, point.y, point.z});
                    if (!geometry.normals.empty()) geometry.normals.push_back({0, 0, 0});
                    if (!geometry.colors.empty()) geometry.colors.push_back({255, 255, 255, 255});
                }
                geometry.lineVertices.push_back(at->second);
            }
        }
    }
}

}  // namespace

CBaseNode* SceneOfGeometry(const ScanGeometry& geometry, const std::string& name)
{
    return SceneOfGeometry(ScanGeometry(geometry), name);
}

CBaseNode* SceneOfGeometry(ScanGeometry&& geometry, const std::string& name)
{
    detail::CheckGeometry(geometry, name);
    NewNode root(CBaseNode::Create());
    CBaseNode* element = Adopt(root.Get(), CElementNode::Create());
    const bool isMesh = !geometry.faces.empty();
    auto* model = static_cast<CModelNode*>(Adopt(element, isMesh ? CMeshNode::Create() : CModelNode::Create()));
    element->SetName(name.c_str());
    model->SetName(name.c_str());
    const int vertices = static_cast<int>(geometry.positions.size());
    if (!model->AppendVertex(vertices)) throw std::bad_alloc();
    brell::CopyItems(model->vertices->Buffer(), geometry.positions.data(), geometry.positions.size());
    SetArrayAttribute(*model, kNormalsAttribute, geometry.normals, name);
    SetArrayAttribute(*model, kColorsAttribute, geometry.colors, name);
    if (isMesh) {
        auto* mesh = static_cast<CMeshNode*>(model);
        mesh->polygons->rows.swap(geometry.faces);
        mesh->texCoords->rows.swap(geometry.texCoords);
        SetArrayAttribute(*model, kFaceColorsAttribute, geometry.faceColors, name);
    }
    if (!geometry.lineStarts.empty()) {
        auto* lines = static_cast<CLinearLineNode*>(Adopt(element, CLinearLineNode::Create()));
        lines->SetName(name.c_str());
        auto& store = lines->lines->lines;
        store.resize(geometry.lineStarts.size());
        for (size_t k = 0; k < store.size(); ++k) {
            const auto [from, to] = detail::LineRange(geometry, k);
            store[k].reserve(to - from);
            for (size_t i = from; i < to; ++i) {
                const VERTEX& p = geometry.positions[geometry.lineVertices[i]];
                store[k].push_back({p.x, p.y, p.z});
            }
        }
    }
    return root.Take();
}

ScanGeometry GeometryOfScene(CBaseNode* root, const std::string& name)
{
    std::vector<CLinearLineNode*> lineNodes;
    const std::vector<Part> parts = PartsOf(root, name, lineNodes);
    bool normals = false, colors = false, texCoords = false, faceColors = false;
    size_t vertices = 0, faces = 0;
    for (const Part& part : parts) {
        normals = normals || part.normals != nullptr;
        colors = colors || part.colors != nullptr;
        texCoords = texCoords || part.texCoords;
        faceColors = faceColors || part.faceColors != nullptr;
        vertices += static_cast<size_t>(part.model->VertexNumber());
        if (part.mesh != nullptr) faces += static_cast<size_t>(part.mesh->polygons->Number());
    }
    if (vertices > INT_MAX)
        throw FileError::InFile(name, "at most 2147483647 vertices in all models", std::to_string(vertices));
    ScanGeometry geometry;
    geometry.positions.reserve(vertices);
    geometry.faces.reserve(faces);
    for (const Part& part : parts) {
        const int offset = static_cast<int>(geometry.positions.size());
        const int count = part.model->VertexNumber();
        const VERTEX* first = part.model->vertices->Buffer();
        geometry.positions.insert(geometry.positions.end(), first, first + count);
        if (normals) {
            if (part.normals != nullptr) {
                geometry.normals.insert(geometry.normals.end(), part.normals, part.normals + count);
            } else {
                geometry.normals.resize(geometry.normals.size() + count, CVector_3<float>{0, 0, 0});
            }
        }
        if (colors) {
            if (part.colors != nullptr) {
                geometry.colors.insert(geometry.colors.end(), part.colors, part.colors + count);
            } else {
                geometry.colors.resize(geometry.colors.size() + count, RGBA{255, 255, 255, 255});
            }
        }
        if (part.mesh == nullptr) continue;
        const auto& rows = part.mesh->polygons->rows;
        for (size_t f = 0; f < rows.size(); ++f) {
            CPolygon<int> face = rows[f];
            for (int k = 0; k < std::clamp(face.count, 0, 4); ++k) {
                if (face.items[k] < 0 || face.items[k] >= count)
                    throw FileError::InFile(name,
                                            "vertex indices below " + std::to_string(count) + " in polygon " +
                                                std::to_string(f) + " of mesh \"" + part.mesh->Name() + "\"",
                                            std::to_string(face.items[k]));
                face.items[k] += offset;
            }
            geometry.faces.push_back(face);
            if (texCoords && !part.texCoords) geometry.texCoords.push_back({{}, face.count});
        }
        if (part.texCoords) {
            const auto& uv = part.mesh->texCoords->rows;
            geometry.texCoords.insert(geometry.texCoords.end(), uv.begin(), uv.end());
        }
        if (part.faceColors != nullptr) {
            geometry.faceColors.insert(geometry.faceColors.end(), part.faceColors, part.faceColors + rows.size());
        } else if (faceColors) {
            geometry.faceColors.resize(geometry.faceColors.size() + rows.size(), RGBA{255, 255, 255, 255});
        }
    }
    AddLines(geometry, lineNodes, name);
    return geometry;
}

CBaseNode* ImportScan(const std::string& path, std::vector<std::string>* warnings)
{
    const ScanFormat format = FormatOfFileName(path);
    if (format == ScanFormat::glb || format == ScanFormat::gltf) return ImportGltf(path, warnings);
    ScanGeometry geometry = ReadScanFile(path);
    if (warnings != nullptr) warnings->insert(warnings->end(), geometry.warnings.begin(), geometry.warnings.end());
    return SceneOfGeometry(std::move(geometry), path.substr(path.find_last_of('/') + 1));
}

void ExportScan(CBaseNode* root, const std::string& path, PlyEncoding plyEncoding)
{
    if (root == nullptr) throw FileError::InFile(path, "a scene to export", "none");
    const ScanFormat format = FormatOfFileName(path);
    if (format == ScanFormat::glb || format == ScanFormat::gltf) return ExportGltf(root, path);
    WriteScanFile(GeometryOfScene(root, path), path, plyEncoding);
}

std::string SceneListing(CBaseNode* root)
{
    std::string text;
    if (root == nullptr) return text;
    // A tree read from a file may be deeper than the stack.
    std::vector<std::pair<CBaseNode*, int>> pending{{root, 0}};
    while (!pending.empty()) {
        auto [node, depth] = pending.back();
        pending.pop_back();
        text.append(static_cast<size_t>(depth) * 2, ' ');
        text += node->Type() + " \"" + node->Name() + "\"  " + node->Comment() + "\n";
        for (unsigned int i = node->GetChildNum(); i-- > 0;) pending.emplace_back(node->GetChild(i), depth + 1);
    }
    return text;
}

}  // namespace brell::io
