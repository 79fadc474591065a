#include "core/TreeFixtures.h"

#include <brelldata/core/NodeStream.h>
#include <brelldata/core/Tree.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using brell::test::CTestCountedNode;
using brell::test::StandardTree;
using NameList = std::vector<std::string>;

NameList WalkNames(CTree& tree, CTree::TRAVEL_ORDER order)
{
    NameList names;
    for (CTree::POS pos = tree.Begin(order); pos != tree.End(order) && names.size() < 20; ++pos)
        names.push_back(pos.Value()->Name());
    return names;
}

TEST(TreePositions, BothOrdersVisitParentsFirstAndMirrorEachOther)
{
    StandardTree s;
    EXPECT_EQ(WalkNames(s.tree, CTree::FIRST_CHILD_FIRST), (NameList{"R", "A", "A1", "A2", "B"}));
    EXPECT_EQ(WalkNames(s.tree, CTree::LAST_CHILD_FIRST), (NameList{"R", "B", "A", "A2", "A1"}));
}

TEST(TreePositions, StepPastTheLastNodeReachesTheEndOfTheSameOrderAndTreeOnly)
{
    StandardTree s;
    CTree::POS pos = s.tree.Begin(CTree::FIRST_CHILD_FIRST);
    for (int i = 0; i < 5; ++i) ++pos;
    EXPECT_EQ(pos, s.tree.End(CTree::FIRST_CHILD_FIRST));
    EXPECT_NE(pos, s.tree.End(CTree::LAST_CHILD_FIRST));
    CTree other(s.r);
    EXPECT_NE(pos, other.End(CTree::FIRST_CHILD_FIRST));

    EXPECT_EQ(++pos, s.tree.End(CTree::FIRST_CHILD_FIRST));  // an end position stays put
    CTree::POS detached(nullptr, s.r, CTree::FIRST_CHILD_FIRST);
    EXPECT_EQ((++detached).Value(), s.r);
}

TEST(TreePositions, PostfixStepReturnsThePositionBeforeTheStep)
{
    StandardTree s;
    CTree::POS pos = s.tree.Begin(CTree::LAST_CHILD_FIRST);
    EXPECT_EQ((pos++).Value(), s.r);
    EXPECT_EQ(pos.Value(), s.b);
}

TEST(TreePositions, EmptySingleNodeAndUnknownOrderWalksEndAtOnce)
{
    CTree empty;
    EXPECT_EQ(empty.Begin(CTree::FIRST_CHILD_FIRST), empty.End(CTree::FIRST_CHILD_FIRST));

    CTree single(CBaseNode::Create());
    for (CTree::TRAVEL_ORDER order : {CTree::FIRST_CHILD_FIRST, CTree::LAST_CHILD_FIRST}) {
        CTree::POS pos = single.Begin(order);
        EXPECT_EQ(pos.Value(), single.Root());
        EXPECT_EQ(++pos, single.End(order));
    }

    StandardTree s;
    const auto unknown = static_cast<CTree::TRAVEL_ORDER>(2);
    CTree::POS pos(&s.tree, s.r, unknown);
    EXPECT_EQ(++pos, CTree::POS(&s.tree, nullptr, unknown));
}

TEST(TreeStructure, FindParentChecksChildrenBeforeDescendingFromTheStart)
{
    StandardTree s;
    EXPECT_EQ(s.tree.FindParent(s.a1), s.a);
    EXPECT_EQ(s.tree.FindParent(s.a1, s.b), nullptr);
    EXPECT_EQ(s.tree.FindParent(s.a2, s.a), s.a);
    EXPECT_EQ(s.tree.FindParent(s.r), nullptr);
    EXPECT_EQ(s.tree.FindParent(nullptr), nullptr);
    EXPECT_EQ(CTree().FindParent(s.a), nullptr);

    CBaseNode* shared = CBaseNode::Create();
    s.b->AppendChild(shared);
    s.a1->AppendChild(shared);
    EXPECT_EQ(s.tree.FindParent(shared), s.a1);
}

