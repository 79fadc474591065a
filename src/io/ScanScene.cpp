#include <brelldata/io/ScanScene.h>

#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include "io/Geometry.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace brell::io {

namespace {

// Destroys a node of count 0 unless it was handed on with Take.
class NewNode {
public:
    explicit NewNode(CBaseNode* node) : node_(node)
    {
        if (node_ == nullptr) throw std::bad_alloc();
    }
    NewNode(const NewNode&) = delete;
    NewNode& operator=(const NewNode&) = delete;
    ~NewNode()
    {
        if (node_ == nullptr) return;
        node_->AddRef();
        node_->Release();
    }
    CBaseNode* Get() const { return node_; }
    CBaseNode* Take() { return std::exchange(node_, nullptr); }

private:
    CBaseNode* node_;
};

// Appends a new child to parent, which holds it from then on.
CBaseNode* Adopt(CBaseNode* parent, CBaseNode* child)
{
    if (child == nullptr) throw std::bad_alloc();
    parent->AppendChild(child);
    return child;
}

template <class T>
void SetArrayAttribute(CBaseNode& node, const char* attribute, const BulkVector<T>& items, const std::string& name)
{
    if (items.empty()) return;
    if (items.size() > INT_MAX / sizeof(T))
        throw FileError::InFile(name, std::string("at most 2 GiB of ") + attribute,
                                std::to_string(items.size()) + " entries");
    const int size = static_cast<int>(items.size() * sizeof(T));
    node.SetAttributeStruct(attribute, const_cast<T*>(items.data()), size);
    int stored = 0;
    if (node.QueryAttributeStruct(attribute, &stored) == nullptr || stored != size) throw std::bad_alloc();
}

// A model's per-vertex attribute when it holds one T per vertex; null when
// the model has none; FileError when its size does not match.
template <class T>
const T* ArrayAttribute(CModelNode& model, const char* attribute, const std::string& name)
{
    int size = 0;
    const void* data = model.QueryAttributeStruct(attribute, &size);
    if (data == nullptr) return nullptr;
    const int64_t expected = int64_t{model.VertexNumber()} * int64_t{sizeof(T)};
    if (size != expected)
        throw FileError::InFile(name,
                                std::to_string(expected) + " bytes of " + attribute + " in model \"" + model.Name() +
                                    "\" (" + std::to_string(model.VertexNumber()) + " vertices)",
                                std::to_string(size));
    return static_cast<const T*>(data);
}

// What one model or mesh holds, checked.
struct Part {
    CModelNode* model;
    CMeshNode* mesh;
    const CVector_3<float>* normals;
    const RGBA* colors;
    bool texCoords;
};

std::vector<Part> PartsOf(CBaseNode* root, const std::string& name)
{
    std::vector<Part> parts;
    std::vector<CBaseNode*> pending;
    if (root != nullptr) pending.push_back(root);
    while (!pending.empty()) {
        CBaseNode* node = pending.back();
        pending.pop_back();
        for (unsigned int i = node->GetChildNum(); i-- > 0;) pending.push_back(node->GetChild(i));
        if (!node->IsKindOf(CModelNode::TypeId())) continue;
        auto* model = static_cast<CModelNode*>(node);
        CMeshNode* mesh = node->IsKindOf(CMeshNode::TypeId()) ? static_cast<CMeshNode*>(node) : nullptr;
        Part part{model, mesh, ArrayAttribute<CVector_3<float>>(*model, kNormalsAttribute, name),
                  ArrayAttribute<RGBA>(*model, kColorsAttribute, name), false};
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

}  // namespace

CBaseNode* SceneOfGeometry(const ScanGeometry& geometry, const std::string& name)
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
        mesh->polygons->rows.assign(geometry.faces.begin(), geometry.faces.end());
        mesh->texCoords->rows.assign(geometry.texCoords.begin(), geometry.texCoords.end());
    }
    return root.Take();
}

ScanGeometry GeometryOfScene(CBaseNode* root, const std::string& name)
{
    const std::vector<Part> parts = PartsOf(root, name);
    bool normals = false, colors = false, texCoords = false;
    size_t vertices = 0, faces = 0;
    for (const Part& part : parts) {
        normals = normals || part.normals != nullptr;
        colors = colors || part.colors != nullptr;
        texCoords = texCoords || part.texCoords;
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
    }
    return geometry;
}

CBaseNode* ImportScan(const std::string& path)
{
    const ScanGeometry geometry = ReadScanFile(path);
    return SceneOfGeometry(geometry, path.substr(path.find_last_of('/') + 1));
}

void ExportScan(CBaseNode* root, const std::string& path, PlyEncoding plyEncoding)
{
    if (root == nullptr) throw FileError::InFile(path, "a scene to export", "none");
    WriteScanFile(GeometryOfScene(root, path), path, plyEncoding);
}

}  // namespace brell::io
