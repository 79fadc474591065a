#include "python/Bindings.h"

#include <brelldata/core/Block.h>
#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/core/Walk.h>
#include <brelldata/io/ScanScene.h>

#include <pybind11/stl.h>

#include <algorithm>
#include <climits>
#include <optional>
#include <unordered_set>
#include <utility>

namespace brell::python {

namespace {

// The children of a node as a Python sequence; it keeps the node alive.
struct Children {
    HeldNode parent;

    // A Python index (negative counts from the end) as a child index; IndexError outside.
    unsigned int At(py::ssize_t index) const
    {
        const py::ssize_t count = parent->GetChildNum();
        if (index < 0) index += count;
        if (index < 0 || index >= count) throw py::index_error("child index out of range");
        return static_cast<unsigned int>(index);
    }
};

// Depth-first walk of a subtree, a node before its children, yielding the
// nodes that pass the filter. It holds a reference on every node on its path,
// so a tree changed while it walks is never left dangling: removed nodes are
// simply not reached, or reached once more.
class NodeWalk {
public:
    struct Filter {
        std::optional<std::string> name;
        std::optional<std::string> typeName;
        std::optional<std::string> kind;

        bool Passes(CBaseNode* node) const
        {
            return (!name || node->Name() == *name) && (!typeName || node->Type() == *typeName) &&
                   (!kind || node->IsKindOf(*kind));
        }
    };

    NodeWalk(CBaseNode* top, Filter filter) : top_(top), filter_(std::move(filter)) {}

    // The next node that passes, or null at the end.
    CBaseNode* Next()
    {
        for (CBaseNode* node = Step(); node != nullptr; node = Step())
            if (filter_.Passes(node)) return node;
        return nullptr;
    }

private:
    CBaseNode* Step()
    {
        if (top_.get() != nullptr) {
            path_.emplace_back(std::move(top_), 0);
            return path_.back().first.get();
        }
        while (!path_.empty()) {
            auto& [node, next] = path_.back();
            if (CBaseNode* child = node->GetChild(next++)) {
                path_.emplace_back(HeldNode(child), 0);
                return child;
            }
            path_.pop_back();
        }
        return nullptr;
    }