TEST(TreeStructure, SiblingsAreFoundThroughTheParent)
{
    StandardTree s;
    EXPECT_EQ(s.tree.FindNext(s.a), s.b);
    EXPECT_EQ(s.tree.FindPrev(s.b), s.a);
    EXPECT_EQ(s.tree.FindNext(s.a1), s.a2);
    EXPECT_EQ(s.tree.FindNext(s.b), nullptr);
    EXPECT_EQ(s.tree.FindPrev(s.a), nullptr);
    EXPECT_EQ(s.tree.FindNext(s.r), nullptr);
    EXPECT_EQ(s.tree.FindPrev(s.r), nullptr);
}

TEST(TreeOwnership, TreeHoldsOneReferenceAndDestroysTheSubtreeWithIt)
{
    const int before = CTestCountedNode::live;
    {
        CBaseNode* root = CTestCountedNode::Create();
        root->AppendChild(CTestCountedNode::Create());
        CTree tree(root);
        EXPECT_EQ(root->RefCount(), 1);
        tree.SetRoot(root);
        EXPECT_EQ(root->RefCount(), 1);
        EXPECT_EQ(CTestCountedNode::live, before + 2);
    }
    EXPECT_EQ(CTestCountedNode::live, before);
}

TEST(TreeOwnership, SettingAnotherRootReleasesThePreviousOne)
{
    const int before = CTestCountedNode::live;
    CTree tree(CTestCountedNode::Create());
    CBaseNode* kept = CTestCountedNode::Create();
    kept->AddRef();
    tree.SetRoot(kept);
    EXPECT_EQ(CTestCountedNode::live, before + 1);
    tree.SetRoot(nullptr);
    EXPECT_EQ(tree.GetRoot(), nullptr);
    EXPECT_EQ(kept->RefCount(), 1);
    kept->Release();
}

TEST(TreeOwnership, CopiedAndAssignedTreesHoldReferencesOfTheirOwn)
{
    CBaseNode* root = CBaseNode::Create();
    CTree tree(root);
    {
        CTree copy(tree);
        CTree assigned;
        assigned = tree;
        const CTree& same = assigned;
        assigned = same;
        EXPECT_EQ(assigned.Root(), root);
        EXPECT_EQ(root->RefCount(), 3);
    }
    EXPECT_EQ(root->RefCount(), 1);
}

TEST(TreeStreams, TreeWritesAndReadsItsRootAsANodeStream)
{
    StandardTree s;
    std::vector<unsigned char> block(static_cast<size_t>(s.tree.SizeOfByte()));
    EXPECT_EQ(s.tree.SizeOfByte(), SizeOfByte(s.r));
    EXPECT_EQ(s.tree.Write(block.data()), 1);

    CTree copy;
    EXPECT_EQ(copy.Read(block.data()), 1);
    ASSERT_NE(copy.Root(), nullptr);
    EXPECT_NE(copy.Root(), s.r);
    EXPECT_EQ(copy.Root()->RefCount(), 1);
    EXPECT_EQ(WalkNames(copy, CTree::FIRST_CHILD_FIRST), (NameList{"R", "A", "A1", "A2", "B"}));
}

TEST(TreeStreams, EmptyTreeWritesNothingAndBadStreamsLeaveTheRootInPlace)
{
    unsigned char block[64] = {};
    EXPECT_EQ(CTree().SizeOfByte(), 0);
    EXPECT_EQ(CTree().Write(block), 0);

    StandardTree s;
    EXPECT_EQ(s.tree.Write(nullptr), 0);
    EXPECT_EQ(s.tree.Read(nullptr), 0);
    EXPECT_EQ(s.tree.Read(block), 0);  // an empty type name is never registered
    EXPECT_EQ(s.tree.Root(), s.r);
    EXPECT_EQ(s.r->RefCount(), 1);
}

}  // namespace
