#pragma once

// Building scenes from files: new nodes that are destroyed unless handed on,
// and per-vertex arrays as struct attributes.

#include <brelldata/core/BaseNode.h>
#include <brelldata/data/BulkMemory.h>
#include <brelldata/io/FileError.h>
#include <brelldata/scan/ModelNodes.h>

#include <cstdint>

#include <climits>
#include <new>
#include <string>
#include <utility>

namespace brell::io {

// Destroys a node of count 0 unless it was handed on with Take.
class NewNode {
public:
    explicit NewNode(CBaseNode* node) : node_(node)
    {
        if (node_ == nullptr) throw std::bad_alloc();
    }
    NewNode(const NewNode&) = delete;
    NewNode& operator=(const NewNode&) = delete;
    ~NewNode()
    {
        if (node_ == nullptr) return;
        node_->AddRef();
        node_->Release();
    }
    CBaseNode* Get() const { return node_; }
    CBaseNode* Take() { return std::exchange(node_, nullptr); }

private:
    CBaseNode* node_;
};

// Appends a new child to parent, which holds it from then on.
inline CBaseNode* Adopt(CBaseNode* parent, CBaseNode* child)
{
    if (child == nullptr) throw std::bad_alloc();
    parent->AppendChild(child);
    return child;
}

// Sets count items as node's struct attribute (nothing when count is 0);
// FileError naming name past 2 GiB, std::bad_alloc when it cannot be stored.
template <class T>
void SetArrayAttribute(CBaseNode& node, const char* attribute, const T* items, size_t count, const std::string& name)
{
    if (count == 0) return;
    if (count > INT_MAX / sizeof(T))
        throw FileError::InFile(name, std::string("at most 2 GiB of ") + attribute, std::to_string(count) + " entries");
    const int size = static_cast<int>(count * sizeof(T));
    node.SetAttributeStruct(attribute, const_cast<T*>(items), size);
    int stored = 0;
    if (node.QueryAttributeStruct(attribute, &stored) == nullptr || stored != size) throw std::bad_alloc();
}

template <class T>
void SetArrayAttribute(CBaseNode& node, const char* attribute, const BulkVector<T>& items, const std::string& name)
{
    SetArrayAttribute(node, attribute, items.data(), items.size(), name);
}

// A model's attribute when it holds one T per item (count of them, what
// names them); null when the model has none; FileError when its size does
// not match.
template <class T>
const T* ArrayAttribute(CModelNode& model, const char* attribute, int count, const char* what, const std::string& name)
{
    int size = 0;
    const void* data = model.QueryAttributeStruct(attribute, &size);
    if (data == nullptr) return nullptr;
    const int64_t expected = int64_t{count} * int64_t{sizeof(T)};
    if (size != expected)
        throw FileError::InFile(name,
                                std::to_string(expected) + " bytes of " + attribute + " in model \"" + model.Name() +
                                    "\" (" + std::to_string(count) + " " + what + ")",
                                std::to_string(size));
    return static_cast<const T*>(data);
}

}  // namespace brell::io
