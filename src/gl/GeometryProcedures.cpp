#include "gl/RendererImpl.h"

#include <brelldata/data/Normal.h>
#include <brelldata/geo/MeshNodes.h>
#include <brelldata/geo/VertexNodes.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/procedures/ProcedureNames.h>
#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

// Geometry procedures: what each scan class becomes under the reference node
// GeoCalc hands them. Built geometry shares the scan stores wherever the
// types agree.

namespace brell::gl {

namespace {

enum Kind { kPoints, kWire, kShade, kSmooth, kTexture };

// 0, 1, ..., count - 1.
void SelectAll(CArrayDataStore<int>& selection, int count)
{
    selection.Clear();
    if (selection.Append(count) == 0) return;
    for (int i = 0; i < count; ++i) selection.Buffer()[i] = i;
}

// Whether the selection is 0, 1, ..., count - 1.
bool SelectsAllInOrder(const CArrayDataStore<int>& selection, int count)
{
    if (selection.Number() != count) return false;
    const int* index = selection.Buffer();
    for (int i = 0; i < count; ++i)
        if (index[i] != i) return false;
    return true;
}

// Selects every one of count vertices in order, sharing the selection the
// last points of this thread got while other geometry still holds it and it
// is the same: the parts of a split scan, all of one size, then hold one list
// rather than one each.
void SelectAllOf(CGeoPointNode& points, int count)
{
    thread_local CRefData<CArrayDataStore<int>> last;
    if (last->RefCount() > 1 && SelectsAllInOrder(*last, count)) {
        points.indices = last;
        return;
    }
    // One that no geometry holds any more is freed before the new one is filled.
    last = points.indices;
    SelectAll(*points.indices, count);
}

// Copies the model's per-vertex colours, when it has one for each vertex,
// into the same attribute of the geometry made from it; 1 when there were.
int CarryColors(CModelNode* model, CBaseNode* geometry)
{
    int size = 0;
    void* colors = model->QueryAttributeStruct(io::kColorsAttribute, &size);
    if (colors == nullptr || int64_t{size} != int64_t{model->VertexNumber()} * int64_t{sizeof(RGBA)}) return 0;
    geometry->SetAttributeStruct(io::kColorsAttribute, colors, size);
    return 1;
}

CGeoPointNode* Points(CModelNode* model)
{
    auto* points = new CGeoPointNode;
    points->vertices = model->vertices;
    SelectAllOf(*points, model->VertexNumber());
    CarryColors(model, points);
    return points;
}

CGeoWireFrameNode* Wireframe(CMeshNode* mesh)
{
    auto* wire = new CGeoWireFrameNode;
    wire->vertices = mesh->vertices;
    wire->polygons = mesh->polygons;
    wire->closed = 1;
    SelectAll(*wire->indices, mesh->polygons->Number());
    CarryColors(mesh, wire);
    return wire;
}

// Flat normals per polygon from CalcNormal; smooth normals per vertex, the
// unit mean of the flat normals of the polygons around it. The first image
// child is the texture, through the mesh's coordinates when there is one
// row of them per polygon.
CGeoPolyShadeRefNode* Shaded(CMeshNode* mesh, Kind kind)
{
    auto* shade = new CGeoPolyShadeRefNode;
    shade->vertices = mesh->vertices;
    shade->polygons = mesh->polygons;
    const int polygonCount = mesh->polygons->Number(), vertexCount = mesh->VertexNumber();
    SelectAll(*shade->indices, polygonCount);
    CArrayDataStore<CVector_3<float>>& flat = *shade->flatNormals;
    CArrayDataStore<CVector_3<float>>& smooth = *shade->smoothNormals;
    if (flat.Append(polygonCount) != 0 && smooth.Append(vertexCount) != 0) {
        ClearFloatNormal(shade->smoothNormals);
        for (int i = 0; i < polygonCount; ++i) {
            CPolygon<int>& row = mesh->polygons->rows[static_cast<size_t>(i)];
            const CVector_3<double> n = CalcNormal(mesh->vertices, row.items, row.count);
            flat.Buffer()[i] = {static_cast<float>(n.x), static_cast<float>(n.y), static_cast<float>(n.z)};
            for (int j = 0; j < std::clamp(row.count, 0, 4); ++j) {
                if (row.items[j] < 0 || row.items[j] >= vertexCount) continue;
                CVector_3<float>& sum = smooth.Buffer()[row.items[j]];
                sum = {sum.x + flat.Buffer()[i].x, sum.y + flat.Buffer()[i].y, sum.z + flat.Buffer()[i].z};
            }
        }
        UnitFloatNormal(shade->smoothNormals);
    }
    if (mesh->ImageNumber() > 0) {
        shade->textureImage = mesh->Image(0);
        shade->textureCoords = mesh->texCoords;
        shade->hasTextureCoords = mesh->texCoords->Number() == polygonCount ? 1 : 0;
    }
    shade->smooth = kind == kSmooth ? 1 : 0;
    shade->texture = kind == kTexture && mesh->ImageNumber() > 0 ? 1 : 0;
    // Textures and vertex colours show as they are; bare meshes are light grey.
    const bool colored = CarryColors(mesh, shade) != 0;
    shade->color = colored || mesh->ImageNumber() > 0 ? RGBA{255, 255, 255, 255} : RGBA{200, 200, 200, 255};
    return shade;
}

// Each polyline as its own vertices, one row per segment.
CGeoLineNode* Lines(CLinearLineNode* lines)
{
    auto* node = new CGeoLineNode;
    for (const std::vector<CVector_3<double>>& line : lines->lines->lines) {
        const int first = node->VertexNumber();
        if (line.empty() || node->AppendVertex(static_cast<int>(line.size())) == 0) continue;
        for (size_t k = 0; k < line.size(); ++k)
            node->GetVertex(first + static_cast<int>(k)) = {line[k].x, line[k].y, line[k].z};
        for (int k = first; k + 1 < node->VertexNumber(); ++k) {
            const int row = node->Number();
            node->Append(1);
            node->Index(row, 0) = k;
            node->Index(row, 1) = k + 1;
        }
    }
    return node;
}

int GeoModel(void* node, void* output)
{
    static_cast<CBaseNode*>(output)->AppendChild(Points(static_cast<CModelNode*>(node)));
    return 1;
}

template <Kind kind>
int GeoMesh(void* node, void* output)
{
    auto* mesh = static_cast<CMeshNode*>(node);
    CBaseNode* geometry = kind == kPoints ? static_cast<CBaseNode*>(Points(mesh))
                          : kind == kWire ? static_cast<CBaseNode*>(Wireframe(mesh))
                                          : Shaded(mesh, kind);
    static_cast<CBaseNode*>(output)->AppendChild(geometry);
    return 1;
}

int GeoLines(void* node, void* output)
{
    static_cast<CBaseNode*>(output)->AppendChild(Lines(static_cast<CLinearLineNode*>(node)));
    return 1;
}

// Elements, images and other curves build nothing of their own; elements
// need a procedure so that their children are calculated.
int GeoNothing(void*, void*)
{
    return 1;
}

template <Kind kind>
void AddKind(std::vector<std::pair<std::string, DAPI_PROC>>& all, const char* name)
{
    all.emplace_back(ProcedureName(kGeoProcedure, CModelNode::TypeId(), name), GeoModel);
    all.emplace_back(ProcedureName(kGeoProcedure, CMeshNode::TypeId(), name), GeoMesh<kind>);
    all.emplace_back(ProcedureName(kGeoProcedure, CLinearLineNode::TypeId(), name), GeoLines);
    for (const std::string& type : {CObjectNode::TypeId(), CElementNode::TypeId(), CImageNode::TypeId(),
                                    CBezierLineNode::TypeId(), CCharLineNode::TypeId()})
        all.emplace_back(ProcedureName(kGeoProcedure, type, name), GeoNothing);
}

}  // namespace

void CalculateGeometry(CBaseNode* scan, const std::string& procedure, CBaseNode* output)
{
    const char* const* known = std::find(std::begin(kProcedures), std::end(kProcedures), procedure);
    if (known == std::end(kProcedures))
        throw RenderError::At("calculating geometry",
                              "expected a procedure among " + ProcedureList() + ", found \"" + procedure + "\"");
    if (scan == nullptr || output == nullptr)
        throw RenderError::At("calculating geometry", "expected a scan and an output node, found none");
    RegisterProcedures();
    const unsigned int before = output->GetChildNum();
    const auto calculate = [&](CBaseNode* node) {
        if (auto* object = AsKindOf<CObjectNode>(node)) object->GeoCalc(*known, output);
    };
    calculate(scan);
    if (!scan->IsKindOf(CObjectNode::TypeId()))
        for (unsigned int i = 0; i < scan->GetChildNum(); ++i) calculate(scan->GetChild(i));
    if (output->GetChildNum() == before)
        throw RenderError::At("calculating geometry", "nothing to calculate: the tree holds no scan data");
}

std::string ProcedureList()
{
    std::string list;
    const size_t count = std::size(kProcedures);
    for (size_t i = 0; i < count; ++i)
        list += (i == 0 ? "" : i + 1 < count ? ", " : " or ") + std::string(kProcedures[i]);
    return list;
}

std::vector<std::pair<std::string, DAPI_PROC>> GeometryProcedures()
{
    std::vector<std::pair<std::string, DAPI_PROC>> all;
    AddKind<kPoints>(all, kPointsProcedure);
    AddKind<kWire>(all, kWireProcedure);
    AddKind<kShade>(all, kShadeProcedure);
    AddKind<kSmooth>(all, kSmoothProcedure);
    AddKind<kTexture>(all, kTextureProcedure);
    return all;
}

}  // namespace brell::gl
