#pragma once

#include <brelldata/core/BaseNode.h>

#include <new>

namespace brell {

// What the library's own readers do to a child list beyond the public operations.
struct ChildList {
    // Room for count children in all, so that appending them grows the list
    // once; nothing when there is no memory for it (appending then grows it
    // step by step, or fails as it would have).
    static void Reserve(CBaseNode& parent, unsigned int count)
    {
        try {
            parent.children_.reserve(count);
        } catch (const std::bad_alloc&) {
        }
    }
};

// Inserts a new child (count 0) before index, or, when the child list cannot
// grow, releases it, which destroys it: whether it was inserted.
inline bool InsertOrRelease(CBaseNode& parent, unsigned int index, CBaseNode* child)
{
    const unsigned int children = parent.GetChildNum();
    parent.InsertChild(index, child);
    if (parent.GetChildNum() != children) return true;
    child->Release();
    return false;
}

inline bool AppendOrRelease(CBaseNode& parent, CBaseNode* child)
{
    const unsigned int children = parent.GetChildNum();
    parent.AppendChild(child);
    if (parent.GetChildNum() != children) return true;
    child->Release();
    return false;
}

}  // namespace brell
