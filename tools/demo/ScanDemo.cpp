#include "DemoSections.h"
#include "PrintingRenderer.h"

#include <brelldata/core/RefNode.h>
#include <brelldata/core/Tree.h>
#include <brelldata/data/Normal.h>
#include <brelldata/geo/MeshNodes.h>
#include <brelldata/procedures/DApi.h>
#include <brelldata/procedures/ProcedureNames.h>
#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include <cstdio>
#include <vector>

namespace {

// The demo's geometry procedure: "GeoCMeshNode_Display" and so on.
constexpr const char* kProcedure = "Display";

template <class Node>
Node* Named(const char* name)
{
    auto* node = static_cast<Node*>(Node::Create());
    node->SetName(name);
    return node;
}

// Every index of a store of count entries, in order.
void SelectAll(CArrayDataStore<int>& indices, int count)
{
    indices.Append(count);
    for (int i = 0; i < count; ++i) indices.Element(i) = i;
}

// A point node over the model's own vertex store.
int GeoModel(void* node, void* output)
{
    auto* model = static_cast<CModelNode*>(node);
    auto* points = Named<CGeoPointNode>("points");
    points->vertices = model->vertices;
    SelectAll(*points->indices, model->VertexNumber());
    static_cast<CBaseNode*>(output)->AppendChild(points);
    return 1;
}

// A wireframe and a textured, shaded mesh, both over the mesh's own stores,
// with flat normals per polygon and smooth ones averaged from them.
int GeoMesh(void* node, void* output)
{
    auto* mesh = static_cast<CMeshNode*>(node);
    const int polygons = mesh->polygons->Number();
    auto* wireframe = Named<CGeoWireFrameNode>("wireframe");
    wireframe->vertices = mesh->vertices;
    wireframe->polygons = mesh->polygons;
    SelectAll(*wireframe->indices, polygons);

    auto* shaded = Named<CGeoPolyShadeRefNode>("shaded");
    shaded->vertices = mesh->vertices;
    shaded->polygons = mesh->polygons;
    shaded->indices = wireframe->indices;
    shaded->textureCoords = mesh->texCoords;
    shaded->hasTextureCoords = 1;
    shaded->textureImage = mesh->Image(0);
    shaded->texture = mesh->ImageNumber() > 0 ? 1 : 0;
    shaded->smooth = 1;
    shaded->flatNormals->Append(polygons);
    shaded->smoothNormals->Append(mesh->VertexNumber());
    ClearFloatNormal(shaded->smoothNormals);
    for (int i = 0; i < polygons; ++i) {
        CPolygon<int>& row = mesh->polygons->rows[i];
        const CVector_3<double> n = CalcNormal(mesh->vertices, row.items, row.count);
        shaded->FlatNormal(i) = {float(n.x), float(n.y), float(n.z)};
        for (int j = 0; j < row.count; ++j) {
            CVector_3<float>& smooth = shaded->SmoothNormal(i, j);
            smooth = {smooth.x + float(n.x), smooth.y + float(n.y), smooth.z + float(n.z)};
        }
    }
    UnitFloatNormal(shaded->smoothNormals);

    static_cast<CBaseNode*>(output)->AppendChild(wireframe);
    static_cast<CBaseNode*>(output)->AppendChild(shaded);
    return 1;
}

// A polyline node per line, over a vertex copy of the line's points.
int GeoLinearLine(void* node, void* output)
{
    auto* line = static_cast<CLinearLineNode*>(node);
    for (const std::vector<CVector_3<double>>& points : line->lines->lines) {
        auto* polyline = Named<CGeoLineNode>("polyline");
        const int count = static_cast<int>(points.size());
        polyline->AppendVertex(count);
        for (int i = 0; i < count; ++i) polyline->GetVertex(i) = {points[i].x, points[i].y, points[i].z};
        polyline->Segment() = count;
        for (int i = 0; i < count; ++i) polyline->Index(0, i) = i;
        polyline->Append(1);
        static_cast<CBaseNode*>(output)->AppendChild(polyline);
    }
    return 1;
}

// Elements and images build nothing of their own: the mesh draws its texture.
int GeoNothing(void*, void*)
{
    return 1;
}

// The generic procedure, for the classes without one of their own.
int GeoGeneric(void* node, void*)
{
    auto* object = static_cast<CBaseNode*>(node);
    std::printf("  no geometry procedure for %s \"%s\": the generic one skips it\n", object->Type().c_str(),
                object->Name().c_str());
    return 1;
}

struct Procedure {
    const char* type;
    DAPI_PROC proc;