    HeldNode top_;
    Filter filter_;
    std::vector<std::pair<HeldNode, unsigned int>> path_;
};

// The walk's next node for Python's iterator protocol.
HeldNode NextNode(NodeWalk& walk)
{
    CBaseNode* node = walk.Next();
    if (node == nullptr) throw py::stop_iteration();
    return HeldNode(node);
}

NodeWalk::Filter MakeFilter(std::optional<std::string> name, std::optional<std::string> typeName,
                            std::optional<std::string> kind)
{
    return NodeWalk::Filter{std::move(name), std::move(typeName), std::move(kind)};
}

py::bytes StreamOf(CBaseNode* node)
{
    const int size = SizeOfByte(node);
    if (size < 1) throw py::value_error("the subtree is too large for a node stream (2 GiB)");
    py::bytes block(nullptr, static_cast<size_t>(size));
    WriteNode(PyBytes_AS_STRING(block.ptr()), node);
    return block;
}

// Reads a node stream from Python's bytes, which nothing vouches for: every
// block reader is bounded by them, as scene files are read.
HeldNode NodeOfStream(const py::buffer& data)
{
    const py::buffer_info info = ContiguousBytes(data);
    const auto* begin = static_cast<const unsigned char*>(info.ptr);
    const size_t size = static_cast<size_t>(info.size * info.itemsize);
    BlockBounds bounds;
    bounds.begin = begin;
    bounds.end = begin + size;
    struct BoundedReads {
        explicit BoundedReads(BlockBounds& bounds) { ActiveBlockBounds() = &bounds; }
        ~BoundedReads() { ActiveBlockBounds() = nullptr; }
    };
    CBaseNode* node = nullptr;
    {
        BoundedReads bounded(bounds);
        node = ReadNode(const_cast<unsigned char*>(begin));
    }
    HeldNode held(node);
    if (node == nullptr) {
        const std::string reason = bounds.Failed() ? bounds.failure : "a record names an unregistered type";
        throw py::value_error("not a node stream: byte " + std::to_string(bounds.failureOffset) + ": " + reason);
    }
    if (bounds.streamEnd != bounds.end)
        throw py::value_error("not a node stream: byte " + std::to_string(bounds.streamEnd - begin) +
                              ": bytes follow the end of the tree");
    return held;
}

HeldNode CopyOf(CBaseNode* node)
{
    HeldNode copy(CopyTree(node));
    if (copy.get() == nullptr) throw py::value_error("the node's type is not registered");
    return copy;
}

py::object AttributeValue(CBaseNode* node, const std::string& name)
{
    int size = 0;
    int type = 0;
    const void* bytes = node->QueryAttribute(name.c_str(), &size, &type);
    if (bytes == nullptr) throw py::key_error(name);
    int32_t int32 = 0;
    float single = 0;
    double value = 0;
    switch (type) {
        case VALUE_INT:
        case VALUE_BOOL:
            std::memcpy(&int32, bytes, sizeof int32);
            return type == VALUE_INT ? py::object(py::int_(int32)) : py::object(py::bool_(int32 != 0));
        case VALUE_FLOAT:
            std::memcpy(&single, bytes, sizeof single);
            return py::float_(single);
        case VALUE_DOUBLE:
            std::memcpy(&value, bytes, sizeof value);
            return py::float_(value);
        default:
            return py::bytes(static_cast<const char*>(bytes), static_cast<size_t>(size));
    }
}

void SetAttributeFromPython(CBaseNode* node, const std::string& name, const py::handle& value)
{
    if (py::isinstance<py::bool_>(value)) {
        const int32_t flag = value.cast<bool>() ? 1 : 0;
        SetAttributeValue(node, name, &flag, sizeof flag, VALUE_BOOL);
    } else if (py::isinstance<py::int_>(value)) {
        const long long wide = value.cast<long long>();
        if (wide < INT32_MIN || wide > INT32_MAX)
            throw py::value_error("attribute \"" + name + "\": an int attribute holds 32 bits");
        const auto int32 = static_cast<int32_t>(wide);
        SetAttributeValue(node, name, &int32, sizeof int32, VALUE_INT);
    } else if (py::isinstance<py::float_>(value)) {
        const double number = value.cast<double>();
        SetAttributeValue(node, name, &number, sizeof number, VALUE_DOUBLE);
    } else if (py::isinstance<py::str>(value)) {
        const std::string text = value.cast<std::string>();
        SetAttributeValue(node, name, text.c_str(), text.size() + 1, VALUE_STRUCT);
    } else if (py::isinstance<py::buffer>(value)) {
        const py::buffer_info info = ContiguousBytes(py::reinterpret_borrow<py::buffer>(value));
        SetAttributeValue(node, name, info.ptr, static_cast<size_t>(info.size * info.itemsize), VALUE_STRUCT);
    } else {
        throw py::type_error("attribute \"" + name +
                             "\": values are bool, int, float, str, bytes or arrays (any buffer)");
    }
}

std::vector<std::string> AttributeNames(CBaseNode* node)
{
    std::vector<std::string> names;
    for (int i = 0; i < node->AttributeNumber(); ++i) names.emplace_back(node->AttributeName(i));
    return names;
}

// The attributes of a node as a Python mapping; it keeps the node alive.
struct Attributes {
    HeldNode node;
};

const char* TypeName(int type)
{
    switch (type) {
        case VALUE_INT:
            return "int";
        case VALUE_FLOAT:
            return "float";
        case VALUE_BOOL:
            return "bool";
        case VALUE_DOUBLE:
            return "double";
        default:
            return "struct";
    }
}

// The bound node classes in the order recorded, each after its bases.
std::vector<std::pair<const std::string*, const std::type_info*>>& BoundClasses()
{
    static std::vector<std::pair<const std::string*, const std::type_info*>> classes;
    return classes;
}

}  // namespace

void RecordBoundClass(const std::string& typeName, const std::type_info& type)
{
    BoundClasses().emplace_back(&typeName, &type);
}

const std::type_info& BoundTypeOf(const CBaseNode& node)
{
    // Every node handed to Python asks: the C++ types bound themselves are
    // kept, found by the type's address rather than by hashing its name.
    static std::unordered_set<const std::type_info*> boundTypes;
    const std::type_info& own = typeid(node);
    if (boundTypes.count(&own) != 0) return own;
    if (py::detail::get_type_info(own) != nullptr) {
        boundTypes.insert(&own);
        return own;
    }
    const auto& classes = BoundClasses();
    const auto nearest = std::find_if(classes.rbegin(), classes.rend(),
                                      [&](const auto& entry) { return node.IsKindOf(*entry.first) != 0; });
    return nearest != classes.rend() ? *nearest->second : typeid(CBaseNode);
}

void RefuseCycle(CBaseNode* parent, CBaseNode* child)
{
    std::vector<CBaseNode*> pending{child};
    while (!pending.empty()) {
        CBaseNode* node = pending.back();
        pending.pop_back();
        if (node == parent) throw py::value_error("a node cannot become a child of its own subtree");
        if (node == nullptr) continue;
        for (unsigned int i = 0; i < node->GetChildNum(); ++i) pending.push_back(node->GetChild(i));
    }
}

void BindNodes(py::module_& module)
{
    py::class_<CBaseNode, HeldNode> node(module, "Node",
                                         R"(A node of a tree (C++ CBaseNode and every class derived from it).

A Python object holds exactly one reference on its node for as long as it
lives (``ref_count`` shows the count), so a node Python still holds survives
its parent. A node comes to Python as its class's own Python class
(``ModelNode``, ``MeshNode``, ``GeoPointNode``, ...) or, for a class without
one, as its nearest base class's (at least ``Node``); ``type_name`` gives its
C++ type. Names follow Python's snake_case:
``is_kind_of`` is C++ IsKindOf, ``children.append`` AppendChild, and so on.)");

    py::class_<Children>(module, "Children", R"(The children of a node, as a mutable sequence.

Indexing and iteration give the nodes in child order (negative indices count
from the end); ``append``, ``insert``, ``remove`` and ``pop`` change them. The
parent holds one reference on each child, whatever Python holds.)")
        .def(
            "__len__", [](const Children& c) { return c.parent->GetChildNum(); },
            "The number of children (GetChildNum).")
        .def(
            "__getitem__", [](const Children& c, py::ssize_t i) { return HeldNode(c.parent->GetChild(c.At(i))); },
            py::arg("index"), "The child at an index (GetChild); IndexError outside.")
        .def(
            "__iter__",
            [](const Children& c) {
                std::vector<HeldNode> nodes;
                for (unsigned int i = 0; i < c.parent->GetChildNum(); ++i) nodes.emplace_back(c.parent->GetChild(i));
                return py::iter(py::cast(nodes));
            },
            "The children in order, as they are when iteration starts.")
        .def(
            "__contains__", [](const Children& c, CBaseNode* child) { return c.parent->IsChild(child) != 0; },
            py::arg("node"), "Whether a node is among the children (IsChild).")
        .def(
            "index",
            [](const Children& c, CBaseNode* child) {
                const int index = c.parent->ChildIndex(child);
                if (index < 0) throw py::value_error("the node is not a child");
                return index;
            },
            py::arg("node"), "The index of the first entry that is the node (ChildIndex); ValueError when none.")
        .def(
            "append",
            [](const Children& c, CBaseNode* child) {
                RefuseCycle(c.parent.get(), child);
                c.parent->AppendChild(child);
            },
            py::arg("node"),
            "Appends a child; the parent takes a reference of its own (AppendChild). ValueError for a node "
            "whose subtree holds the parent.")
        .def(
            "insert",
            [](const Children& c, py::ssize_t index, CBaseNode* child) {
                const py::ssize_t count = c.parent->GetChildNum();
                if (index < 0) index = std::max<py::ssize_t>(index + count, 0);
                RefuseCycle(c.parent.get(), child);
                c.parent->InsertChild(static_cast<unsigned int>(std::min(index, count)), child);
            },
            py::arg("index"), py::arg("node"), "Inserts a child before an index, as list.insert does (InsertChild).")
        .def(
            "remove",
            [](const Children& c, CBaseNode* child) {
                if (!c.parent->RemoveChild(child, 1)) throw py::value_error("the node is not a child");
            },
            py::arg("node"),
            "Removes the first entry that is the node, dropping the parent's reference; ValueError when none.")
        .def(
            "pop",
            [](const Children& c, py::ssize_t index) {
                const unsigned int at = c.At(index);
                HeldNode child(c.parent->GetChild(at));
                c.parent->RemoveChild(at, 1);
                return child;
            },
            py::arg("index") = -1, "Removes the child at an index (the last by default) and returns it.");

    py::class_<Attributes>(module, "Attributes", R"(The attributes of a node, as a mapping from names to values.

Reading gives an int (C++ type int), bool, float (float and double) or bytes
(struct and string values, which the library keeps alike). Assigning a bool,
int (32 bits), float (stored as double), str (stored with its zero byte),
bytes or any array stores that type; arrays are copied once. Names iterate
in the library's name order; ``del attributes[name]`` removes one.)")
        .def(
            "__len__", [](const Attributes& a) { return a.node->AttributeNumber(); }, "The number of attributes.")
        .def(
            "__iter__", [](const Attributes& a) { return py::iter(py::cast(AttributeNames(a.node.get()))); },
            "The names in name order.")
        .def(
            "keys", [](const Attributes& a) { return AttributeNames(a.node.get()); }, "The names in name order.")
        .def(
            "items",
            [](const Attributes& a) {
                py::list items;
                for (const std::string& name : AttributeNames(a.node.get()))
                    items.append(py::make_tuple(name, AttributeValue(a.node.get(), name)));
                return items;
            },
            "(name, value) pairs in name order.")
        .def(
            "__contains__",
            [](const Attributes& a, const std::string& name) {
                return a.node->QueryAttribute(name.c_str(), nullptr, nullptr) != nullptr;
            },
            py::arg("name"), "Whether the node has an attribute of that name.")
        .def(
            "__getitem__",
            [](const Attributes& a, const std::string& name) { return AttributeValue(a.node.get(), name); },
            py::arg("name"), "The value of an attribute; KeyError when there is none.")
        .def(
            "__setitem__",
            [](const Attributes& a, const std::string& name, const py::handle& value) {
                SetAttributeFromPython(a.node.get(), name, value);
            },
            py::arg("name"), py::arg("value"), "Sets an attribute; its type follows the value's (see the class).")
        .def(
            "__delitem__", [](const Attributes& a, const std::string& name) { DeleteAttribute(a.node.get(), name); },
            py::arg("name"),
            "Removes an attribute (DelAttribute); KeyError when there is none, BufferError while numpy views of "
            "this node's attributes live.")
        .def(
            "type_of",
            [](const Attributes& a, const std::string& name) -> py::object {
                int size = 0;
                int type = 0;
                if (a.node->QueryAttribute(name.c_str(), &size, &type) == nullptr) return py::none();
                return py::str(TypeName(type));
            },
            py::arg("name"),
            "\"int\", \"float\", \"bool\", \"double\" or \"struct\"; None when there is no such attribute.")
        .def(
            "set_float",
            [](const Attributes& a, const std::string& name, float value) {
                SetAttributeValue(a.node.get(), name, &value, sizeof value, VALUE_FLOAT);
            },
            py::arg("name"), py::arg("value"), "Sets a single-precision float attribute (SetAttributeFloat).")
        .def(
            "get_string",
            [](const Attributes& a, const std::string& name) {
                int size = 0;
                const char* text = a.node->QueryAttributeString(name.c_str(), &size);
                if (text == nullptr) throw py::key_error(name);
                return std::string(text, strnlen(text, static_cast<size_t>(size)));
            },
            py::arg("name"), "A string attribute up to its zero byte (QueryAttributeString); KeyError when none.")
        .def(
            "array",
            [](const Attributes& a, const std::string& name, const py::object& dtype, std::vector<py::ssize_t> shape) {
                py::object view = AttributeView(a.node.get(), name, py::dtype::from_args(dtype), shape);
                if (view.is_none()) throw py::key_error(name);
                return view;
            },
            py::arg("name"), py::arg("dtype"), py::arg("row_shape") = std::vector<py::ssize_t>{},
            R"(A numpy view of an attribute's bytes as rows of dtype items shaped row_shape.

No copy: writing into it changes the attribute. The view keeps the node alive;
while it lives, the attribute cannot change size and no attribute can be added
to the node (BufferError). KeyError when there is no such attribute.)");

    node.def(py::init(&MakeNode<CBaseNode>), py::arg("name") = "", "A new CBaseNode with that name.")
        .def_property_readonly(
            "type_name", [](const CBaseNode& n) { return n.Type(); }, "The node's C++ type name (Type()).")
        .def_property(
            "name", [](const CBaseNode& n) { return n.Name(); },
            [](CBaseNode& n, const std::string& name) { n.Name() = name; }, "The node's name.")
        .def_property_readonly("ref_count", &CBaseNode::RefCount,
                               "The node's reference count (RefCount()): one for this Python object, one per parent.")
        .def_property_readonly("comment", &CBaseNode::Comment, "The node's own one-line description (Comment()).")
        .def_property_readonly(
            "children", [](CBaseNode* n) { return Children{HeldNode(n)}; },
            "The children, as a mutable sequence (see Children).")
        .def_property_readonly(
            "attributes", [](CBaseNode* n) { return Attributes{HeldNode(n)}; },
            "The attributes, as a mapping (see Attributes).")
        .def(
            "is_kind_of", [](const CBaseNode& n, const std::string& type) { return n.IsKindOf(type) != 0; },
            py::arg("type_name"), "Whether the node's class is that type or derives from it (IsKindOf).")
        .def(
            "walk", [](CBaseNode* n) { return NodeWalk(n, {}); },
            "An iterator over the subtree, depth first, a node before its children, this node first.")
        .def(
            "find_all",
            [](CBaseNode* n, std::optional<std::string> name, std::optional<std::string> typeName,
               std::optional<std::string> kind) { return NodeWalk(n, MakeFilter(name, typeName, kind)); },
            py::arg("name") = py::none(), py::arg("type_name") = py::none(), py::arg("kind") = py::none(),
            R"(An iterator over the nodes of the subtree, in walk order, that match every criterion given:
the exact name, the exact type name (as SearchNode's IsSameType) and a kind (is_kind_of).)")
        .def(
            "find",
            [](CBaseNode* n, std::optional<std::string> name, std::optional<std::string> typeName,
               std::optional<std::string> kind) -> py::object {
                NodeWalk walk(n, MakeFilter(name, typeName, kind));
                CBaseNode* found = walk.Next();
                return found == nullptr ? py::none() : py::cast(HeldNode(found));
            },
            py::arg("name") = py::none(), py::arg("type_name") = py::none(), py::arg("kind") = py::none(),
            "The first node find_all would give, or None.")
        .def("copy", &CopyOf,
             "A deep copy of the subtree (CopyTree): scan stores copied or shared as each class's Copy says.")
        .def(
            "__deepcopy__", [](CBaseNode* n, const py::dict&) { return CopyOf(n); }, py::arg("memo"),
            "copy.deepcopy(node) is node.copy().")
        .def(
            "listing", [](CBaseNode* n) { return brell::io::SceneListing(n); },
            "The subtree as text, one line per node indented two spaces a level: type, quoted name, comment.")
        .def("to_bytes", &StreamOf, "The subtree as a node stream (WriteNode), the library's own flat form.")
        .def(
            "__eq__", [](const CBaseNode& a, const CBaseNode& b) { return &a == &b; }, py::is_operator(),
            py::arg("other"), "Whether both objects are the same node.")
        .def(
            "__hash__", [](const CBaseNode& n) { return std::hash<const void*>()(&n); },
            "Hashes the node's identity, so nodes can be dictionary keys.")
        .def(
            "__repr__",
            [](CBaseNode& n) { return "<brelldata " + n.Type() + " \"" + n.Name() + "\" " + n.Comment() + ">"; },
            "Type, name and comment.");

    py::class_<NodeWalk>(module, "NodeIterator",
                         "An iterator over nodes of a subtree, from Node.walk and Node.find_all.")
        .def(
            "__iter__", [](NodeWalk& walk) -> NodeWalk& { return walk; }, "The iterator itself.")
        .def("__next__", &NextNode, "The next node; StopIteration at the end.");

    module.def(
        "create_node",
        [](const std::string& typeName, const std::string& name) {
            HeldNode made(CreateNode(typeName.c_str()));
            if (made.get() == nullptr) throw py::value_error("no node type \"" + typeName + "\" is registered");
            made->SetName(name.c_str());
            return made;
        },
        py::arg("type_name"), py::arg("name") = "",
        "A new node of any registered type by its C++ name (CreateNode); ValueError for an unknown one.");
    module.def("from_bytes", &NodeOfStream, py::arg("data"),
               R"(The tree of a node stream (ReadNode), as Node.to_bytes writes it.

Every read is bounded by the bytes given; ValueError names the byte offset and
the reason when they are not exactly one node stream.)");
}

}  // namespace brell::python
