#pragma once

#include <brelldata/Export.h>

class CBaseNode;

// Holds the root of a tree of nodes, with one reference on it, and answers the
// questions that need the whole tree: a node's parent and its siblings. Nodes
// keep no parent pointers, so each of those answers searches from the root.
class BRELL_API CTree {
public:
    // Depth first, a node before its children; children first to last, or last to first.
    enum TRAVEL_ORDER : int { FIRST_CHILD_FIRST = 0, LAST_CHILD_FIRST = 1 };

    // A position in a tree: three words, no parent stack and no references, so
    // each step searches the current node's parent from the root. A null node
    // is the end position. Usable only while its tree and node live.
    class BRELL_API POS {
    public:
        POS(CTree* tree = nullptr, CBaseNode* node = nullptr, TRAVEL_ORDER order = FIRST_CHILD_FIRST)
            : node_(node), tree_(tree), order_(order)
        {
        }

        // Equal when tree, node and order are all equal.
        bool operator==(const POS& other) const
        {
            return node_ == other.node_ && tree_ == other.tree_ && order_ == other.order_;
        }
        bool operator!=(const POS& other) const { return !(*this == other); }
        // Steps to the next node in the order; an end position stays put, and
        // an order other than the two known ones ends the walk at once.
        POS operator++();
        // Steps, and returns the position as it was before the step.
        POS operator++(int);
        // The current node; null at the end.
        CBaseNode* Value() const { return node_; }

    private:
        CBaseNode* node_;
        CTree* tree_;
        TRAVEL_ORDER order_;
    };

    // Takes one reference on a non-null root.
    explicit CTree(CBaseNode* root = nullptr);
    // Copies share the root, each holding a reference of its own.
    CTree(const CTree& other);
    CTree& operator=(const CTree& other);
    // Releases the root.
    ~CTree();

    // The new root gains a reference before the old one loses its own, so
    // setting the current root again keeps it alive; null empties the tree.
    void SetRoot(CBaseNode* node);
    CBaseNode* Root() const { return root_; }
    CBaseNode* GetRoot() const { return root_; }

    POS Begin(TRAVEL_ORDER order) { return POS(this, root_, order); }
    POS End(TRAVEL_ORDER order) { return POS(this, nullptr, order); }

    // The first node below start (null: the root) that holds node among its
    // children, checking a node's own children before descending into them;
    // null when there is none or node is null.
    CBaseNode* FindParent(CBaseNode* node, CBaseNode* start = nullptr) const;
    // The sibling after node in its parent's children; null for a last child
    // or a node without a parent in this tree.
    CBaseNode* FindNext(CBaseNode* node) const;
    // The sibling before node; null for a first child or a node without a parent.
    CBaseNode* FindPrev(CBaseNode* node) const;

    // The whole tree as a node stream: its size (0 when empty).
    int SizeOfByte() const;
    // 1 when the root's node stream was written into block; 0 for an empty tree
    // or a null block. The block must hold SizeOfByte() bytes.
    int Write(void* block) const;
    // Replaces the root with the node stream read from block and gives 1; on
    // failure 0 and the tree stays as it was.
    int Read(void* block);

private:
    CBaseNode* root_ = nullptr;
};
