#pragma once

// Fixtures of the core tests: the standard tree R(A(A1, A2), B) and node
// classes of the tests' own.

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/Tree.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brell::test {

using NameList = std::vector<std::string>;

inline CBaseNode* Named(const char* name, CBaseNode* node = CBaseNode::Create())
{
    node->SetName(name);
    return node;
}

// The names along a walk of the tree in the given order.
inline NameList WalkNames(CTree& tree, CTree::TRAVEL_ORDER order)
{
    NameList names;
    for (CTree::POS pos = tree.Begin(order); pos != tree.End(order) && names.size() < 20; ++pos)
        names.push_back(pos.Value()->Name());
    return names;
}

// The standard tree R(A(A1, A2), B) of nodes made by make, each named after
// its letter and held by the tree's reference on R.
struct StandardTree {
    explicit StandardTree(CBaseNode* (*make)() = &CBaseNode::Create)
        : r(Named("R", make())),
          a(Named("A", make())),
          a1(Named("A1", make())),
          a2(Named("A2", make())),
          b(Named("B", make())),
          tree(r)
    {
        r->AppendChild(a);
        r->AppendChild(b);
        a->AppendChild(a1);
        a->AppendChild(a2);
    }
    CBaseNode *r, *a, *a1, *a2, *b;
    CTree tree;
};

// A four-class chain under CBaseNode.
class CTestShapeNode : public CBaseNode {
    BRELL_NODE_TYPE(CTestShapeNode, CBaseNode)
};
class CTestBoxNode : public CTestShapeNode {
    BRELL_NODE_TYPE(CTestBoxNode, CTestShapeNode)
};
class CTestCubeNode : public CTestBoxNode {
    BRELL_NODE_TYPE(CTestCubeNode, CTestBoxNode)
};

// Counts its live instances and logs the names of those destroyed, so that a
// test can see that nothing was left over and in which order nodes went.
class CTestCountedNode : public CBaseNode {
    BRELL_NODE_TYPE(CTestCountedNode, CBaseNode)
    CTestCountedNode() { ++live; }
    ~CTestCountedNode() override
    {
        --live;
        destroyed.push_back(Name());
    }
    static inline int live = 0;
    static inline NameList destroyed;
};

// A type that no test registers.
class CTestUnregisteredNode : public CBaseNode {
    BRELL_NODE_TYPE(CTestUnregisteredNode, CBaseNode)
};

// Rejects its first child for the walks that ask.
class CTestGateNode : public CBaseNode {
    BRELL_NODE_TYPE(CTestGateNode, CBaseNode)
    int IsChildEnable(int index) override { return index == 0 ? 0 : 1; }
};

// The standard tree of registered counted nodes with U(U1) below A2, where U
// is of the unregistered type and U1 counted again.
class MixedTree : public testing::Test {
protected:
    MixedTree()
    {
        RegisterNodeType("CTestCountedNode", &CTestCountedNode::Create);
        s.a2->AppendChild(u);
        u->AppendChild(Named("U1", CTestCountedNode::Create()));
    }
    ~MixedTree() override { UnRegisterNodeType("CTestCountedNode"); }
    StandardTree s{&CTestCountedNode::Create};
    CBaseNode* u = Named("U", CTestUnregisteredNode::Create());
};

}  // namespace brell::test
