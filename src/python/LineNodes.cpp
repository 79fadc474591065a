#include "python/StoreRows.h"

#include <brelldata/scan/LineNodes.h>

#include <cstddef>

namespace brell::python {

namespace {

// A numpy record laid out as BEZIER_POINT3D: nine values and a tag.
struct BezierRecord {
    double values[9];
    int32_t tag;
};
static_assert(sizeof(BezierRecord) == sizeof(BEZIER_POINT3D) && offsetof(BezierRecord, tag) == 72);

py::dtype BezierDtype()
{
    return py::dtype::of<BezierRecord>();
}

// A Bezier line store as a list of views of BEZIER_POINT_DTYPE records, one per line.
py::list BezierLines(CLineDataStore<BEZIER_POINT3D>& store)
{
    return LineViews(store, BezierDtype(), {});
}

void AssignBezierLines(CLineDataStore<BEZIER_POINT3D>& store, const py::iterable& lines)
{
    AssignLines(store, lines, BezierDtype(), {}, "Bezier lines");
}

constexpr const char* kBezierLinesDoc =
    "The lines as a list of views of BEZIER_POINT_DTYPE records (values, tag), one view per line; assigning a "
    "sequence of such arrays copies them in.";

}  // namespace

void BindLineNodes(py::module_& module)
{
    PYBIND11_NUMPY_DTYPE(BezierRecord, values, tag);
    module.attr("BEZIER_POINT_DTYPE") = BezierDtype();

    NodeClass<CLinearLineNode, CObjectNode>(module, "LinearLineNode", R"(Polylines of 3-D points (CLinearLineNode).

``lines`` is a list of (N, 3) float64 views, one per line, of the line
store's memory. Assigning lines of the same lengths writes in place; other
lengths, or another number of lines, only while no view of the store lives.)")
        .def_property(
            "lines", [](CLinearLineNode& n) { return LineViews(*n.lines, py::dtype::of<double>(), {3}); },
            [](CLinearLineNode& n, const py::iterable& lines) {
                AssignLines(*n.lines, lines, py::dtype::of<double>(), {3}, "lines");
            },
            "The lines as a list of (N, 3) float64 views; assigning a sequence of (N, 3) arrays copies them in.");

    NodeClass<CBezierLineNode, CObjectNode>(module, "BezierLineNode",
                                            R"(Bezier curves of a scanned element (CBezierLineNode).

``lines`` is a list of views of BEZIER_POINT_DTYPE records, one per line;
what the nine values and the tag mean is the host's.)")
        .def_property(
            "lines", [](CBezierLineNode& n) { return BezierLines(*n.lines); },
            [](CBezierLineNode& n, const py::iterable& lines) { AssignBezierLines(*n.lines, lines); }, kBezierLinesDoc);

    auto chars =
        NodeClass<CCharLineNode, CObjectNode>(module, "CharLineNode",
                                              R"(Two sets of Bezier lines and a block of parameters (CCharLineNode).

Its meaning is the host's. ``lines1`` and ``lines2`` are as
BezierLineNode.lines; the vectors are (x, y, z) tuples. ``transient`` is
not part of the node stream.)")
            .def_property(
                "lines1", [](CCharLineNode& n) { return BezierLines(*n.lines1); },
                [](CCharLineNode& n, const py::iterable& lines) { AssignBezierLines(*n.lines1, lines); },
                kBezierLinesDoc)
            .def_property(
                "lines2", [](CCharLineNode& n) { return BezierLines(*n.lines2); },
                [](CCharLineNode& n, const py::iterable& lines) { AssignBezierLines(*n.lines2, lines); },
                kBezierLinesDoc)
            .def_readwrite("transient", &CCharLineNode::transient, "A value kept and copied, never streamed.");
    for (const auto& [name, vector] :
         {std::pair{"vector1", &CCharLineNode::vector1}, std::pair{"vector2", &CCharLineNode::vector2},
          std::pair{"vector3", &CCharLineNode::vector3}, std::pair{"vector4", &CCharLineNode::vector4},
          std::pair{"vector5", &CCharLineNode::vector5}})
        chars.def_readwrite(name, vector, "A vector of the host's, as (x, y, z).");
    for (const auto& [name, value] :
         {std::pair{"int_param1", &CCharLineNode::intParam1}, std::pair{"int_param2", &CCharLineNode::intParam2}})
        chars.def_readwrite(name, value, "An integer parameter of the host's.");
    for (const auto& [name, value] :
         {std::pair{"real_param1", &CCharLineNode::realParam1}, std::pair{"real_param2", &CCharLineNode::realParam2}})
        chars.def_readwrite(name, value, "A real parameter of the host's.");
}

}  // namespace brell::python
