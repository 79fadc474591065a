#pragma once

#include <brelldata/core/BaseNode.h>

#include <cstddef>
#include <vector>

namespace brell {

// The explicit stack of a tree walk, so that no walk's depth is bounded by the
// thread's stack. The first kInline frames live in the walk's own frame; only
// deeper trees allocate, once per doubling, never per node.
template <class Frame, size_t kInline = 64>
class WalkStack {
public:
    bool Empty() const { return size_ == 0; }
    size_t Size() const { return size_; }

    // The reference is valid until the next Push.
    Frame& Top() { return At(size_ - 1); }
    Frame& At(size_t index) { return index < kInline ? inline_[index] : deeper_[index - kInline]; }

    void Push(const Frame& frame)
    {
        if (size_ < kInline) {
            inline_[size_] = frame;
        } else if (size_ - kInline < deeper_.size()) {
            deeper_[size_ - kInline] = frame;
        } else {
            deeper_.push_back(frame);
        }
        ++size_;
    }
    void Pop() { --size_; }

private:
    Frame inline_[kInline] = {};
    std::vector<Frame> deeper_;
    size_t size_ = 0;
};

// A node of a walk and the index of its next child.
struct ChildCursor {
    CBaseNode* node;
    unsigned int next;
};

// Calls visit on node and every node below it, depth first, a node before its
// children. visit must not change the child lists of the subtree.
template <class Visit>
void VisitSubtree(CBaseNode* node, Visit visit)
{
    visit(node);
    WalkStack<ChildCursor> stack;
    if (node->GetChildNum() != 0) stack.Push({node, 0});
    while (!stack.Empty()) {
        ChildCursor& top = stack.Top();
        CBaseNode* child = top.node->GetChild(top.next++);
        if (top.next >= top.node->GetChildNum()) stack.Pop();
        visit(child);
        if (child->GetChildNum() != 0) stack.Push({child, 0});
    }
}

}  // namespace brell
