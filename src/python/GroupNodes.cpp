#include "python/StoreRows.h"

#include <brelldata/core/RefNode.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/LightCameraNodes.h>

#include <pybind11/stl.h>

#include <cstddef>

namespace brell::python {

namespace {

// A numpy record laid out as CAMERA_PARAM, its two points as arrays of three.
struct CameraRecord {
    int32_t perspective;
    double left;
    double right;
    double top;
    double bottom;
    double nearClip;
    double farClip;
    double fov;
    double twist;
    double from[3];
    double to[3];
};
static_assert(sizeof(CameraRecord) == sizeof(CAMERA_PARAM) &&
              offsetof(CameraRecord, twist) == offsetof(CAMERA_PARAM, twist) &&
              offsetof(CameraRecord, from) == offsetof(CAMERA_PARAM, from) &&
              offsetof(CameraRecord, to) == offsetof(CAMERA_PARAM, to));

// None for a null node.
py::object NodeOrNone(CBaseNode* node)
{
    return node == nullptr ? py::none() : py::cast(HeldNode(node));
}

// Copies one record of dtype, given as such a record or as a tuple of its
// fields, to record; TypeError for anything else.
void CopyRecord(const py::handle& values, const py::dtype& dtype, void* record, const char* what)
{
    const py::array copy = py::isinstance<py::tuple>(values) ? ContiguousOf(values, dtype) : py::array::ensure(values);
    if (!copy || !copy.dtype().equal(dtype) || copy.size() != 1)
        throw py::type_error(std::string(what) + " takes one record of its dtype, or a tuple of its fields");
    // memmove: the values may be a view of the record itself.
    std::memmove(record, copy.data(), static_cast<size_t>(dtype.itemsize()));
}

py::dtype LightDtype()
{
    return py::dtype::of<LIGHT_PARAM>();
}

py::list LightViews(CGeoLightNode& node)
{
    py::list views;
    for (LIGHT_PARAM& light : node.lights) views.append(RecordView(&node, &light, LightDtype()));
    return views;
}

// Appends a light, a copy of the record or all zero; its view.
py::array AppendLight(CGeoLightNode& node, const py::object& record)
{
    LIGHT_PARAM light{};
    if (!record.is_none()) CopyRecord(record, LightDtype(), &light, "a light");
    node.Append(light);
    return RecordView(&node, &node.lights.back(), LightDtype());
}

void RefuseWhileLightViewed(const LIGHT_PARAM& light)
{
    RefuseResizeWhileViewed(static_cast<const void*>(&light), "the lights");
}

void DeleteLight(CGeoLightNode& node, int index)
{
    LIGHT_PARAM* light = index >= 0 ? node.Light(index) : nullptr;
    if (light == nullptr) throw py::index_error("light index out of range");
    RefuseWhileLightViewed(*light);
    node.Delete(index);
}

void AssignLights(CGeoLightNode& node, const py::handle& records)
{
    const py::array lights = RowsOf(records, LightDtype(), {}, "lights");
    for (const LIGHT_PARAM& light : node.lights) RefuseWhileLightViewed(light);
    node.lights.clear();
    const auto* from = static_cast<const LIGHT_PARAM*>(lights.data());
    for (py::ssize_t i = 0; i < lights.shape(0); ++i) node.Append(from[i]);
}

// A member node of a mode node: property getter and setter.
template <CGeoBaseNode* (CGeoModeNode::*Get)(), int (CGeoModeNode::*Set)(CGeoBaseNode*)>
void DefMember(py::class_<CGeoModeNode, CGeoBaseNode, Held<CGeoModeNode>>& bound, const char* name, const char* doc)
{
    bound.def_property(
        name, [](CGeoModeNode& n) { return NodeOrNone((n.*Get)()); },
        [](CGeoModeNode& n, CGeoBaseNode* member) {
            if (member != nullptr) RefuseCycle(&n, member);
            (n.*Set)(member);
        },
        doc);
}

}  // namespace

void BindGroupNodes(py::module_& module)
{
    PYBIND11_NUMPY_DTYPE(LIGHT_PARAM, type, enabled, ambient, diffuse, options, position);
    PYBIND11_NUMPY_DTYPE(CameraRecord, perspective, left, right, top, bottom, nearClip, farClip, fov, twist, from, to);
    module.attr("LIGHT_DTYPE") = LightDtype();
    module.attr("CAMERA_DTYPE") = py::dtype::of<CameraRecord>();

    NodeClass<CRefNode, CBaseNode>(module, "RefNode", R"(A node that stands for another node (CRefNode).

The target is not counted and not streamed; geo_calc hangs one, referring to
each scan node, over the geometry it makes.)")
        .def_property_readonly(
            "target", [](CRefNode& n) { return NodeOrNone(n.Target()); }, "The node referred to as set, or None.")
        .def_property_readonly(
            "reference", [](CRefNode& n) { return NodeOrNone(n.Reference()); },
            "The node finally meant, through chains of reference nodes (Reference()), or None.");

    NodeClass<CGeoRefNode, CGeoBaseNode>(module, "GeoRefNode",
                                         "Stands for another node and keeps a renderer's cache for it (CGeoRefNode).")
        .def_property_readonly(
            "reference", [](CGeoRefNode& n) { return NodeOrNone(n.Reference()); },
            "The node finally meant, through chains of reference nodes (Reference()), or None.")
        .def_property_readonly(
            "has_cache", [](CGeoRefNode& n) { return n.GetCache() != nullptr; }, "Whether a renderer's cache is held.")
        .def("release_cache", &CGeoRefNode::ReleaseCache,
             "Discards the renderer's cache, after the subtree referred to changed (ReleaseCache).");

    NodeClass<CGeoSwitchNode, CGeoBaseNode>(module, "GeoSwitchNode",
                                            R"(Enables each child position by a flag (CGeoSwitchNode).

Positions without a flag of their own take ``default_flag``; flags follow
positions, not children.)")
        .def_readwrite("flags", &CGeoSwitchNode::flags, "The flags, one per position, as a list (a copy).")
        .def_readwrite("default_flag", &CGeoSwitchNode::defaultFlag, "The flag of positions past the flags.")
        .def(
            "is_child_enabled", [](CGeoSwitchNode& n, int index) { return n.IsChildEnable(index) != 0; },
            py::arg("index"), "Whether the child at the position is drawn and counted (IsChildEnable).")
        .def("enable", &CGeoSwitchNode::Enable, py::arg("index"), py::arg("flag"),
             "Stores the flag at a position and returns the previous one (Enable); past the children, nothing.")
        .def("enable_all", &CGeoSwitchNode::EnableAll, py::arg("flag"), "Gives every child the flag (EnableAll).")
        .def("enable_only", &CGeoSwitchNode::EnableOnly, py::arg("index"), py::arg("flag"),
             "Gives one position the flag and every other its opposite (EnableOnly).")
        .def("insert_flag", &CGeoSwitchNode::InsertFlag, py::arg("index"), py::arg("flag"),
             "Inserts a flag at a position, as a child inserted there needs (InsertFlag).")
        .def("delete_flag", &CGeoSwitchNode::DeleteFlag, py::arg("index"),
             "Removes the flag at a position, as a child removed there needs (DeleteFlag).");

    auto mode = NodeClass<CGeoModeNode, CGeoBaseNode>(
        module, "GeoModeNode",
        R"(Enables a point, line, polygon and normal member by mode bits (CGeoModeNode).

The members are children kept in that order; ``mode`` holds the bits POINT,
WIREFRAME, SHADING and NORMAL, and TEXTURE and SMOOTH, which go to the shaded
meshes under the polygon member. Other children are always enabled.)");
    for (const auto& [name, bit] :
         {std::pair{"POINT", CGeoModeNode::kPoint}, std::pair{"WIREFRAME", CGeoModeNode::kWireframe},
          std::pair{"SHADING", CGeoModeNode::kShading}, std::pair{"TEXTURE", CGeoModeNode::kTexture},
          std::pair{"SMOOTH", CGeoModeNode::kSmooth}, std::pair{"NORMAL", CGeoModeNode::kNormal}})
        mode.attr(name) = static_cast<int>(bit);
    mode.def_property(
        "mode", [](CGeoModeNode& n) { return n.mode; }, [](CGeoModeNode& n, int bits) { n.SetMode(bits); },
        "The mode bits; setting hands TEXTURE and SMOOTH to the polygon member's shaded meshes (SetMode).");
    DefMember<&CGeoModeNode::GetPointNode, &CGeoModeNode::SetPointNode>(
        mode, "point_node", "The point member, or None; setting replaces it among the children (SetPointNode).");
    DefMember<&CGeoModeNode::GetLineNode, &CGeoModeNode::SetLineNode>(
        mode, "line_node", "The line member, or None; setting replaces it among the children (SetLineNode).");
    DefMember<&CGeoModeNode::GetPolygonNode, &CGeoModeNode::SetPolygonNode>(
        mode, "polygon_node", "The polygon member, or None; setting replaces it among the children (SetPolygonNode).");
    DefMember<&CGeoModeNode::GetNormalNode, &CGeoModeNode::SetNormalNode>(
        mode, "normal_node", "The normal member, or None; setting replaces it among the children (SetNormalNode).");

    NodeClass<CGeoLightNode, CGeoBaseNode>(module, "GeoLightNode", R"(An ordered list of lights (CGeoLightNode).

Each light is a LIGHT_DTYPE record (type, enabled, ambient, diffuse,
options, position), seen through a writable view; what the numbers mean is
agreed between the host and its draw procedures. A light whose view lives
cannot be deleted or replaced (BufferError).)")
        .def_property("lights", &LightViews, &AssignLights,
                      "The lights as a list of record views; assigning LIGHT_DTYPE records replaces them all.")
        .def("append_light", &AppendLight, py::arg("record") = py::none(),
             "Appends a copy of a LIGHT_DTYPE record (all zero without one) and returns its view (Append).")
        .def("delete_light", &DeleteLight, py::arg("index"),
             "Removes the light at an index (Delete); IndexError when there is none.");

    NodeClass<CGeoCameraNode, CGeoBaseNode>(module, "GeoCameraNode", R"(The view of a scene (CGeoCameraNode).

``camera`` is a writable view of its CAMERA_DTYPE record: perspective (0 for
orthographic), left, right, top, bottom, nearClip, farClip, fov, twist, and
the points from and to.)")
        .def_property(
            "camera", [](CGeoCameraNode& n) { return RecordView(&n, &n.camera, py::dtype::of<CameraRecord>()); },
            [](CGeoCameraNode& n, const py::handle& record) {
                CopyRecord(record, py::dtype::of<CameraRecord>(), &n.camera, "the camera");
            },
            "The camera record as a writable view; assigning copies a CAMERA_DTYPE record in.");
}

}  // namespace brell::python
