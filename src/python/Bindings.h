#pragma once

#include "python/Held.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Ref.h>
#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/Records.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <string>
#include <vector>

// The parts of the module `brelldata`, each binding one area of the library.
// Python names are snake_case; each docstring names the C++ operation behind it.

namespace brell::python {

namespace py = pybind11;
using HeldNode = Held<CBaseNode>;

void BindNodes(py::module_& module);
void BindViews(py::module_& module);
void BindScanData(py::module_& module);
void BindFiles(py::module_& module);
void BindProcedures(py::module_& module);
void BindCamera(py::module_& module);
void BindGeometry(py::module_& module);
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

// A numpy view of count rows of the store's memory at data, shaped rowShape
// after the row count; its base object holds one reference on the store.
py::array StoreView(CRef* store, void* data, py::ssize_t count, const py::dtype& dtype,
                    const std::vector<py::ssize_t>& rowShape);
// A numpy view of count rows at data inside the node itself (a member store
// whose memory member names); its base object holds one reference on the node.
py::array MemberView(CBaseNode* node, const void* member, void* data, py::ssize_t count, const py::dtype& dtype,
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
