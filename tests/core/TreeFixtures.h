#pragma once

// Fixtures for the tree, stream and walk tests: the standard tree
// R(A(A1, A2), B) and a node class that counts its live instances.

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Tree.h>

#include <string>
#include <vector>

namespace brell::test {

// The standard tree R(A(A1, A2), B), each node named after its letter and
// held by the tree's reference on R.
struct StandardTree {
    StandardTree()
    {
        tree.SetRoot(r);
        r->AppendChild(a);
        r->AppendChild(b);
        a->AppendChild(a1);
        a->AppendChild(a2);
    }

    static CBaseNode* Named(const char* name)
    {
        CBaseNode* node = CBaseNode::Create();
        node->SetName(name);
        return node;
    }

    CBaseNode* r = Named("R");
    CBaseNode* a = Named("A");
    CBaseNode* a1 = Named("A1");
    CBaseNode* a2 = Named("A2");
    CBaseNode* b = Named("B");
    CTree tree;
};

// Counts its live instances, so that a test can see that nothing was left over.
class CTestCountedNode : public CBaseNode {
    BRELL_NODE_TYPE(CTestCountedNode, CBaseNode)
public:
    CTestCountedNode() { ++live; }
    ~CTestCountedNode() override { --live; }
    static inline int live = 0;
};

// A type that no test registers.
class CTestUnregisteredNode : public CBaseNode {
    BRELL_NODE_TYPE(CTestUnregisteredNode, CBaseNode)
};

// Rejects its first child for the walks that ask.
class CTestGateNode : public CBaseNode {
    BRELL_NODE_TYPE(CTestGateNode, CBaseNode)
public:
    int IsChildEnable(int index) override { return index == 0 ? 0 : 1; }
};

inline std::vector<std::string> Names(const std::vector<CBaseNode*>& nodes)
{
    std::vector<std::string> names;
    for (CBaseNode* node : nodes) names.push_back(node ? node->Name() : "(null)");
    return names;
}

}  // namespace brell::test
