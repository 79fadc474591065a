#include <brelldata/io/ScanScene.h>

#include <brelldata/io/Gltf.h>

#include <brelldata/scan/BlockOutput.h>
#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include "io/Geometry.h"
#include "io/SceneNodes.h"
#include "io/StreamLimit.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <optional>
#include <tuple>
#include <sys/mman.h>
#include <unistd.h>
#include <unordered_map>
#include <utility>
#include <vector>

namespace brell::io {

namespace {

// Room in a model's or mesh's attribute block for the entry headers of the
// per-vertex and per-face arrays that a scan gives it.
constexpr uint64_t kAttributeHeaderBytes = 116;

// Gives the whole pages in [from, to) back to the system, their contents no
// longer needed; the start of the first of them.
const char* ReleasePages(const void* from, const void* to)
{
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t begin = (reinterpret_cast<uintptr_t>(from) + page - 1) / page * page;
    const uintptr_t end = reinterpret_cast<uintptr_t>(to) / page * page;
    if (begin < end) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
    return reinterpret_cast<const char*>(begin);
}

// Moves the store's vertices from `from` on into destination, the last
// slice first, and shrinks the store after each slice, which gives its pages
// back: a scan and the parts made of it together hold little more than the
// scan. The store then ends at from.
void MoveTail(CArrayDataStore<VERTEX>& source, size_t from, VERTEX* destination)
{
    constexpr size_t kSliceItems = (size_t{16} << 20) / sizeof(VERTEX);
    for (size_t end = static_cast<size_t>(source.Number()); end > from;) {
        const size_t begin = end - std::min(kSliceItems, end - from);
        std::memcpy(destination + (begin - from), source.Buffer() + begin, (end - begin) * sizeof(VERTEX));
        source.Delete(static_cast<int>(begin), static_cast<int>(end - begin));
        end = begin;
    }
}

// The same into a struct attribute of node; nothing when source is empty.
template <class T>
void MoveTailIntoAttribute(CBaseNode& node, const char* attribute, BulkVector<T>& source, size_t from,
                           const std::string& name)
{
    if (source.empty()) return;
    SetArrayAttribute(node, attribute, source.data() + from, source.size() - from, name);
    ReleasePages(source.data() + from, source.data() + source.size());
    source.resize(from);
}

// What one model or mesh holds, checked.
struct Part {
    CModelNode* model;
    CMeshNode* mesh;
    CBaseNode* parent;
    const CVector_3<float>* normals;
    const RGBA* colors;
    const RGBA* faceColors;
    const int* scanVertices;
    bool texCoords;
};

// The models and meshes under root, and its linear line nodes.
std::vector<Part> PartsOf(CBaseNode* root, const std::string& name, std::vector<CLinearLineNode*>& lines)
{
    std::vector<Part> parts;
    std::vector<std::pair<CBaseNode*, CBaseNode*>> pending;  // a node and its parent
    if (root != nullptr) pending.emplace_back(root, nullptr);
    while (!pending.empty()) {
        auto [node, parent] = pending.back();
        pending.pop_back();
        for (unsigned int i = node->GetChildNum(); i-- > 0;) pending.emplace_back(node->GetChild(i), node);
        if (auto* line = brell::AsKindOf<CLinearLineNode>(node)) lines.push_back(line);
        auto* model = brell::AsKindOf<CModelNode>(node);
        if (model == nullptr) continue;
        CMeshNode* mesh = brell::AsKindOf<CMeshNode>(node);
        const int vertices = model->VertexNumber();
        Part part{model,
                  mesh,
                  parent,
                  ArrayAttribute<CVector_3<float>>(*model, kNormalsAttribute, vertices, "vertices", name),
                  ArrayAttribute<RGBA>(*model, kColorsAttribute, vertices, "vertices", name),
                  mesh == nullptr
                      ? nullptr
                      : ArrayAttribute<RGBA>(*model, kFaceColorsAttribute, mesh->polygons->Number(), "polygons", name),
                  ArrayAttribute<int>(*model, kScanVerticesAttribute, vertices, "vertices", name),
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

// FileError naming name unless every corner of the mesh's polygons names
// one of its vertices.
void CheckCorners(const Part& part, const std::string& name)
{
    const int count = part.model->VertexNumber();
    const auto& rows = part.mesh->polygons->rows;
    for (size_t f = 0; f < rows.size(); ++f) {
        const CPolygon<int>& face = rows[f];
        for (int k = 0; k < std::clamp(face.count, 0, 4); ++k) {
            if (face.items[k] < 0 || face.items[k] >= count)
                throw FileError::InFile(name,
                                        "vertex indices below " + std::to_string(count) + " in polygon " +
                                            std::to_string(f) + " of mesh \"" + part.mesh->Name() + "\"",
                                        std::to_string(face.items[k]));
        }
    }
}

void CheckVertexTotal(size_t vertices, const std::string& name)
{
    if (vertices > INT_MAX)
        throw FileError::InFile(name, "at most 2147483647 vertices in all models", std::to_string(vertices));
}

// Puts a split scan's part's vertices, with their normals and colours, at
// base plus their scan indices, growing the geometry to hold them.
void PlaceScanVertices(ScanGeometry& geometry, const Part& part, size_t base, bool normals, bool colors,
                       const std::string& name)
{
    const int count = part.model->VertexNumber();
    size_t end = geometry.positions.size();
    for (int i = 0; i < count; ++i) {
        const int index = part.scanVertices[i];
        if (index < 0 || base + static_cast<size_t>(index) >= INT_MAX)
            throw FileError::InFile(name,
                                    "scan vertex indices from 0 below " + std::to_string(INT_MAX - base) +
                                        " in model \"" + part.model->Name() + "\"",
                                    std::to_string(index));
        end = std::max(end, base + static_cast<size_t>(index) + 1);
    }
    geometry.positions.resize(end, VERTEX{0, 0, 0});
    if (normals) geometry.normals.resize(end, CVector_3<float>{0, 0, 0});
    if (colors) geometry.colors.resize(end, RGBA{255, 255, 255, 255});
    for (int i = 0; i < count; ++i) {
        const size_t at = base + static_cast<size_t>(part.scanVertices[i]);
        geometry.positions[at] = part.model->vertices->Buffer()[i];
        if (normals && part.normals != nullptr) geometry.normals[at] = part.normals[i];
        if (colors && part.colors != nullptr) geometry.colors[at] = part.colors[i];
    }
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

// The scan's points as models under element, in file order: one model that
// takes the store, or, when one model's block would pass the node stream's
// limit, parts of at most detail::PieceBytes(), so that every part streams.
// The normals and colours move out of geometry.
void AddModels(CBaseNode& element, ScanGeometry& geometry, const CRefData<CArrayDataStore<VERTEX>>& positions,
               const std::string& name)
{
    const uint64_t vertices = static_cast<uint64_t>(positions->Number());
    const uint64_t vertexBytes = sizeof(VERTEX) + (geometry.normals.empty() ? 0 : sizeof(CVector_3<float>)) +
                                 (geometry.colors.empty() ? 0 : sizeof(RGBA));
    const uint64_t slack = ModelBlockBytes(0) + kAttributeHeaderBytes;
    uint64_t parts = 1;
    if (slack + vertices * vertexBytes > detail::NodeStreamLimit()) {
        const uint64_t room = detail::PieceBytes() > slack ? detail::PieceBytes() - slack : 0;
        const uint64_t most = std::max<uint64_t>(room / vertexBytes, 1);
        parts = (vertices + most - 1) / most;
    }
    const uint64_t perPart = (vertices + parts - 1) / parts;
    std::vector<CModelNode*> models;
    for (uint64_t k = 0; k < parts; ++k) {
        models.push_back(static_cast<CModelNode*>(Adopt(&element, CModelNode::Create())));
        models.back()->SetName(name.c_str());
    }
    // The last part first: each takes its vertices off the end of the scan's
    // arrays, and the first keeps the store itself.
    for (uint64_t k = parts; k-- > 0;) {
        const size_t from = std::min(k * perPart, vertices);
        CModelNode* model = models[k];
        if (k == 0) {
            model->vertices = positions;
        } else {
            if (!model->AppendVertex(positions->Number() - static_cast<int>(from))) throw std::bad_alloc();
            MoveTail(*positions, from, model->vertices->Buffer());
        }
        MoveTailIntoAttribute(*model, kNormalsAttribute, geometry.normals, from, name);
        MoveTailIntoAttribute(*model, kColorsAttribute, geometry.colors, from, name);
    }
}

// Gives model the scan's vertices scanVertices, in that order, with their
// normals and colours and, as kScanVerticesAttribute, their scan indices.
void AddScanVertices(CModelNode& model, const ScanGeometry& geometry, const VERTEX* positions,
                     const std::vector<int>& scanVertices, const std::string& name)
{
    if (!model.AppendVertex(static_cast<int>(scanVertices.size()))) throw std::bad_alloc();
    VERTEX* vertices = model.vertices->Buffer();
    for (size_t i = 0; i < scanVertices.size(); ++i) vertices[i] = positions[scanVertices[i]];
    const auto gathered = [&](const char* attribute, const auto& items) {
        using Item = typename std::decay_t<decltype(items)>::value_type;
        if (items.empty()) return;
        BulkVector<Item> part(scanVertices.size());
        for (size_t i = 0; i < scanVertices.size(); ++i) part[i] = items[scanVertices[i]];
        SetArrayAttribute(model, attribute, part, name);
    };
    gathered(kNormalsAttribute, geometry.normals);
    gathered(kColorsAttribute, geometry.colors);
    SetArrayAttribute(model, kScanVerticesAttribute, scanVertices.data(), scanVertices.size(), name);
}

// A mesh part of the faces from first to end, with the vertices they use
// (scanVertices, in order of first use; localOf gives their place in it).
void AddMeshPart(CBaseNode& element, const ScanGeometry& geometry, const VERTEX* positions,
                 const std::vector<int>& scanVertices, const std::vector<int>& localOf, size_t first, size_t end,
                 const std::string& name)
{
    auto* mesh = static_cast<CMeshNode*>(Adopt(&element, CMeshNode::Create()));
    mesh->SetName(name.c_str());
    AddScanVertices(*mesh, geometry, positions, scanVertices, name);
    auto& rows = mesh->polygons->rows;
    rows.assign(geometry.faces.begin() + first, geometry.faces.begin() + end);
    for (CPolygon<int>& face : rows)
        for (int k = 0; k < std::clamp(face.count, 0, 4); ++k) face.items[k] = localOf[face.items[k]];
    if (!geometry.texCoords.empty())
        mesh->texCoords->rows.assign(geometry.texCoords.begin() + first, geometry.texCoords.begin() + end);
    if (!geometry.faceColors.empty())
        SetArrayAttribute(*mesh, kFaceColorsAttribute, geometry.faceColors.data() + first, end - first, name);
}

// The scan's mesh under element: one mesh that takes the store, or, when its
// block would pass the node stream's limit, meshes of runs of faces of at
// most detail::PieceBytes(), each with the vertices its faces use, and a
// model of the vertices that no face uses.
void AddMeshes(CBaseNode& element, ScanGeometry& geometry, const CRefData<CArrayDataStore<VERTEX>>& positions,
               const std::string& name)
{
    const size_t vertexCount = static_cast<size_t>(positions->Number());
    const bool texCoords = !geometry.texCoords.empty(), faceColors = !geometry.faceColors.empty();
    const uint64_t vertexBytes = sizeof(VERTEX) + (geometry.normals.empty() ? 0 : sizeof(CVector_3<float>)) +
                                 (geometry.colors.empty() ? 0 : sizeof(RGBA));
    const auto faceBytes = [&](const CPolygon<int>& face) {
        return MeshPolygonBytes(face.count, texCoords) + (faceColors ? sizeof(RGBA) : 0);
    };
    const uint64_t slack = MeshBlockBytes(0) + kAttributeHeaderBytes;
    uint64_t bytes = slack + vertexCount * vertexBytes;
    for (const CPolygon<int>& face : geometry.faces) bytes += faceBytes(face);
    if (bytes <= detail::NodeStreamLimit()) {
        auto* mesh = static_cast<CMeshNode*>(Adopt(&element, CMeshNode::Create()));
        mesh->SetName(name.c_str());
        mesh->vertices = positions;
        SetArrayAttribute(*mesh, kNormalsAttribute, geometry.normals, name);
        SetArrayAttribute(*mesh, kColorsAttribute, geometry.colors, name);
        mesh->polygons->rows.swap(geometry.faces);
        mesh->texCoords->rows.swap(geometry.texCoords);
        SetArrayAttribute(*mesh, kFaceColorsAttribute, geometry.faceColors, name);
        return;
    }
    const VERTEX* points = positions->Buffer();
    // A vertex v is in the part being made when localOf[v] names its own place in scanVertices.
    std::vector<int> localOf(vertexCount, -1), scanVertices;
    const auto inPart = [&](int v) {
        return localOf[v] >= 0 && static_cast<size_t>(localOf[v]) < scanVertices.size() &&
               scanVertices[localOf[v]] == v;
    };
    for (size_t first = 0, end = 0; first < geometry.faces.size(); first = end) {
        scanVertices.clear();
        uint64_t partBytes = slack;
        for (end = first; end < geometry.faces.size(); ++end) {
            const CPolygon<int>& face = geometry.faces[end];
            int fresh[4];
            int freshCount = 0;
            for (int k = 0; k < std::clamp(face.count, 0, 4); ++k)
                if (!inPart(face.items[k]) && std::find(fresh, fresh + freshCount, face.items[k]) == fresh + freshCount)
                    fresh[freshCount++] = face.items[k];
            const uint64_t added = faceBytes(face) + freshCount * (vertexBytes + sizeof(int));
            if (end > first && partBytes + added > detail::PieceBytes()) break;
            partBytes += added;
            for (int i = 0; i < freshCount; ++i) {
                localOf[fresh[i]] = static_cast<int>(scanVertices.size());
                scanVertices.push_back(fresh[i]);
            }
        }
        AddMeshPart(element, geometry, points, scanVertices, localOf, first, end, name);
    }
    scanVertices.clear();
    for (size_t v = 0; v < localOf.size(); ++v)
        if (localOf[v] < 0) scanVertices.push_back(static_cast<int>(v));
    if (scanVertices.empty()) return;
    auto* model = static_cast<CModelNode*>(Adopt(&element, CModelNode::Create()));
    model->SetName(name.c_str());
    AddScanVertices(*model, geometry, points, scanVertices, name);
}

// The polylines through the vertices as a line node; null when the geometry has none.
CBaseNode* LinesOf(const ScanGeometry& geometry, const VERTEX* positions, const std::string& name)
{
    if (geometry.lineStarts.empty()) return nullptr;
    NewNode node(CLinearLineNode::Create());
    auto* lines = static_cast<CLinearLineNode*>(node.Get());
    lines->SetName(name.c_str());
    auto& store = lines->lines->lines;
    store.resize(geometry.lineStarts.size());
    for (size_t k = 0; k < store.size(); ++k) {
        const auto [from, to] = detail::LineRange(geometry, k);
        store[k].reserve(to - from);
        for (size_t i = from; i < to; ++i) {
            const VERTEX& p = positions[geometry.lineVertices[i]];
            store[k].push_back({p.x, p.y, p.z});
        }
    }
    return node.Take();
}

// The scene of a checked geometry whose positions are in the store, not its own.
CBaseNode* SceneOfPositions(ScanGeometry& geometry, const CRefData<CArrayDataStore<VERTEX>>& positions,
                            const std::string& name)
{
    NewNode root(CBaseNode::Create());
    CBaseNode* element = Adopt(root.Get(), CElementNode::Create());
    element->SetName(name.c_str());
    // Made first, as a split scan's models take the positions away.
    std::optional<NewNode> lines;
    if (CBaseNode* made = LinesOf(geometry, positions->Buffer(), name)) lines.emplace(made);
    if (geometry.faces.empty()) {
        AddModels(*element, geometry, positions, name);
    } else {
        AddMeshes(*element, geometry, positions, name);
    }
    if (lines) element->AppendChild(lines->Take());
    return root.Take();
}

// The parts' stores as GeometryOfScene checks them, to be written one after another.
std::vector<detail::ScanPart> ScanParts(const std::vector<Part>& parts, const std::string& name)
{
    size_t vertices = 0;
    for (const Part& part : parts) vertices += static_cast<size_t>(part.model->VertexNumber());
    CheckVertexTotal(vertices, name);
    std::vector<detail::ScanPart> scanParts;
    for (const Part& part : parts) {
        detail::ScanPart& scanPart = scanParts.emplace_back();
        scanPart.positions = part.model->vertices->Buffer();
        scanPart.vertices = static_cast<size_t>(part.model->VertexNumber());
        scanPart.normals = part.normals;
        scanPart.colors = part.colors;
        if (part.mesh == nullptr) continue;
        CheckCorners(part, name);
        scanPart.faces = part.mesh->polygons->rows.data();
        scanPart.faceCount = part.mesh->polygons->rows.size();
        scanPart.faceColors = part.faceColors;
    }
    return scanParts;
}

}  // namespace

CBaseNode* SceneOfGeometry(const ScanGeometry& geometry, const std::string& name)
{
    return SceneOfGeometry(ScanGeometry(geometry), name);
}

CBaseNode* SceneOfGeometry(ScanGeometry&& geometry, const std::string& name)
{
    detail::CheckGeometry(geometry, name);
    const CRefData<CArrayDataStore<VERTEX>> positions;
    detail::MovePositions(geometry, *positions, name);
    return SceneOfPositions(geometry, positions, name);
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
    CheckVertexTotal(vertices, name);
    ScanGeometry geometry;
    geometry.positions.reserve(vertices);
    geometry.faces.reserve(faces);
    size_t splitBase = 0;
    CBaseNode* splitParent = nullptr;  // the element of the split scan being joined
    for (const Part& part : parts) {
        const int count = part.model->VertexNumber();
        const VERTEX* first = part.model->vertices->Buffer();
        // Vertex i goes to base + i, or, in a part of a split scan, to base + its scan index.
        size_t base = geometry.positions.size();
        if (part.scanVertices == nullptr) {
            splitParent = nullptr;
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
        } else {
            if (part.parent != splitParent) std::tie(splitBase, splitParent) = std::pair(base, part.parent);
            base = splitBase;
            PlaceScanVertices(geometry, part, base, normals, colors, name);
        }
        const auto placed = [&](int i) {
            return static_cast<int>(base + static_cast<size_t>(part.scanVertices ? part.scanVertices[i] : i));
        };
        if (part.mesh == nullptr) continue;
        const auto& rows = part.mesh->polygons->rows;
        CheckCorners(part, name);
        for (size_t f = 0; f < rows.size(); ++f) {
            CPolygon<int> face = rows[f];
            for (int k = 0; k < std::clamp(face.count, 0, 4); ++k) face.items[k] = placed(face.items[k]);
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
    // The readers check what they give; the positions go straight into the model's store.
    const CRefData<CArrayDataStore<VERTEX>> positions;
    ScanGeometry geometry = detail::ReadScanFile(path, *positions);
    if (warnings != nullptr) warnings->insert(warnings->end(), geometry.warnings.begin(), geometry.warnings.end());
    return SceneOfPositions(geometry, positions, path.substr(path.find_last_of('/') + 1));
}

void ExportScan(CBaseNode* root, const std::string& path, PlyEncoding plyEncoding)
{
    if (root == nullptr) throw FileError::InFile(path, "a scene to export", "none");
    const ScanFormat format = FormatOfFileName(path);
    if (format == ScanFormat::glb || format == ScanFormat::gltf) return ExportGltf(root, path);
    if (format == ScanFormat::ply) {
        // Written straight from the stores, unless lines, texture coordinates
        // or the parts of a split mesh need the scene joined first.
        std::vector<CLinearLineNode*> lineNodes;
        const std::vector<Part> parts = PartsOf(root, path, lineNodes);
        const auto needsJoining = [](const Part& p) { return p.texCoords || p.scanVertices != nullptr; };
        if (lineNodes.empty() && std::none_of(parts.begin(), parts.end(), needsJoining))
            return detail::SavePly(ScanParts(parts, path), path, plyEncoding);
    }
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
