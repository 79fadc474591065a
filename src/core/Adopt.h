#pragma once

#include <brelldata/core/BaseNode.h>

namespace brell {

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
