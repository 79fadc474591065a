#include <brelldata/core/RefNode.h>

#include "core/Reference.h"

#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace brell {
namespace {

struct ReferenceKind {
    const std::string& (*typeId)();
    ReferenceStep step;
};

CBaseNode* RefNodeStep(CBaseNode* node)
{
    return static_cast<CRefNode*>(node)->Target();
}

// Constant-initialised, so it is complete before any code of the library runs.
constexpr size_t kMaxReferenceKinds = 4;
ReferenceKind referenceKinds[kMaxReferenceKinds] = {{&CRefNode::TypeId, &RefNodeStep}};
size_t referenceKindCount = 1;

ReferenceStep StepOf(CBaseNode* node)
{
    for (size_t i = 0; i < referenceKindCount; ++i) {
        if (node->IsKindOf(referenceKinds[i].typeId())) return referenceKinds[i].step;
    }
    return nullptr;
}

}  // namespace

void RegisterReferenceKind(const std::string& (*typeId)(), ReferenceStep step)
{
    for (size_t i = 0; i < referenceKindCount; ++i) {
        if (referenceKinds[i].typeId == typeId) return;
    }
    if (referenceKindCount < kMaxReferenceKinds) referenceKinds[referenceKindCount++] = {typeId, step};
}

// Brent's cycle detection: the hare steps along the chain and the tortoise
// jumps to it after 1, 2, 4, ... steps, so a cycle is met within twice its
// length past its start, with no memory per step.
CBaseNode* FinalReference(CBaseNode* node)
{
    ReferenceStep step = node != nullptr ? StepOf(node) : nullptr;
    if (step == nullptr) return nullptr;
    CBaseNode* tortoise = node;
    CBaseNode* hare = step(node);
    size_t stepsSinceJump = 1;
    size_t jumpAfter = 1;
    while (hare != nullptr) {
        step = StepOf(hare);
        if (step == nullptr) return hare;
        if (hare == tortoise) return nullptr;
        if (stepsSinceJump == jumpAfter) {
            tortoise = hare;
            jumpAfter *= 2;
            stepsSinceJump = 0;
        }
        hare = step(hare);
        ++stepsSinceJump;
    }
    return nullptr;
}

}  // namespace brell

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
    return brell::FinalReference(this);
}
