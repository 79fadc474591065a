#pragma once

#include <new>
#include <string>

// The type identity of a node class: one line in its body,
//
//     class BRELL_API CRefNode : public CBaseNode {
//         BRELL_NODE_TYPE(CRefNode, CBaseNode)
//     ...
//
// and one line in its source file, BRELL_NODE_TYPE_DEFINE(CRefNode, CBaseNode).
// TypeId() is the class's own name, BaseTypeId() its direct base's, Type() the
// dynamic type, IsKindOf() tests a name along the chain of bases, and
// Create() is the factory registered for the type name (count 0, null when
// memory runs out). The definitions stay out of line so that the type names
// live in the library that defines the class, which can then be unloaded.
// BRELL_NODE_TYPE leaves the class body in public access.
#define BRELL_NODE_TYPE(Class, Base)                      \
public:                                                   \
    static const std::string& TypeId();                   \
    static const std::string& BaseTypeId();               \
    const std::string& Type() const override;             \
    int IsKindOf(const std::string& name) const override; \
    static CBaseNode* Create();

namespace brell {

// A new node of class Node, or null when any allocation of its construction
// fails (the node's own, its attribute store, a store handle).
template <class Node>
Node* NewNode()
{
    try {
        return new Node();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace brell

#define BRELL_NODE_TYPE_DEFINE(Class, Base)                 \
    const std::string& Class::TypeId()                      \
    {                                                       \
        static const std::string id(#Class);                \
        return id;                                          \
    }                                                       \
    const std::string& Class::BaseTypeId()                  \
    {                                                       \
        return Base::TypeId();                              \
    }                                                       \
    const std::string& Class::Type() const                  \
    {                                                       \
        return TypeId();                                    \
    }                                                       \
    int Class::IsKindOf(const std::string& name) const      \
    {                                                       \
        return name == TypeId() ? 1 : Base::IsKindOf(name); \
    }                                                       \
    CBaseNode* Class::Create()                              \
    {                                                       \
        return brell::NewNode<Class>();                     \
    }

namespace brell {

// node as a Node when its IsKindOf accepts Node's type name; null otherwise
// and for null. The one checked cast from a node to a node class.
template <class Node, class AnyNode>
Node* AsKindOf(AnyNode* node)
{
    return node != nullptr && node->IsKindOf(Node::TypeId()) ? static_cast<Node*>(node) : nullptr;
}

template <class Node, class AnyNode>
const Node* AsKindOf(const AnyNode* node)
{
    return node != nullptr && node->IsKindOf(Node::TypeId()) ? static_cast<const Node*>(node) : nullptr;
}

}  // namespace brell
