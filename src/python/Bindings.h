#pragma once

#include "python/Held.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Ref.h>
#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/Records.h>
#include <brelldata/platform/Region.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstring>
#include <string>
#include <typeinfo>
#include <vector>

// The parts of the module `brelldata`, each binding one area of the library.
// Python names are snake_case; each docstring names the C++ operation behind it.

namespace brell::python {

namespace py = pybind11;
using HeldNode = Held<CBaseNode>;

void BindNodes(py::module_& module);
void BindViews(py::module_& module);
void BindScanData(py::module_& module);
void BindLineNodes(py::module_& module);
void BindFiles(py::module_& module);
void BindProcedures(py::module_& module);
void BindCamera(py::module_& module);
void BindGeometry(py::module_& module);
void BindGroupNodes(py::module_& module);
void BindOverlays(py::module_& module);
// The reference renderer, kept to one file (GlPicture.cpp).
void BindGl(py::module_& module);

// Raises, once back from the library, the first exception a Python procedure
// raised during the call.
void RaisePendingError();

// A new node of class Node with that name: the constructor of its Python class.
template <class Node>
Held<Node> MakeNode(const std::string& name)
{
    Held<Node> made(static_cast<Node*>(Node::Create()));
    if (made.get() == nullptr) throw std::bad_alloc();
    made->SetName(name.c_str());
    return made;
}

// Records that a node class has a Python class of its own (BoundTypeOf);
// each class is recorded after its bases.
void RecordBoundClass(const std::string& typeName, const std::type_info& type);

// The Python class of a node class, with a constructor from a name and
// recorded as bound.
template <class Node, class Base>
py::class_<Node, Base, Held<Node>> NodeClass(py::module_& module, const char* name, const char* doc)
{
    RecordBoundClass(Node::TypeId(), typeid(Node));
    py::class_<Node, Base, Held<Node>> bound(module, name, doc);
    bound.def(py::init(&MakeNode<Node>), py::arg("name") = "",
              ("A new " + Node::TypeId() + " with that name.").c_str());
    return bound;
}

// Raises ValueError when child's subtree holds parent: adding it would make
// the tree a cycle, which every walk, stream and release follows forever.
void RefuseCycle(CBaseNode* parent, CBaseNode* child);

// A numpy view of count rows of the store's memory at data, shaped rowShape
// after the row count; its base object holds one reference on the store.
py::array StoreView(CRef* store, void* data, py::ssize_t count, const py::dtype& dtype,
                    const std::vector<py::ssize_t>& rowShape);
// A numpy view of count rows at data of a store inside the node itself (a
// member, not counted on its own); its base object holds one reference on the node.
py::array MemberView(CBaseNode* node, const CRef* store, void* data, py::ssize_t count, const py::dtype& dtype,
                     const std::vector<py::ssize_t>& rowShape);
// A writable zero-dimensional numpy view of one record inside the node (a
// field or an element that never moves while it exists); its base object
// holds one reference on the node.
py::array RecordView(CBaseNode* node, void* record, const py::dtype& dtype);
// A numpy view of the attribute's bytes as dtype items shaped rowShape (the
// row count follows from the size), or None when the node has no such
// attribute; its base object holds one reference on the node. ValueError
// when the size is not a whole number of rows.
py::object AttributeView(CBaseNode* node, const std::string& name, const py::dtype& dtype,
                         const std::vector<py::ssize_t>& rowShape);

// A vertex store as an (N, 3) float64 view, and rows copied into one (its
// size may change only while no view of it exists).
py::array VertexView(CArrayDataStore<VERTEX>& store);
void AssignVertices(CArrayDataStore<VERTEX>& store, const py::array& vertices);
// Indices copied into an index store, under the same rule.
void AssignIndices(CArrayDataStore<int>& store, const py::array& indices);

// Raises BufferError when numpy views of the memory (a store, a member store
// or a record) exist: it must not move.
void RefuseResizeWhileViewed(const void* memory, const char* what);
// The same for a store, known to its views by its CRef.
inline void RefuseResizeWhileViewed(const CRef* store, const char* what)
{
    RefuseResizeWhileViewed(static_cast<const void*>(store), what);
}
// Sets an attribute to size bytes of the given type (ValueError for none).
// While numpy views of the node's attributes exist, anything that would move
// their memory raises BufferError: adding an attribute, or giving a viewed
// one a new size. The library writes a value of the same size in place.
void SetAttributeValue(CBaseNode* node, const std::string& name, const void* data, size_t size, int type);

// Removes an attribute: KeyError when there is none, BufferError while numpy
// views of any of the node's attributes exist (the others' memory may move).
void DeleteAttribute(CBaseNode* node, const std::string& name);

// The bytes of a C-contiguous buffer (copied first when it is not contiguous).
py::buffer_info ContiguousBytes(const py::buffer& data);

// The Python class a node comes to Python as: its own class's when that is
// bound, else the nearest bound base class's.
const std::type_info& BoundTypeOf(const CBaseNode& node);

}  // namespace brell::python

namespace pybind11 {

namespace detail {

// Small records of one scalar type travel as tuples: an RGBA colour as
// (r, g, b, a), a POINT as (x, y), a RECT as (left, top, right, bottom), a
// vector as (x, y[, z]).
template <class Record, class Scalar, size_t N>
struct TupleCaster {
    static_assert(sizeof(Record) == N * sizeof(Scalar), "a record of N scalars");
    PYBIND11_TYPE_CASTER(Record, const_name("tuple"));

    bool load(handle source, bool convert)
    {
        if (!isinstance<sequence>(source) || isinstance<str>(source) || len(source) != N) return false;
        const auto items = reinterpret_borrow<sequence>(source);
        Scalar scalars[N];
        for (size_t i = 0; i < N; ++i) {
            make_caster<Scalar> item;
            if (!item.load(items[i], convert)) return false;
            scalars[i] = cast_op<Scalar>(item);
        }
        std::memcpy(&value, scalars, sizeof value);
        return true;
    }

    static handle cast(const Record& record, return_value_policy, handle)
    {
        Scalar scalars[N];
        std::memcpy(scalars, &record, sizeof record);
        tuple items(N);
        for (size_t i = 0; i < N; ++i) items[i] = pybind11::cast(scalars[i]);
        return items.release();
    }
};

template <>
struct type_caster<RGBA> : TupleCaster<RGBA, uint8_t, 4> {
};
template <>
struct type_caster<POINT> : TupleCaster<POINT, int32_t, 2> {
};
template <>
struct type_caster<RECT> : TupleCaster<RECT, int32_t, 4> {
};
template <>
struct type_caster<CVector_3<double>> : TupleCaster<CVector_3<double>, double, 3> {
};
template <>
struct type_caster<CVector_2<float>> : TupleCaster<CVector_2<float>, float, 2> {
};

}  // namespace detail

// Nodes of classes without a binding of their own (a registered type's
// derived classes, host classes) come as their nearest bound base class.
template <>
struct polymorphic_type_hook<CBaseNode> {
    static const void* get(const CBaseNode* node, const std::type_info*& type)
    {
        type = node != nullptr ? &brell::python::BoundTypeOf(*node) : nullptr;
        return node;
    }
};

}  // namespace pybind11
