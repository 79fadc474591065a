#include "core/TreeFixtures.h"

#include <brelldata/core/Tree.h>

#include <gtest/gtest.h>

namespace {

using namespace brell::test;

TEST(TreePositions, OrdersMirrorEachOtherAndEndPositionsBelongToOneTreeAndOrderAndStayPut)
{
    StandardTree s;
    EXPECT_EQ(WalkNames(s.tree, CTree::FIRST_CHILD_FIRST), (NameList{"R", "A", "A1", "A2", "B"}));
    EXPECT_EQ(WalkNames(s.tree, CTree::LAST_CHILD_FIRST), (NameList{"R", "B", "A", "A2", "A1"}));

    CTree::POS pos = s.tree.Begin(CTree::FIRST_CHILD_FIRST);
    EXPECT_EQ((pos++).Value(), s.r);  // the postfix step gives the position before it
    for (int i = 0; i < 4; ++i) ++pos;
    EXPECT_EQ(pos, s.tree.End(CTree::FIRST_CHILD_FIRST));
    EXPECT_NE(pos, s.tree.End(CTree::LAST_CHILD_FIRST));
    CTree other(s.r);
    EXPECT_NE(pos, other.End(CTree::FIRST_CHILD_FIRST));
    EXPECT_EQ(++pos, s.tree.End(CTree::FIRST_CHILD_FIRST));

    const auto unknown = static_cast<CTree::TRAVEL_ORDER>(2);  // ends the walk at once
    CTree::POS odd(&s.tree, s.r, unknown);
    EXPECT_EQ(++odd, s.tree.End(unknown));
}

TEST(TreeStructure, ParentsAndSiblingsAreFoundFromTheRootOrTheStart)
{
    StandardTree s;
    EXPECT_EQ(s.tree.FindParent(s.a1), s.a);
    EXPECT_EQ(s.tree.FindParent(s.a2, s.a), s.a);
    EXPECT_EQ(s.tree.FindParent(s.a1, s.b), nullptr);
    EXPECT_EQ(s.tree.FindNext(s.a), s.b);
    EXPECT_EQ(s.tree.FindPrev(s.b), s.a);
    EXPECT_EQ(s.tree.FindNext(s.b), nullptr);
    EXPECT_EQ(s.tree.FindPrev(s.a), nullptr);
    EXPECT_EQ(s.tree.FindNext(s.r), nullptr);  // the root has no parent

    // Depth first, each node's own children before its subtrees; first matches win.
    CBaseNode* x = Named("X");
    s.a1->AppendChild(x);
    s.b->AppendChild(x);
    EXPECT_EQ(s.tree.FindParent(x), s.a1);
    s.a->AppendChild(x);
    EXPECT_EQ(s.tree.FindParent(x), s.a);
    s.a->InsertChild(0, s.a2);
    EXPECT_EQ(s.tree.FindNext(s.a2), s.a1);
}

TEST(TreeOwnership, EachTreeHoldsOneReferenceAndTheLastReleaseDestroysTheSubtree)
{
    const int before = CTestCountedNode::live;
    CBaseNode* root = CTestCountedNode::Create();
    root->AppendChild(CTestCountedNode::Create());
    CTree tree(root), copy(root);
    tree.SetRoot(root);  // setting the current root again keeps its one reference
    EXPECT_EQ(root->RefCount(), 2);
    copy.SetRoot(nullptr);
    tree.SetRoot(CTestCountedNode::Create());
    EXPECT_EQ(CTestCountedNode::live, before + 1);
}

}  // namespace
