#include "python/StoreRows.h"

#include <brelldata/geo/OverlayNodes.h>

#include <pybind11/stl.h>

#include <vector>

namespace brell::python {

namespace {

// An overlay's points, a store inside the node: an (N, 2) int32 view.
template <class Node>
void DefPoints(py::class_<Node, CGeoBaseNode, Held<Node>>& bound)
{
    bound.def_property(
        "points",
        [](Node& n) {
            return MemberView(&n, &n.points, n.points.Buffer(), n.points.Number(), py::dtype::of<int32_t>(), {2});
        },
        [](Node& n, const py::handle& points) { AssignArrayRows<int32_t>(n.points, points, "points"); },
        "The points as an (N, 2) int32 view of (x, y) window pixels; assigning copies rows in.");
}

// The region's rectangles, copied out of it as (N, 4) int32 rows (left, top, right, bottom).
py::array RegionRectangles(const CGeoRegion2DNode& node)
{
    const RECT* rects = nullptr;
    const int count = GetRegionRects(node.region, &rects);
    py::array_t<int32_t> copy({py::ssize_t{count}, py::ssize_t{4}});
    if (count > 0) std::memcpy(copy.mutable_data(), rects, static_cast<size_t>(count) * sizeof(RECT));
    return copy;
}

// Makes the region the union of (N, 4) rectangle rows.
void SetRegionRectangles(CGeoRegion2DNode& node, const py::handle& values)
{
    const py::array rows = RowsOf(values, py::dtype::of<int32_t>(), {4}, "rectangles");
    const auto* rects = static_cast<const RECT*>(rows.data());
    CRgn united;
    united.CreateRectRgn(0, 0, 0, 0);
    for (py::ssize_t i = 0; i < rows.shape(0); ++i) {
        CRgn one;
        one.CreateRectRgn(rects[i].left, rects[i].top, rects[i].right, rects[i].bottom);
        united.CombineRgn(&united, &one, RGN_OR);
    }
    node.SetRegion(united);
}

}  // namespace

void BindOverlays(py::module_& module)
{
    auto points = NodeClass<CGeoPoint2DNode, CGeoBaseNode>(
        module, "GeoPoint2DNode", "Points in window pixels, drawn over the 3-D picture (CGeoPoint2DNode).");
    DefPoints(points);
    points.def_readwrite("color", &CGeoPoint2DNode::color, "The colour, red in the low byte.");

    auto line = NodeClass<CGeoLine2DNode, CGeoBaseNode>(module, "GeoLine2DNode",
                                                        "A polyline in window pixels (CGeoLine2DNode).");
    DefPoints(line);
    line.def_readwrite("color", &CGeoLine2DNode::color, "The colour, red in the low byte.")
        .def_readwrite("closed", &CGeoLine2DNode::closed, "Non-zero when the line was made closed.")
        .def_readwrite("line_value", &CGeoLine2DNode::lineValue, "The line's width in pixels.");

    NodeClass<CGeoCrossLine2DNode, CGeoBaseNode>(module, "GeoCrossLine2DNode",
                                                 "A cross at a window position (CGeoCrossLine2DNode).")
        .def_readwrite("position", &CGeoCrossLine2DNode::position, "The centre as (x, y).")
        .def_readwrite("color", &CGeoCrossLine2DNode::color, "The colour, red in the low byte.")
        .def_readwrite("cross_value1", &CGeoCrossLine2DNode::crossValue1, "The arms' length in pixels.")
        .def_readwrite("cross_value2", &CGeoCrossLine2DNode::crossValue2, "The arms' width in pixels.");

    NodeClass<CGeoRectangle2DNode, CGeoBaseNode>(module, "GeoRectangle2DNode",
                                                 "A rectangle in window pixels (CGeoRectangle2DNode).")
        .def_readwrite("rectangle", &CGeoRectangle2DNode::rectangle, "The rectangle as (left, top, right, bottom).")
        .def_readwrite("color", &CGeoRectangle2DNode::color, "The colour, red in the low byte.")
        .def_readwrite("rect_value1", &CGeoRectangle2DNode::rectValue1, "Non-zero fills the rectangle.")
        .def_readwrite("rect_value2", &CGeoRectangle2DNode::rectValue2, "The outline's width when not filled.");

    NodeClass<CGeoRegion2DNode, CGeoBaseNode>(module, "GeoRegion2DNode",
                                              "A region of window pixels, filled (CGeoRegion2DNode).")
        .def_property("rectangles", &RegionRectangles, &SetRegionRectangles,
                      "The region's rectangles in band order, an (N, 4) int32 copy of (left, top, right, bottom) "
                      "rows; assigning such rows makes the region their union.")
        .def_readwrite("color", &CGeoRegion2DNode::color, "The colour, red in the low byte.")
        .def_readwrite("region_value", &CGeoRegion2DNode::regionValue, "A value for the draw procedures.")
        .def_readwrite("color2", &CGeoRegion2DNode::color2, "The second colour, red in the low byte.")
        .def_readwrite("offset", &CGeoRegion2DNode::offset, "The region is drawn moved by (x, y).");

    NodeClass<CGeoBezier2DNode, CGeoBaseNode>(module, "GeoBezier2DNode",
                                              R"(A Bezier chain in window pixels (CGeoBezier2DNode).

Each control point is seven int32 words: an anchor, the handle into it and
the handle out of it (words 0-1, 2-3, 4-5), and one more.)")
        .def_property(
            "ctrl_points",
            [](CGeoBezier2DNode& n) {
                return MemberView(&n, &n.ctrlPoints, n.ctrlPoints.Buffer(), n.ctrlPoints.Number(),
                                  py::dtype::of<int32_t>(), {7});
            },
            [](CGeoBezier2DNode& n, const py::handle& points) {
                AssignArrayRows<int32_t>(n.ctrlPoints, points, "control points");
            },
            "The control points as an (N, 7) int32 view; assigning copies rows in.")
        .def_property(
            "colors", [](CGeoBezier2DNode& n) { return py::make_tuple(n.color1, n.color2, n.color3); },
            [](CGeoBezier2DNode& n, const std::array<uint32_t, 3>& colors) {
                n.SetColor(colors[0], colors[1], colors[2]);
            },
            "The three colours, red in the low byte (SetColor).")
        .def_readwrite("bezier_value1", &CGeoBezier2DNode::bezierValue1, "A value for the draw procedures.")
        .def_readwrite("bezier_value2", &CGeoBezier2DNode::bezierValue2, "A value for the draw procedures.")
        .def_readwrite("bezier_value3", &CGeoBezier2DNode::bezierValue3, "A value for the draw procedures.");
}

}  // namespace brell::python