    std::string Name() const { return brell::ProcedureName(brell::kGeoProcedure, type, kProcedure); }
};

const Procedure kProcedures[] = {
    {"CElementNode", GeoNothing},
    {"CModelNode", GeoModel},
    {"CMeshNode", GeoMesh},
    {"CImageNode", GeoNothing},
    {"CLinearLineNode", GeoLinearLine},
    {"CObjectNode", GeoGeneric},
};

// A 3 x 3 grid of heights joined into eight textured triangles, with a 2 x 2 image.
CMeshNode* MakeTerrain()
{
    auto* mesh = Named<CMeshNode>("terrain");
    const double heights[9] = {0, 1, 0, 1, 2, 1, 0, 1, 0};
    mesh->AppendVertex(9);
    for (int i = 0; i < 9; ++i) *mesh->GetVertex(i) = {double(i % 3) * 10, double(i / 3) * 10, heights[i]};
    for (int row = 0; row < 2; ++row) {
        for (int col = 0; col < 2; ++col) {
            const int c = row * 3 + col;
            const float u = col * 0.5f, v = row * 0.5f;
            mesh->polygons->rows.push_back({{c, c + 1, c + 4, 0}, 3});
            mesh->texCoords->rows.push_back({{{u, v}, {u + 0.5f, v}, {u + 0.5f, v + 0.5f}, {0, 0}}, 3});
            mesh->polygons->rows.push_back({{c, c + 4, c + 3, 0}, 3});
            mesh->texCoords->rows.push_back({{{u, v}, {u + 0.5f, v + 0.5f}, {u, v + 0.5f}, {0, 0}}, 3});
        }
    }
    CRefData<CMatrixDataStore<RGBA>> photo;
    photo->width = 2;
    photo->AppendRows(2);
    photo->Element(0, 0) = {200, 180, 150, 255};
    photo->Element(1, 1) = {90, 120, 60, 255};
    mesh->AppendImage(photo);
    mesh->GetLastChild()->SetName("photo");
    return mesh;
}

// The scene: element "front" with a point cloud, the textured terrain and a
// coarse level of detail; element "rim" with line data.
void BuildScene(CTree& scene)
{
    auto* front = Named<CElementNode>("front");
    auto* cloud = Named<CModelNode>("cloud");
    cloud->AppendVertex(3);
    *cloud->GetVertex(0) = {0, 0, 5};
    *cloud->GetVertex(1) = {20, 0, 5};
    *cloud->GetVertex(2) = {10, 20, 5};
    front->AppendChild(cloud);
    front->AppendChild(MakeTerrain());
    auto* coarse = Named<CLodNode>("coarse");
    coarse->level = 1;
    coarse->AppendChild(Named<CModelNode>("corners"));
    front->AppendChild(coarse);

    auto* rim = Named<CElementNode>("rim");
    auto* profile = Named<CLinearLineNode>("profile");
    profile->lines->lines = {{{0, 0, 0}, {10, 0, 1}, {20, 0, 0}}};
    rim->AppendChild(profile);
    auto* edge = Named<CBezierLineNode>("edge");
    edge->lines->lines.resize(1);
    rim->AppendChild(edge);
    rim->AppendChild(Named<CCharLineNode>("feature"));

    AppendElementToScene(front, &scene);
    AppendElementToScene(rim, &scene);
}

// Names and types by depth; a reference node also shows what it refers to.
void PrintOutline(CBaseNode* node, int depth)
{
    std::printf("%*s%s \"%s\"", 2 * depth, "", node->Type().c_str(), node->Name().c_str());
    if (auto* reference = brell::AsKindOf<CRefNode>(node))
        std::printf(" -> %s", reference->Reference()->Type().c_str());
    std::printf("\n");
    for (unsigned int i = 0; i < node->GetChildNum(); ++i) PrintOutline(node->GetChild(i), depth + 1);
}

}  // namespace

void ShowScan()
{
    RegisterPrintingRenderer();
    for (const Procedure& procedure : kProcedures)
        GetDApiManager()->Register(brell::kGeoProcedure.kind, procedure.Name().c_str(), procedure.proc);

    CTree scene(Named<CBaseNode>("scene"));
    BuildScene(scene);
    std::printf("a scene of %d elements; the first holds %d models (the terrain mesh among them) and %d mesh\n",
                ElementNumber(&scene), GetElement(0, &scene)->NodeNumber("CModelNode"),
                GetElement(0, &scene)->MeshNumber());
    CMeshNode* terrain = GetElement(0, &scene)->GetMesh(0);
    std::printf("cloud: %s; terrain: %s over %d vertices, %d image\n",
                GetElement(0, &scene)->GetNode(0, "CModelNode")->Comment().c_str(), terrain->Comment().c_str(),
                terrain->VertexNumber(), terrain->ImageNumber());

    CTree display(Named<CBaseNode>("display"));
    std::printf("geometry calculation \"%s\" of each element:\n", kProcedure);
    int result = 1;
    for (int i = 0; i < ElementNumber(&scene); ++i)
        result &= GetElement(i, &scene)->GeoCalc(kProcedure, display.Root());
    std::printf("GeoCalc gives %d; the level of detail \"coarse\" was skipped\n", result);
    std::printf("the terrain's vertex store is now held by the mesh and its two geometry nodes (count %d)\n",
                terrain->vertices->RefCount());
    std::printf("the display tree, one reference node per calculated node:\n");
    PrintOutline(display.Root(), 1);
    PrintContext context;
    std::printf("DrawTree of the display tree gives %d\n", DrawTree(display.Root(), kPrintRenderer, &context));

    const int size = scene.SizeOfByte();
    std::vector<unsigned char> first(static_cast<size_t>(size)), second(static_cast<size_t>(size));
    scene.Write(first.data());
    CTree copy;
    copy.Read(first.data());
    copy.Write(second.data());
    std::printf("the scene as a node stream: %d bytes; read back and written again: %s\n", size,
                first == second ? "the same bytes" : "different bytes");
    std::printf("read back: %d elements, terrain %s, its image %s\n", ElementNumber(&copy),
                GetElement(0, &copy)->GetMesh(0)->Comment().c_str(),
                static_cast<CImageNode*>(GetElement(0, &copy)->GetMesh(0)->GetChild(0))->Comment().c_str());

    for (const Procedure& procedure : kProcedures) GetDApiManager()->Unregister(brell::kGeoProcedure.kind, procedure.Name().c_str());
    UnregisterPrintingRenderer();
}
