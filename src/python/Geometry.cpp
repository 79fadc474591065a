#include "python/Bindings.h"

#include <brelldata/geo/GeoBaseNode.h>
#include <brelldata/geo/VertexNodes.h>
#include <brelldata/scan/ModelNodes.h>

#include <pybind11/stl.h>

#include <array>
#include <typeinfo>
#include <utility>

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

}  // namespace

const std::type_info& BoundTypeOf(const CBaseNode& node)
{
    const std::type_info& own = typeid(node);
    if (py::detail::get_type_info(own) != nullptr) return own;
    // The bound classes, each before its bases.
    static const std::pair<const std::string&, const std::type_info&> bound[] = {
        {CMeshNode::TypeId(), typeid(CMeshNode)},           {CModelNode::TypeId(), typeid(CModelNode)},
        {CImageNode::TypeId(), typeid(CImageNode)},         {CElementNode::TypeId(), typeid(CElementNode)},
        {CObjectNode::TypeId(), typeid(CObjectNode)},       {CGeoPointNode::TypeId(), typeid(CGeoPointNode)},
        {CGeoVertexNode::TypeId(), typeid(CGeoVertexNode)}, {CGeoBaseNode::TypeId(), typeid(CGeoBaseNode)},
    };
    for (const auto& [name, type] : bound)
        if (node.IsKindOf(name)) return type;
    return typeid(CBaseNode);
}

void BindGeometry(py::module_& module)
{
    module.def("eval_bbox", &BoxOf, py::arg("node"),
               R"(The box of a subtree's geometry as ((min x, y, z), (max x, y, z)), or None without any
(EvalBBoxForNode: switches and modes decide which children count, hidden nodes count).)");

    py::class_<CGeoBaseNode, CBaseNode, Held<CGeoBaseNode>>(module, "GeoBaseNode",
                                                            "The base of every geometry node (CGeoBaseNode).")
        .def(py::init(&MakeNode<CGeoBaseNode>), py::arg("name") = "", "A new CGeoBaseNode with that name.")
        .def_property(
            "shown", [](CGeoBaseNode& n) { return n.IsShow() != 0; },
            [](CGeoBaseNode& n, bool shown) { n.ShowEnable(shown ? 1 : 0); },
            "Whether the node is drawn (IsShow, ShowEnable); hidden nodes still count in boxes.");

    py::class_<CGeoVertexNode, CGeoBaseNode, Held<CGeoVertexNode>>(module, "GeoVertexNode",
                                                                   R"(Geometry made of vertices (CGeoVertexNode).

``vertices`` is an (N, 3) float64 view of the vertex store, which geometry
usually shares with the scan it shows (share_vertices).)")
        .def_property(
            "vertices", [](CGeoVertexNode& n) { return VertexView(*n.vertices); },
            [](CGeoVertexNode& n, const py::array& vertices) { AssignVertices(*n.vertices, vertices); },
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

    py::class_<CGeoPointNode, CGeoVertexNode, Held<CGeoPointNode>>(
        module, "GeoPointNode", "Vertices drawn as points, selected by index (CGeoPointNode).")
        .def(py::init(&MakeNode<CGeoPointNode>), py::arg("name") = "", "A new CGeoPointNode with that name.")
        .def_property(
            "indices",
            [](CGeoPointNode& n) {
                auto& store = *n.indices;
                return StoreView(&store, store.Buffer(), store.Number(), py::dtype::of<int32_t>(), {});
            },
            [](CGeoPointNode& n, const py::array& indices) { AssignIndices(*n.indices, indices); },
            "The indices of the vertices drawn, as an int32 view; assigning copies them in.")
        .def_readwrite("size", &CGeoPointNode::size, "The points' size in pixels.")
        .def_property(
            "color",
            [](const CGeoPointNode& n) {
                return std::array<int, 4>{n.color.r, n.color.g, n.color.b, n.color.a};
            },
            [](CGeoPointNode& n, const std::array<uint8_t, 4>& c) {
                n.color = RGBA{c[0], c[1], c[2], c[3]};
            },
            "The points' colour as (r, g, b, a).");
}

}  // namespace brell::python
