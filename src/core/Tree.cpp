#include <brelldata/core/Tree.h>

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/NodeStream.h>

namespace {

// The index of the first entry equal to node among indices first to last
// (inclusive); -1 when there is none.
int FindChildBetween(const CBaseNode* parent, const CBaseNode* node, int first, int last)
{
    for (int i = first; i <= last; ++i)
        if (parent->GetChild(static_cast<unsigned int>(i)) == node) return i;
    return -1;
}

// The neighbour of node at offset (+1 or -1) in its parent's children.
CBaseNode* Sibling(const CBaseNode* parent, const CBaseNode* node, int offset)
{
    int count = static_cast<int>(parent->GetChildNum());
    int first = offset > 0 ? 0 : 1;
    int last = offset > 0 ? count - 2 : count - 1;
    int index = FindChildBetween(parent, node, first, last);
    return index < 0 ? nullptr : parent->GetChild(static_cast<unsigned int>(index + offset));
}

}  // namespace

CTree::POS CTree::POS::operator++()
{
    if (node_ == nullptr || tree_ == nullptr) return *this;
    if (order_ != FIRST_CHILD_FIRST && order_ != LAST_CHILD_FIRST) {
        node_ = nullptr;
        return *this;
    }
    const bool forward = order_ == FIRST_CHILD_FIRST;
    CBaseNode* descend = forward ? node_->GetFirstChild() : node_->GetLastChild();
    if (descend != nullptr) {
        node_ = descend;
        return *this;
    }
    CBaseNode* parent = tree_->FindParent(node_);
    while (parent != nullptr && node_ == (forward ? parent->GetLastChild() : parent->GetFirstChild())) {
        node_ = parent;
        parent = tree_->FindParent(parent);
    }
    node_ = parent == nullptr ? nullptr : Sibling(parent, node_, forward ? 1 : -1);
    return *this;
}

CTree::POS CTree::POS::operator++(int)
{
    POS before = *this;
    ++*this;
    return before;
}

CTree::CTree(CBaseNode* root)
{
    SetRoot(root);
}

CTree::CTree(const CTree& other) : CTree(other.root_) {}

CTree& CTree::operator=(const CTree& other)
{
    SetRoot(other.root_);
    return *this;
}

CTree::~CTree()
{
    SetRoot(nullptr);
}

void CTree::SetRoot(CBaseNode* node)
{
    if (node != nullptr) node->AddRef();
    CBaseNode* previous = root_;
    root_ = node;
    if (previous != nullptr) previous->Release();
}

CBaseNode* CTree::FindParent(CBaseNode* node, CBaseNode* start) const
{
    if (node == nullptr) return nullptr;
    if (start == nullptr) start = root_;
    if (start == nullptr) return nullptr;
    if (start->IsChild(node)) return start;
    for (unsigned int i = 0; i < start->GetChildNum(); ++i) {
        if (CBaseNode* parent = FindParent(node, start->GetChild(i))) return parent;
    }
    return nullptr;
}

CBaseNode* CTree::FindNext(CBaseNode* node) const
{
    CBaseNode* parent = FindParent(node);
    return parent == nullptr ? nullptr : Sibling(parent, node, 1);
}

CBaseNode* CTree::FindPrev(CBaseNode* node) const
{
    CBaseNode* parent = FindParent(node);
    return parent == nullptr ? nullptr : Sibling(parent, node, -1);
}

int CTree::SizeOfByte() const
{
    return ::SizeOfByte(root_);
}

int CTree::Write(void* block) const
{
    return WriteNode(block, root_) != 0 ? 1 : 0;
}

int CTree::Read(void* block)
{
    CBaseNode* node = ReadNode(block);
    if (node == nullptr) return 0;
    SetRoot(node);
    return 1;
}
