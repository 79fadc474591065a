#include <brelldata/core/RefNode.h>
#include <brelldata/geo/GroupNodes.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>

BRELL_NODE_TYPE_DEFINE(CRefNode, CBaseNode)

std::string CRefNode::Comment()
{
    char text[48];
    std::snprintf(text, sizeof text, "Reference node: %" PRIxPTR, reinterpret_cast<uintptr_t>(target_));
    return text;
}

int CRefNode::Copy(CBaseNode* source)
{
    if (source == nullptr) return 0;
    if (source->IsKindOf(TypeId())) target_ = static_cast<CRefNode*>(source)->target_;
    return CBaseNode::Copy(source);
}

CBaseNode* CRefNode::Reference()
{
    if (target_ == nullptr) return nullptr;
    if (target_->IsKindOf(TypeId())) return static_cast<CRefNode*>(target_)->Reference();
    if (target_->IsKindOf(CGeoRefNode::TypeId())) return static_cast<CGeoRefNode*>(target_)->Reference();
    return target_;
}
