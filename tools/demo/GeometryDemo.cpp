#include "DemoSections.h"
#include "PrintingRenderer.h"

#include <brelldata/core/Tree.h>
#include <brelldata/data/Normal.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/LightCameraNodes.h>
#include <brelldata/geo/MeshNodes.h>
#include <brelldata/geo/OverlayNodes.h>

#include <cstdio>

namespace {

template <class Node>
Node* Named(const char* name)
{
    auto* node = new Node;
    node->SetName(name);
    return node;
}

// A 3x3 grid of heights: vertex (col, row) at index row * 3 + col.
void FillGrid(CGeoVertexNode& node)
{
    const double heights[9] = {0, 1, 0, 1, 2, 1, 0, 1, 0};
    node.AppendVertex(9);
    for (int i = 0; i < 9; ++i) node.GetVertex(i) = {double(i % 3) * 10, double(i / 3) * 10, heights[i]};
}

// The grid's eight triangles, all selected, with flat normals.
void FillSurface(CGeoPolyShadeRefNode& surface)
{
    for (int row = 0; row < 2; ++row) {
        for (int col = 0; col < 2; ++col) {
            const int corner = row * 3 + col;
            surface.polygons->rows.push_back({{corner, corner + 1, corner + 4, 0}, 3});
            surface.polygons->rows.push_back({{corner, corner + 4, corner + 3, 0}, 3});
        }
    }
    const int count = surface.polygons->Number();
    surface.indices->Append(count);
    surface.flatNormals->Append(count);
    for (int i = 0; i < count; ++i) {
        surface.indices->Element(i) = i;
        const CVector_3<double> n = CalcNormal(surface.vertices, surface.polygons->rows[i].items, 3);
        surface.FlatNormal(i) = {float(n.x), float(n.y), float(n.z)};
    }
}

void Draw(CTree& scene)
{
    PrintContext context;
    std::printf("DrawTree gives %d\n", DrawTree(scene.Root(), kPrintRenderer, &context));
}

}  // namespace

void ShowGeometry()
{
    RegisterPrintingRenderer();

    CTree scene(Named<CGeoBaseNode>("scene"));
    auto* lights = Named<CGeoLightNode>("lights");
    lights->Append(LIGHT_PARAM{});
    scene.Root()->AppendChild(lights);

    auto* layers = Named<CGeoSwitchNode>("layers");
    scene.Root()->AppendChild(layers);
    auto* scan = Named<CGeoModeNode>("scan");
    layers->AppendChild(scan);
    auto* markers = Named<CGeoPointNode>("markers");
    layers->AppendChild(markers);
    layers->Enable(1, 0);

    auto* points = Named<CGeoPointNode>("points");
    FillGrid(*points);
    points->Append(9);
    for (int i = 0; i < 9; ++i) points->Index(i) = i;
    auto* outline = Named<CGeoLineNode>("outline");
    outline->vertices = points->vertices;
    outline->closed = 1;
    outline->Segment() = 4;
    const int rim[4] = {0, 2, 8, 6};
    for (int j = 0; j < 4; ++j) outline->Index(0, j) = rim[j];
    outline->Append(1);
    auto* surface = Named<CGeoPolyShadeRefNode>("surface");
    surface->vertices = points->vertices;
    FillSurface(*surface);
    scan->SetPointNode(points);
    scan->SetLineNode(outline);
    scan->SetPolygonNode(surface);
    std::printf("the points, the outline and the surface share one vertex store (count %d)\n",
                points->vertices->RefCount());

    scan->SetMode(CGeoModeNode::kPoint | CGeoModeNode::kWireframe);
    std::printf("mode %s, markers switched off (%s):\n", scan->Comment().c_str(), layers->Comment().c_str());
    Draw(scene);
    scan->SetMode(CGeoModeNode::kShading | CGeoModeNode::kSmooth);
    std::printf("mode %s:\n", scan->Comment().c_str());
    Draw(scene);

    double box[6];
    if (EvalBBox(&scene, box[0], box[1], box[2], box[3], box[4], box[5]) != 0) {
        std::printf("bounding box (%g, %g, %g) - (%g, %g, %g)\n", box[0], box[1], box[2], box[3], box[4], box[5]);
        double x, y, z;
        EvalViewPoint(box[0], box[1], box[2], box[3], box[4], box[5], 0, 0, -1, 45, x, y, z);
        std::printf("seen whole looking down -z with a 45 degree view from (%.3f, %.3f, %.3f)\n", x, y, z);
    }

    UnregisterPrintingRenderer();
}

void ShowOverlays()
{
    RegisterPrintingRenderer();

    CTree layer(Named<CGeoBaseNode>("overlay"));
    CBaseNode* root = layer.Root();
    auto add = [root](CGeoBaseNode* node, const char* name) {
        node->SetName(name);
        root->AppendChild(node);
    };
    const POINT marks[] = {{10, 10}, {20, 15}, {30, 10}};
    add(new CGeoPoint2DNode(marks, 3, 0x00FF00), "marks");
    auto* outline = new CGeoLine2DNode(marks, 3, 0xFFFF00, 1, 2);
    add(outline, "outline");
    add(new CGeoCrossLine2DNode(POINT{320, 240}, 0xFF0000, 8, 1), "centre");
    const RECT frame{5, 5, 635, 475};
    add(new CGeoRectangle2DNode(&frame, 1, 0xFFFFFF, 0), "frame");
    CDC dc;
    dc.BeginPath();
    dc.MoveTo(100, 100);
    dc.LineTo(200, 100);
    dc.LineTo(150, 180);
    dc.CloseFigure();
    dc.EndPath();
    auto* region = new CGeoRegion2DNode(&dc, 0x0000FF, 0, 0x000080);
    add(region, "selection");
    const BEZIER_POINT2D controls[4] = {};
    add(new CGeoBezier2DNode(controls, 4, 0, 1, 4), "curve");

    std::printf("the closed polyline holds %d points; the region from a triangular path has %d rectangles\n",
                outline->points.Number(), GetRegionRects(region->region, nullptr));
    Draw(layer);
    double box[6];
    std::printf("2-D figures have no bounding box: EvalBBox gives %d\n",
                EvalBBox(&layer, box[0], box[1], box[2], box[3], box[4], box[5]));

    UnregisterPrintingRenderer();
}
