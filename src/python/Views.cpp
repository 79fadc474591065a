#include "python/Bindings.h"

#include <climits>
#include <map>
#include <unordered_map>

namespace brell::python {

namespace {

// The live numpy views, counted per viewed memory (a store, or a member
// store or record of a node) and per node and attribute name, so that
// operations that would move viewed memory can be refused.
std::unordered_map<const void*, int> memoryViews;
std::unordered_map<const CBaseNode*, std::map<std::string, int>> attributeViews;

// The base object of the numpy views of one piece of memory: it holds one
// reference on the store or node that owns the memory for as long as any of
// them lives.
class ViewBase {
public:
    explicit ViewBase(CRef* store) : store_(store), memory_(store) { ++memoryViews[memory_]; }
    ViewBase(CBaseNode* node, const void* member) : node_(node), memory_(member) { ++memoryViews[memory_]; }
    ViewBase(CBaseNode* node, std::string attribute) : node_(node), attribute_(std::move(attribute))
    {
        ++attributeViews[node][attribute_];
    }
    ViewBase(const ViewBase&) = delete;
    ViewBase& operator=(const ViewBase&) = delete;
    ~ViewBase()
    {
        if (memory_ != nullptr) {
            if (--memoryViews[memory_] == 0) memoryViews.erase(memory_);
            return;
        }
        auto& names = attributeViews[node_.get()];
        if (--names[attribute_] == 0) names.erase(attribute_);
        if (names.empty()) attributeViews.erase(node_.get());
    }

    int RefCount() const { return store_.get() != nullptr ? store_->RefCount() : node_->RefCount(); }
    py::object Attribute() const { return memory_ != nullptr ? py::none() : py::object(py::str(attribute_)); }

private:
    Held<CRef> store_;
    Held<CBaseNode> node_;
    const void* memory_ = nullptr;
    std::string attribute_;
};

std::vector<py::ssize_t> Shape(py::ssize_t count, const std::vector<py::ssize_t>& rowShape)
{
    std::vector<py::ssize_t> shape{count};
    shape.insert(shape.end(), rowShape.begin(), rowShape.end());
    return shape;
}

py::array ViewOver(std::unique_ptr<ViewBase> base, void* data, py::ssize_t count, const py::dtype& dtype,
                   const std::vector<py::ssize_t>& rowShape)
{
    // numpy allocates an array of its own when handed no memory; that only
    // happens for an empty view, which shows nothing of the store.
    if (count == 0 || data == nullptr) return py::array(dtype, Shape(0, rowShape));
    return py::array(dtype, Shape(count, rowShape), data, py::cast(std::move(base)));
}

bool IsContiguous(const py::buffer_info& info)
{
    py::ssize_t expected = info.itemsize;
    for (size_t axis = info.shape.size(); axis-- > 0;) {
        if (info.shape[axis] != 1 && info.strides[axis] != expected) return false;
        expected *= info.shape[axis];
    }
    return true;
}

}  // namespace

py::array StoreView(CRef* store, void* data, py::ssize_t count, const py::dtype& dtype,
                    const std::vector<py::ssize_t>& rowShape)
{
    return ViewOver(std::make_unique<ViewBase>(store), data, count, dtype, rowShape);
}

py::array MemberView(CBaseNode* node, const CRef* store, void* data, py::ssize_t count, const py::dtype& dtype,
                     const std::vector<py::ssize_t>& rowShape)
{
    return ViewOver(std::make_unique<ViewBase>(node, static_cast<const void*>(store)), data, count, dtype, rowShape);
}

py::array RecordView(CBaseNode* node, void* record, const py::dtype& dtype)
{
    return py::array(dtype, std::vector<py::ssize_t>{}, record, py::cast(std::make_unique<ViewBase>(node, record)));
}

py::object AttributeView(CBaseNode* node, const std::string& name, const py::dtype& dtype,
                         const std::vector<py::ssize_t>& rowShape)
{
    int size = 0;
    int type = 0;
    void* bytes = node->QueryAttribute(name.c_str(), &size, &type);
    if (bytes == nullptr) return py::none();
    py::ssize_t rowBytes = dtype.itemsize();
    for (py::ssize_t extent : rowShape) rowBytes *= extent;
    if (rowBytes < 1 || size % rowBytes != 0)
        throw py::value_error("attribute \"" + name + "\" holds " + std::to_string(size) +
                              " bytes, not a whole number of rows of " + std::to_string(rowBytes));
    return ViewOver(std::make_unique<ViewBase>(node, name), bytes, size / rowBytes, dtype, rowShape);
}

void RefuseResizeWhileViewed(const void* memory, const char* what)
{
    if (memoryViews.count(memory) != 0)
        throw py::buffer_error(std::string("cannot change the size of ") + what +
                               " while numpy views of it exist: drop them first");
}

void SetAttributeValue(CBaseNode* node, const std::string& name, const void* data, size_t size, int type)
{
    if (size < 1) throw py::value_error("attribute \"" + name + "\": a value needs at least one byte");
    if (size > INT_MAX) throw py::value_error("attribute \"" + name + "\": a value must stay below 2 GiB");
    const auto viewed = attributeViews.find(node);
    if (viewed != attributeViews.end()) {
        int oldSize = 0;
        int oldType = 0;
        if (node->QueryAttribute(name.c_str(), &oldSize, &oldType) == nullptr)
            throw py::buffer_error("cannot add attribute \"" + name +
                                   "\" while numpy views of this node's attributes exist: drop them first");
        if (oldSize != static_cast<int>(size) && viewed->second.count(name) != 0)
            throw py::buffer_error("cannot change the size of attribute \"" + name +
                                   "\" while numpy views of it exist: drop them first");
    }
    node->SetAttribute(name.c_str(), const_cast<void*>(data), static_cast<int>(size), type);
}

void DeleteAttribute(CBaseNode* node, const std::string& name)
{
    if (node->QueryAttribute(name.c_str(), nullptr, nullptr) == nullptr) throw py::key_error(name);
    if (attributeViews.count(node) != 0)
        throw py::buffer_error("cannot delete attribute \"" + name +
                               "\" while numpy views of this node's attributes exist: drop them first");
    node->DelAttribute(name.c_str());
}

py::buffer_info ContiguousBytes(const py::buffer& data)
{
    py::buffer_info info = data.request();
    if (IsContiguous(info)) return info;
    py::buffer copy = py::module_::import("numpy").attr("ascontiguousarray")(data);
    return copy.request();
}

void BindViews(py::module_& module)
{
    py::class_<ViewBase>(module, "ViewBase", R"(The base object of numpy views of the library's memory.

Every array the module hands out over the library's memory (vertices,
polygons, lines, pixels, normals, attributes, camera and light records) has
one as its ``base``: it holds one reference on the store, or on the node whose
memory the array shows, so the array stays valid when the node is released.
While one lives, the module refuses (BufferError) whatever would move that
memory.)")
        .def_property_readonly("ref_count", &ViewBase::RefCount,
                               "The reference count of the store or node the views keep alive (C++ RefCount()).")
        .def_property_readonly("attribute", &ViewBase::Attribute,
                               "The attribute's name for a view of an attribute; None for a view of a store.");
}

}  // namespace brell::python
