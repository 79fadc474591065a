#include "gl/RendererImpl.h"

#include <brelldata/data/Normal.h>
#include <brelldata/geo/MeshNodes.h>
#include <brelldata/geo/VertexNodes.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/procedures/DApi.h>
#include <brelldata/procedures/ProcedureNames.h>

#include <algorithm>
#include <string>

namespace brell::gl {

namespace {

Style Look(RGBA color, double size = 1.0, bool lit = false)
{
    Style style;
    const uint8_t channels[4] = {color.r, color.g, color.b, color.a};
    for (int i = 0; i < 4; ++i) style.color[i] = channels[i] / 255.0f;
    style.size = static_cast<float>(size);
    style.lit = lit;
    return style;
}

void Append(std::vector<float>& to, double x, double y, double z)
{
    to.insert(to.end(), {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
}

// Index rows (of lines, polygons or reference polygons) as element lists;
// rows with a corner outside the vertices are left out.
class Elements {
public:
    explicit Elements(int vertexCount) : vertexCount_(vertexCount) {}

    bool Valid(const int* corners, int count) const
    {
        return std::all_of(corners, corners + count, [this](int v) { return v >= 0 && v < vertexCount_; });
    }
    void Edges(const int* corners, int count, bool closed)
    {
        if (count < 2 || !Valid(corners, count)) return;
        for (int j = 0; j + 1 < count; ++j) Add({corners[j], corners[j + 1]});
        if (closed && count > 2) Add({corners[count - 1], corners[0]});
    }
    void Fan(const int* corners, int count)
    {
        if (count < 3 || !Valid(corners, count)) return;
        for (int j = 1; j + 1 < count; ++j) Add({corners[0], corners[j], corners[j + 1]});
    }

    std::vector<GLuint> list;

private:
    void Add(std::initializer_list<int> corners)
    {
        for (int v : corners) list.push_back(static_cast<GLuint>(v));
    }
    int vertexCount_;
};

// The selected polygons of a reference mesh: f(selection position, corners, corner count).
template <class Function>
void ForEachSelected(CArrayDataStore<int>& selection, CPolygonDataStore<int>& polygons, Function f)
{
    for (int i = 0; i < selection.Number(); ++i) {
        const int k = selection.Buffer()[i];
        if (k < 0 || k >= polygons.Number()) continue;
        const CPolygon<int>& row = polygons.rows[static_cast<size_t>(k)];
        f(i, row.items, std::clamp(row.count, 0, 4));
    }
}

// The node's per-vertex colours; null without one for each vertex.
const RGBA* VertexColors(CGeoVertexNode* node)
{
    int size = 0;
    const void* colors = node->QueryAttributeStruct(io::kColorsAttribute, &size);
    if (colors == nullptr || int64_t{size} != int64_t{node->VertexNumber()} * int64_t{sizeof(RGBA)}) return nullptr;
    return static_cast<const RGBA*>(colors);
}

// Elements into the node's vertex store; nothing to draw is success.
int DrawIndexed(void* context, CGeoVertexNode* node, GLenum mode, Elements& elements, const Style& style,
                CArrayDataStore<CVector_3<float>>* normals = nullptr)
{
    if (elements.list.empty()) return 1;
    Geometry geometry;
    geometry.mode = mode;
    geometry.vertexStore = &*node->vertices;
    geometry.vertexColors = VertexColors(node);
    geometry.normalStore = normals;
    geometry.elements = std::move(elements.list);
    return RendererOf(context).Add(geometry, style);
}

// Lines of length from count vertices along their normals; at(i, vertex,
// normal) gives each, false to leave it out.
template <class At>
int DrawNormalLines(void* context, int count, double length, RGBA color, At at)
{
    Geometry lines;
    lines.mode = GL_LINES;
    for (int i = 0; i < count; ++i) {
        VERTEX v;
        CVector_3<double> n;
        if (!at(i, v, n)) continue;
        Append(lines.positions, v.x, v.y, v.z);
        Append(lines.positions, v.x + length * n.x, v.y + length * n.y, v.z + length * n.z);
    }
    return RendererOf(context).Add(lines, Look(color));
}

int DrawGroup(void*, void*)
{
    return 1;
}

// Every vertex of the node's store in order, with no element list.
int DrawWholeStore(CGeoVertexNode* node, void* context, const Style& style)
{
    Geometry points;
    points.vertexStore = &*node->vertices;
    points.vertexColors = VertexColors(node);
    return RendererOf(context).Add(points, style);
}

int DrawVertices(void* node, void* context)
{
    return DrawWholeStore(static_cast<CGeoVertexNode*>(node), context, Look({255, 255, 255, 255}));
}

// A selection of every vertex in order, the points procedure's own, draws
// the store whole: a scan's points need no element list beside them.
int DrawPoints(void* node, void* context)
{
    auto* points = static_cast<CGeoPointNode*>(node);
    const int* selection = points->IndexBuffer();
    int inOrder = 0;
    while (inOrder < points->Number() && selection[inOrder] == inOrder) ++inOrder;
    if (inOrder == points->VertexNumber() && inOrder == points->Number())
        return DrawWholeStore(points, context, Look(points->color, points->size));
    Elements elements(points->VertexNumber());
    for (int i = 0; i < points->Number(); ++i)
        if (elements.Valid(&points->IndexBuffer()[i], 1)) elements.list.push_back(points->IndexBuffer()[i]);
    return DrawIndexed(context, points, GL_POINTS, elements, Look(points->color, points->size));
}

int DrawLines(void* node, void* context)
{
    auto* lines = static_cast<CGeoLineNode*>(node);
    Elements elements(lines->VertexNumber());
    const int segment = lines->Segment();
    for (int i = 0; i < lines->Number(); ++i)
        elements.Edges(lines->IndexBuffer() + static_cast<size_t>(i) * segment, segment, lines->closed != 0);
    return DrawIndexed(context, lines, GL_LINES, elements, Look(lines->color, lines->lineWidth));
}

// Polygon rows as faces, or as closed outlines for the poly-wire class.
template <bool outline>
int DrawPolygonRows(void* node, void* context)
{
    auto* polygons = static_cast<CGeoPolygonNode*>(node);
    Elements elements(polygons->VertexNumber());
    const int segment = polygons->Segment();
    for (int i = 0; i < polygons->Number(); ++i) {
        const int* corners = polygons->IndexBuffer() + static_cast<size_t>(i) * segment;
        outline ? elements.Edges(corners, segment, true) : elements.Fan(corners, segment);
    }
    return DrawIndexed(context, polygons, outline ? GL_LINES : GL_TRIANGLES, elements, Look(polygons->color));
}

int DrawNormals(void* node, void* context)
{
    auto* normals = static_cast<CGeoNormalNode*>(node);
    const int count = std::min(normals->Number(), normals->normals->Number());
    return DrawNormalLines(context, count, normals->size, normals->color,
                           [normals](int i, VERTEX& v, CVector_3<double>& n) {
                               const int index = normals->Index(i);
                               if (index < 0 || index >= normals->VertexNumber()) return false;
                               v = normals->GetVertex(index);
                               n = normals->Normal(i);
                               return true;
                           });
}

int DrawVertexNormals(void* node, void* context)
{
    auto* normals = static_cast<CGeoVertexNormalNode*>(node);
    const int count = std::min(normals->VertexNumber(), normals->normals->Number());
    return DrawNormalLines(context, count, normals->length, normals->color,
                           [normals](int i, VERTEX& v, CVector_3<double>& n) {
                               v = normals->GetVertex(i);
                               const CVector_3<float>& normal = normals->Normal(i);
                               n = {normal.x, normal.y, normal.z};
                               return true;
                           });
}

int DrawWireFrame(void* node, void* context)
{
    auto* wire = static_cast<CGeoWireFrameNode*>(node);
    Elements elements(wire->VertexNumber());
    ForEachSelected(*wire->indices, *wire->polygons,
                    [&](int, const int* corners, int count) { elements.Edges(corners, count, wire->closed != 0); });
    return DrawIndexed(context, wire, GL_LINES, elements, Look(wire->color, wire->lineWidth));
}

// Selected polygons as faces, or as closed outlines for the poly-wire class.
template <bool outline>
int DrawReferencedPolygons(void* node, void* context)
{
    auto* mesh = static_cast<CGeoPolygonRefNode*>(node);
    Elements elements(mesh->VertexNumber());
    ForEachSelected(*mesh->indices, *mesh->polygons, [&](int, const int* corners, int count) {
        outline ? elements.Edges(corners, count, true) : elements.Fan(corners, count);
    });
    return DrawIndexed(context, mesh, outline ? GL_LINES : GL_TRIANGLES, elements, Look(mesh->color));
}

// Smooth meshes without texture share the vertex, normal and colour stores;
// flat or textured ones give every triangle corner its own normal and
// coordinate, or colour when untextured.
int DrawPolyShade(void* node, void* context)
{
    auto* mesh = static_cast<CGeoPolyShadeRefNode*>(node);
    const int vertexCount = mesh->VertexNumber();
    CMatrixDataStore<RGBA>& image = *mesh->textureImage;
    const bool textured = mesh->texture != 0 && image.HeldRows() > 0 && image.Buffer() != nullptr;
    const bool smooth = mesh->smooth != 0 && mesh->smoothNormals->Number() == vertexCount;
    Elements elements(vertexCount);
    if (smooth && !textured) {
        ForEachSelected(*mesh->indices, *mesh->polygons,
                        [&](int, const int* corners, int count) { elements.Fan(corners, count); });
        return DrawIndexed(context, mesh, GL_TRIANGLES, elements, Look(mesh->color, 1.0, true), &*mesh->smoothNormals);
    }
    Geometry geometry;
    geometry.mode = GL_TRIANGLES;
    if (textured) geometry.textureImage = &image;
    const RGBA* colors = textured ? nullptr : VertexColors(mesh);
    size_t cornerCount = 0;
    ForEachSelected(*mesh->indices, *mesh->polygons, [&](int, const int*, int count) {
        cornerCount += 3 * static_cast<size_t>(std::max(count - 2, 0));
    });
    geometry.positions.reserve(3 * cornerCount);
    geometry.normals.reserve(3 * cornerCount);
    if (textured) geometry.texCoords.reserve(2 * cornerCount);
    if (colors != nullptr) geometry.colors.reserve(cornerCount);
    ForEachSelected(*mesh->indices, *mesh->polygons, [&](int i, const int* corners, int count) {
        if (count < 3 || !elements.Valid(corners, count)) return;
        CVector_3<float> flat;
        if (i < mesh->flatNormals->Number()) {
            flat = mesh->FlatNormal(i);
        } else {
            const CVector_3<double> n = CalcNormal(mesh->vertices, const_cast<int*>(corners), count);
            flat = {static_cast<float>(n.x), static_cast<float>(n.y), static_cast<float>(n.z)};
        }
        for (int j = 1; j + 1 < count; ++j) {
            for (int corner : {0, j, j + 1}) {
                const VERTEX& v = mesh->GetVertex(corners[corner]);
                Append(geometry.positions, v.x, v.y, v.z);
                const CVector_3<float>& n = smooth ? mesh->smoothNormals->Element(corners[corner]) : flat;
                geometry.normals.insert(geometry.normals.end(), {n.x, n.y, n.z});
                if (colors != nullptr) geometry.colors.push_back(colors[corners[corner]]);
                if (!textured) continue;
                const CVector_2<float>& uv = mesh->TextureCoord(i, corner);
                geometry.texCoords.insert(geometry.texCoords.end(), {uv.x, uv.y});
            }
        }
    });
    return RendererOf(context).Add(geometry, Look(mesh->color, 1.0, true));
}

int DrawLights(void* node, void* context)
{
    Item lights;
    lights.kind = Item::kLights;
    const auto& nodeLights = static_cast<CGeoLightNode*>(node)->lights;
    lights.lights.assign(nodeLights.begin(), nodeLights.end());
    return RendererOf(context).AddState(std::move(lights));
}

int DrawCamera(void* node, void* context)
{
    Item camera;
    camera.kind = Item::kCamera;
    camera.camera = static_cast<CGeoCameraNode*>(node)->camera;
    return RendererOf(context).AddState(std::move(camera));
}

// Draws the reference's subtree from the node's cache, recording the cache
// on the first frame. Inside a subtree being recorded, references are drawn
// into that cache.
int DrawReference(void* node, void* context)
{
    auto* reference = static_cast<CGeoRefNode*>(node);
    CBaseNode* target = reference->Reference();
    if (target == nullptr) return 1;
    Renderer::Impl& renderer = RendererOf(context);
    if (renderer.recording != nullptr) return DrawTree(target, kRendererName, context);
    if (auto* cache = dynamic_cast<GlCache*>(reference->GetCache())) {
        if (cache->Execute(context) != 0) return 1;
    }
    auto* cache = new GlCache(renderer.shared_from_this());
    renderer.recording = &cache->batch;
    const int result = DrawTree(target, kRendererName, context);
    renderer.recording = nullptr;
    reference->SetCache(cache);
    return result;
}

const Procedure kDrawProcedures[] = {
    {"CGeoBaseNode", DrawGroup},
    {"CGeoVertexNode", DrawVertices},
    {"CGeoPointNode", DrawPoints},
    {"CGeoLineNode", DrawLines},
    {"CGeoPolygonNode", DrawPolygonRows<false>},
    {"CGeoPolyWireNode", DrawPolygonRows<true>},
    {"CGeoNormalNode", DrawNormals},
    {"CGeoVertexNormalNode", DrawVertexNormals},
    {"CGeoWireFrameNode", DrawWireFrame},
    {"CGeoPolygonRefNode", DrawReferencedPolygons<false>},
    {"CGeoPolyWireRefNode", DrawReferencedPolygons<true>},
    {"CGeoPolyShadeRefNode", DrawPolyShade},
    {"CGeoLightNode", DrawLights},
    {"CGeoCameraNode", DrawCamera},
    {"CGeoRefNode", DrawReference},
};

struct Registration {
    const char* kind;
    std::string name;
    DAPI_PROC procedure;
};

// Every procedure; every class ends its drawing through the base class's end
// procedure.
std::vector<Registration> AllProcedures()
{
    std::vector<Registration> all;
    for (const Procedure& procedure : kDrawProcedures)
        all.push_back(
            {kDrawProcedure.kind, ProcedureName(kDrawProcedure, procedure.type, kRendererName), procedure.draw});
    for (const Procedure& procedure : OverlayProcedures())
        all.push_back(
            {kDrawProcedure.kind, ProcedureName(kDrawProcedure, procedure.type, kRendererName), procedure.draw});
    all.push_back({kEndDrawProcedure.kind, ProcedureName(kEndDrawProcedure, "CGeoBaseNode", kRendererName), DrawGroup});
    for (auto& [name, procedure] : GeometryProcedures())
        all.push_back({kGeoProcedure.kind, std::move(name), procedure});
    return all;
}

}  // namespace

int RegisterProcedures()
{
    for (const Registration& r : AllProcedures()) GetDApiManager()->Register(r.kind, r.name.c_str(), r.procedure);
    return 1;
}

void UnregisterProcedures()
{
    for (const Registration& r : AllProcedures()) GetDApiManager()->Unregister(r.kind, r.name.c_str());
}

}  // namespace brell::gl
