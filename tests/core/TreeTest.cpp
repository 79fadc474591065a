#include "core/TreeFixtures.h"
#include "diag/Recording.h"

#include <brelldata/core/Tree.h>
#include <brelldata/core/Walk.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <tuple>

namespace {

using namespace brell::test;

struct Visits {
    std::string stopAt;
    NameList names;
};

// Records each visit; stops at the node named stopAt. The value is always 42.
int RecordVisit(CBaseNode* node, int value, void* data)
{
    auto* visits = static_cast<Visits*>(data);
    visits->names.push_back(value == 42 ? node->Name() : "(wrong value)");
    return node->Name() == visits->stopAt ? 1 : 0;
}

TEST_F(MixedTree, CopyTreeLeavesOutUnregisteredTypes)
{
    CTree copy(CopyTree(s.r));
    ASSERT_EQ(WalkNames(copy, CTree::FIRST_CHILD_FIRST), (NameList{"R", "A", "A1", "A2", "B"}));
    EXPECT_EQ(copy.Root()->RefCount(), 1);  // the copy came with count 0
    EXPECT_EQ(copy.Root()->GetChild(0)->GetChild(0)->RefCount(), 1);
    EXPECT_EQ(CopyTree(u), nullptr);
}

TEST(Walks, StopWhereTheCallbackSays)
{
    // Where the callback stops, stop-all, the nodes visited and the result.
    const std::tuple<const char*, int, NameList, int> cases[] = {
        {"", 1, {"R", "A", "A1", "A2", "B"}, 0},  // never stops
        {"A", 0, {"R", "A"}, 0},                  // A's subtree and later sibling B skipped
        {"A", 1, {"R", "A"}, 1},
        {"A1", 0, {"R", "A", "A1", "B"}, 0},  // only A1's later sibling skipped
        {"R", 0, {"R"}, 1},
    };
    StandardTree walked;
    for (const auto& [stopAt, stopAll, visited, result] : cases) {
        Visits visits{stopAt, {}};
        EXPECT_EQ(ForEachNode(walked.r, &RecordVisit, 42, &visits, stopAll), result) << stopAt << stopAll;
        EXPECT_EQ(visits.names, visited) << stopAt << stopAll;
    }
}

TEST(Walks, OfTheSecondFormAskOnlyTheTopNodeWhichChildrenToEnter)
{
    StandardTree gated(&CTestGateNode::Create);  // each node rejects its first child
    gated.b->AppendChild(Named("B1"));
    gated.b->AppendChild(Named("B2"));
    Visits visits;
    EXPECT_EQ(ForEachNode2(gated.r, &RecordVisit, 42, &visits, 0), 0);
    EXPECT_EQ(visits.names, (NameList{"R", "B", "B1", "B2"}));
    char hidden[] = "A1", visible[] = "B1";
    int counter = 0;
    EXPECT_EQ(SearchNode2(gated.r, &IsSameName, counter, hidden), nullptr);
    EXPECT_EQ(SearchNode2(gated.r, &IsSameName, counter, visible), gated.b->GetChild(0));
}

TEST(Searches, CounterSelectsWhichMatchIsReturned)
{
    StandardTree walked;
    walked.a2->SetName("A");
    walked.b->SetName("A");
    char name[] = "A";
    // The counter before and after, and the match found.
    for (auto [start, after, found] : {std::tuple{0, -1, walked.a}, {2, -1, walked.b}, {5, 2, nullptr}}) {
        EXPECT_EQ(SearchNode(walked.r, &IsSameName, start, name), found) << after;
        EXPECT_EQ(start, after);
    }
}

TEST(Searches, MatchTypesExactly)
{
    CTree tree(CTestBoxNode::Create());
    tree.Root()->AppendChild(CTestCubeNode::Create());
    char cube[] = "CTestCubeNode", box[] = "CTestBoxNode";
    int counter = 0;
    EXPECT_EQ(SearchNode(tree.Root(), &IsSameType, counter, cube), tree.Root()->GetChild(0));
    counter = 1;  // passes the root, so only the derived cube could match
    EXPECT_EQ(SearchNode(tree.Root(), &IsSameType, counter, box), nullptr);
}

// End positions belong to one tree and order.
TEST(Trees, OrdersMirrorEachOtherAndEndPositionsStayPut)
{
    StandardTree standard;
    EXPECT_EQ(WalkNames(standard.tree, CTree::FIRST_CHILD_FIRST), (NameList{"R", "A", "A1", "A2", "B"}));
    EXPECT_EQ(WalkNames(standard.tree, CTree::LAST_CHILD_FIRST), (NameList{"R", "B", "A", "A2", "A1"}));

    CTree::POS pos = standard.tree.Begin(CTree::FIRST_CHILD_FIRST);
    EXPECT_EQ((pos++).Value(), standard.r);  // the postfix step gives the position before it
    for (int i = 0; i < 4; ++i) ++pos;
    EXPECT_EQ(pos, standard.tree.End(CTree::FIRST_CHILD_FIRST));
    EXPECT_NE(pos, standard.tree.End(CTree::LAST_CHILD_FIRST));
    CTree other(standard.r);
    EXPECT_NE(pos, other.End(CTree::FIRST_CHILD_FIRST));
    EXPECT_EQ(++pos, standard.tree.End(CTree::FIRST_CHILD_FIRST));

    const auto unknown = static_cast<CTree::TRAVEL_ORDER>(2);  // ends the walk at once
    CTree::POS odd(&standard.tree, standard.r, unknown);
    EXPECT_EQ(++odd, standard.tree.End(unknown));
}

TEST(Trees, FindParentsAndSiblings)
{
    StandardTree standard;
    EXPECT_EQ(standard.tree.FindParent(standard.a1), standard.a);
    EXPECT_EQ(standard.tree.FindParent(standard.a2, standard.a), standard.a);
    EXPECT_EQ(standard.tree.FindParent(standard.a1, standard.b), nullptr);
    EXPECT_EQ(standard.tree.FindNext(standard.a), standard.b);
    EXPECT_EQ(standard.tree.FindPrev(standard.b), standard.a);
    EXPECT_EQ(standard.tree.FindNext(standard.b), nullptr);
    EXPECT_EQ(standard.tree.FindPrev(standard.a), nullptr);
    EXPECT_EQ(standard.tree.FindNext(standard.r), nullptr);  // the root has no parent

    // Depth first, each node's own children before its subtrees; first matches win.
    CBaseNode* x = Named("X");
    standard.a1->AppendChild(x);
    standard.b->AppendChild(x);
    EXPECT_EQ(standard.tree.FindParent(x), standard.a1);
    standard.a->AppendChild(x);
    EXPECT_EQ(standard.tree.FindParent(x), standard.a);
    standard.a->InsertChild(0, standard.a2);
    EXPECT_EQ(standard.tree.FindNext(standard.a2), standard.a1);
}

TEST(Trees, HoldOneReferenceEachAndTheLastReleaseDestroys)
{
    const int before = CTestCountedNode::live;
    CBaseNode* root = CTestCountedNode::Create();
    root->AppendChild(CTestCountedNode::Create());
    CTree held(root), released(root);
    held.SetRoot(root);  // setting the current root again keeps its one reference
    EXPECT_EQ(root->RefCount(), 2);
    released.SetRoot(nullptr);
    held.SetRoot(CTestCountedNode::Create());
    EXPECT_EQ(CTestCountedNode::live, before + 1);
}

// Names are listed unchanged.
TEST(Trees, DisplayEachNodeWithMarkersIndentsAndPositions)
{
    StandardTree shown;
    CBaseNode* b1 = Named("100%s %d");
    shown.b->AppendChild(b1);
    shown.a2->SetName("");
    shown.a->SetAttributeInt("n", 1);
    auto tail = [](CBaseNode* node, int attributes) {
        std::ostringstream text;
        text << "(CBaseNode : 0x" << std::hex << reinterpret_cast<uintptr_t>(node) << std::dec
             << ") [ Attribute: " << attributes << " ]\n";
        return text.str();
    };
    const std::string tee = "\x84\xB0", corner = "\x84\xAF", bar = "\x84\xAB";

    Recording recording(testing::TempDir() + "brell-walk-display");
    DisplayTree(nullptr);
    DisplayTree(shown.tree);
    EXPECT_EQ(recording.Texts(), (NameList{
                                     "\x81\xA5"
                                     "R" +
                                         tail(shown.r, 0),
                                     "  " + tee + "1: A" + tail(shown.a, 1),
                                     "  " + bar + tee + "1: A1" + tail(shown.a1, 0),
                                     "  " + bar + corner + "2: <Noname> " + tail(shown.a2, 0),
                                     "  " + corner + "2: B" + tail(shown.b, 0),
                                     "    " + corner + "1: 100%s %d" + tail(b1, 0),
                                 }));
}

}  // namespace
