#include "python/StoreRows.h"

#include <brelldata/geo/GeoBaseNode.h>
#include <brelldata/geo/MeshNodes.h>
#include <brelldata/geo/VertexNodes.h>
#include <brelldata/scan/ModelNodes.h>

namespace brell::python {

namespace {

// The box of a subtree (EvalBBoxForNode), or None when it has no geometry.
py::object BoxOf(CBaseNode* node)
{
    double low[3] = {};
    double high[3] = {};
    if (!EvalBBoxForNode(node, low[0], low[1], low[2], high[0], high[1], high[2])) return py::none();
    return py::make_tuple(py::make_tuple(low[0], low[1], low[2]), py::make_tuple(high[0], high[1], high[2]));
}

// The index rows of line and polygon nodes: an (N, segment) int32 view.
template <class Node>
void DefIndexRows(py::class_<Node, CGeoVertexNode, Held<Node>>& bound, const char* rows)
{
    bound
        .def_property(
            "indices", [](Node& n) { return MatrixView(*n.indices, py::dtype::of<int32_t>(), {}); },
            [](Node& n, const py::handle& indices) {
                AssignMatrix(*n.indices, indices, py::dtype::of<int32_t>(), {}, "indices");
            },
            (std::string("The ") + rows +
             " as an (N, segment) int32 view of vertex indices, one row each; assigning an (N, S) array "
             "copies it in and makes the segment S.")
                .c_str())
        .def_property(
            "segment", [](Node& n) { return n.Segment(); }, [](Node& n, int segment) { n.Segment() = segment; },
            "Vertices per row (Segment()); changing it does not rearrange the rows held.");
}

// The selection and polygon stores of wireframes and polygon reference nodes.
template <class Node, class Base>
void DefPolygonSelection(py::class_<Node, Base, Held<Node>>& bound)
{
    bound
        .def_property(
            "indices", [](Node& n) { return ArrayRowsView<int32_t>(*n.indices); },
            [](Node& n, const py::handle& indices) { AssignArrayRows<int32_t>(*n.indices, indices, "indices"); },
            "The selected rows of polygons, as an int32 view; assigning copies them in.")
        .def_property(
            "polygons", [](Node& n) { return PolygonsView(*n.polygons); },
            [](Node& n, const py::array& polygons) { AssignPolygons(*n.polygons, polygons); },
            "The polygon store as a view of POLYGON_DTYPE records; assigning as MeshNode.polygons.")
        .def_property(
            "segment", [](Node& n) { return n.GetSegment(); }, [](Node& n, int segment) { n.SetSegment(segment); },
            "Corners drawn per polygon (GetSegment, SetSegment).")
        .def_readwrite("color", &Node::color, "The colour as (r, g, b, a).")
        .def(
            "share_polygons",
            [](Node& n, CBaseNode* source) {
                if (auto* mesh = AsKindOf<CMeshNode>(source)) {
                    n.polygons = mesh->polygons;
                } else if (auto* wire = AsKindOf<CGeoWireFrameNode>(source)) {
                    n.polygons = wire->polygons;
                } else if (auto* reference = AsKindOf<CGeoPolygonRefNode>(source)) {
                    n.polygons = reference->polygons;
                } else {
                    throw py::type_error("share_polygons takes a MeshNode, a GeoWireFrameNode or a GeoPolygonRefNode");
                }
            },
            py::arg("source"), "Makes this node hold the source's polygon store itself, shared, not copied.");
}

}  // namespace

void BindGeometry(py::module_& module)
{
    module.def("eval_bbox", &BoxOf, py::arg("node"),
               R"(The box of a subtree's geometry as ((min x, y, z), (max x, y, z)), or None without any
(EvalBBoxForNode: switches and modes decide which children count, hidden nodes count).)");

    NodeClass<CGeoBaseNode, CBaseNode>(module, "GeoBaseNode", "The base of every geometry node (CGeoBaseNode).")
        .def_property(
            "shown", [](CGeoBaseNode& n) { return n.IsShow() != 0; },
            [](CGeoBaseNode& n, bool shown) { n.ShowEnable(shown ? 1 : 0); },
            "Whether the node is drawn (IsShow, ShowEnable); hidden nodes still count in boxes.");

    NodeClass<CGeoVertexNode, CGeoBaseNode>(module, "GeoVertexNode", R"(Geometry made of vertices (CGeoVertexNode).

``vertices`` is an (N, 3) float64 view of the vertex store, which geometry
usually shares with the scan it shows (share_vertices).)")
        .def_property(
            "vertices", [](CGeoVertexNode& n) { return ArrayRowsView<double>(*n.vertices); },
            [](CGeoVertexNode& n, const py::handle& vertices) {
                AssignArrayRows<double>(*n.vertices, vertices, "vertices");
            },
            "The vertices as an (N, 3) float64 view of the store; assigning copies rows in.")
        .def(
            "share_vertices",
            [](CGeoVertexNode& n, CBaseNode* source) {
                if (auto* model = AsKindOf<CModelNode>(source)) {
                    n.vertices = model->vertices;
                } else if (auto* geometry = AsKindOf<CGeoVertexNode>(source)) {
                    n.vertices = geometry->vertices;
                } else {
                    throw py::type_error("share_vertices takes a ModelNode or a GeoVertexNode");
                }
            },
            py::arg("source"), "Makes this node hold the source's vertex store itself, shared, not copied.");

    NodeClass<CGeoPointNode, CGeoVertexNode>(module, "GeoPointNode",
                                             "Vertices drawn as points, selected by index (CGeoPointNode).")
        .def_property(
            "indices", [](CGeoPointNode& n) { return ArrayRowsView<int32_t>(*n.indices); },
            [](CGeoPointNode& n, const py::handle& indices) {
                AssignArrayRows<int32_t>(*n.indices, indices, "indices");
            },
            "The indices of the vertices drawn, as an int32 view; assigning copies them in.")
        .def_readwrite("size", &CGeoPointNode::size, "The points' size in pixels.")
        .def_readwrite("color", &CGeoPointNode::color, "The points' colour as (r, g, b, a).");

    NodeClass<CGeoNormalNode, CGeoPointNode>(module, "GeoNormalNode", R"(Points with one normal each (CGeoNormalNode).

The normal at position i of ``normals`` belongs to the point ``indices[i]``;
``size`` is the normals' drawn length.)")
        .def_property(
            "normals", [](CGeoNormalNode& n) { return ArrayRowsView<double>(*n.normals); },
            [](CGeoNormalNode& n, const py::handle& normals) {
                AssignArrayRows<double>(*n.normals, normals, "normals");
            },
            "The normals as an (N, 3) float64 view of the store; assigning copies rows in.");

    NodeClass<CGeoVertexNormalNode, CGeoVertexNode>(module, "GeoVertexNormalNode",
                                                    "One normal per vertex (CGeoVertexNormalNode).")
        .def_property(
            "normals", [](CGeoVertexNormalNode& n) { return ArrayRowsView<float>(*n.normals); },
            [](CGeoVertexNormalNode& n, const py::handle& normals) {
                AssignArrayRows<float>(*n.normals, normals, "normals");
            },
            "The normals as an (N, 3) float32 view of the store; assigning copies rows in.")
        .def_readwrite("length", &CGeoVertexNormalNode::length, "The normals' drawn length.")
        .def_readwrite("color", &CGeoVertexNormalNode::color, "The normals' colour as (r, g, b, a).");

    auto line = NodeClass<CGeoLineNode, CGeoVertexNode>(
        module, "GeoLineNode", "Lines of `segment` vertices each, one index row per line (CGeoLineNode).");
    DefIndexRows(line, "lines");
    line.def_property(
            "closed", [](CGeoLineNode& n) { return n.closed != 0; },
            [](CGeoLineNode& n, bool closed) { n.closed = closed ? 1 : 0; }, "Whether each line closes on its start.")
        .def_readwrite("line_width", &CGeoLineNode::lineWidth, "The lines' width in pixels.")
        .def_readwrite("color", &CGeoLineNode::color, "The lines' colour as (r, g, b, a).");

    auto polygon = NodeClass<CGeoPolygonNode, CGeoVertexNode>(
        module, "GeoPolygonNode", "Polygons of `segment` corners each, one index row per polygon (CGeoPolygonNode).");
    DefIndexRows(polygon, "polygons");
    polygon.def_readwrite("color", &CGeoPolygonNode::color, "The polygons' colour as (r, g, b, a).");
    NodeClass<CGeoPolyWireNode, CGeoPolygonNode>(module, "GeoPolyWireNode",
                                                 "A polygon node drawn by procedures of its own (CGeoPolyWireNode).");

    auto wire = NodeClass<CGeoWireFrameNode, CGeoVertexNode>(module, "GeoWireFrameNode",
                                                             R"(Selected polygons drawn as lines (CGeoWireFrameNode).

``indices`` selects rows of the ``polygons`` store, whose corners index
``vertices``; both stores are usually a mesh's, shared (share_vertices,
share_polygons).)");
    DefPolygonSelection(wire);
    wire.def_property(
            "closed", [](CGeoWireFrameNode& n) { return n.closed != 0; },
            [](CGeoWireFrameNode& n, bool closed) { n.closed = closed ? 1 : 0; },
            "Whether each polygon's outline closes on its first corner.")
        .def_readwrite("line_width", &CGeoWireFrameNode::lineWidth, "The lines' width in pixels.");

    auto reference = NodeClass<CGeoPolygonRefNode, CGeoVertexNode>(
        module, "GeoPolygonRefNode",
        "Selected polygons drawn as faces, as GeoWireFrameNode selects them (CGeoPolygonRefNode).");
    DefPolygonSelection(reference);
    NodeClass<CGeoPolyWireRefNode, CGeoPolygonRefNode>(
        module, "GeoPolyWireRefNode", "A polygon reference node drawn by procedures of its own (CGeoPolyWireRefNode).");

    NodeClass<CGeoPolyShadeRefNode, CGeoPolygonRefNode>(module, "GeoPolyShadeRefNode",
                                                        R"(A shaded mesh (CGeoPolyShadeRefNode).

One flat normal per selected polygon and one smooth normal per vertex, drawn
smooth or flat; a texture image with per-corner texture coordinates.)")
        .def_property(
            "smooth", [](CGeoPolyShadeRefNode& n) { return n.smooth != 0; },
            [](CGeoPolyShadeRefNode& n, bool on) { n.smooth = on ? 1 : 0; }, "Whether the smooth normals are drawn.")
        .def_property(
            "texture", [](CGeoPolyShadeRefNode& n) { return n.texture != 0; },
            [](CGeoPolyShadeRefNode& n, bool on) { n.texture = on ? 1 : 0; }, "Whether the texture image is drawn.")
        .def_readwrite("param1", &CGeoPolyShadeRefNode::param1, "A free value the library does not interpret.")
        .def_readwrite("param2", &CGeoPolyShadeRefNode::param2, "A free value the library does not interpret.")
        .def_property(
            "flat_normals", [](CGeoPolyShadeRefNode& n) { return ArrayRowsView<float>(*n.flatNormals); },
            [](CGeoPolyShadeRefNode& n, const py::handle& normals) {
                AssignArrayRows<float>(*n.flatNormals, normals, "flat normals");
            },
            "One normal per selected polygon, an (N, 3) float32 view; assigning copies rows in.")
        .def_property(
            "smooth_normals", [](CGeoPolyShadeRefNode& n) { return ArrayRowsView<float>(*n.smoothNormals); },
            [](CGeoPolyShadeRefNode& n, const py::handle& normals) {
                AssignArrayRows<float>(*n.smoothNormals, normals, "smooth normals");
            },
            "One normal per vertex, an (N, 3) float32 view; assigning copies rows in.")
        .def_property(
            "texture_image", [](CGeoPolyShadeRefNode& n) { return PixelsView(*n.textureImage); },
            [](CGeoPolyShadeRefNode& n, const py::handle& pixels) { AssignPixels(*n.textureImage, pixels); },
            "The texture as an (H, W, 4) uint8 view of its image store; assigning copies pixels in.")
        .def(
            "share_texture", [](CGeoPolyShadeRefNode& n, CImageNode& image) { n.textureImage = image.image; },
            py::arg("image"), "Makes the image node's pixel store this node's texture, shared, not copied.")
        .def_property(
            "has_texture_coords", [](CGeoPolyShadeRefNode& n) { return n.hasTextureCoords != 0; },
            [](CGeoPolyShadeRefNode& n, bool on) { n.hasTextureCoords = on ? 1 : 0; },
            "Whether texture_coords are used; without them every corner takes default_texture_coord.")
        .def_property(
            "texture_coords", [](CGeoPolyShadeRefNode& n) { return TexCoordsView(*n.textureCoords); },
            [](CGeoPolyShadeRefNode& n, const py::array& texCoords) { AssignTexCoords(*n.textureCoords, texCoords); },
            "Per-corner texture coordinates, a view of TEX_COORD_DTYPE records parallel to the polygons.")
        .def_readwrite("default_texture_coord", &CGeoPolyShadeRefNode::defaultTextureCoord,
                       "The texture coordinate (u, v) of every corner while has_texture_coords is off.");
}

}  // namespace brell::python
