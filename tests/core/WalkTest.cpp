#include "core/TreeFixtures.h"
#include "diag/Recording.h"

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

TEST(ForEachNode, StopRulesGiveTheseExactVisitsAndResults)
{
    // Where the callback stops, stop-all, the nodes visited and the result.
    const std::tuple<const char*, int, NameList, int> cases[] = {
        {"", 1, {"R", "A", "A1", "A2", "B"}, 0},  // never stops
        {"A", 0, {"R", "A"}, 0},                  // A's subtree and later sibling B skipped
        {"A", 1, {"R", "A"}, 1},
        {"A1", 0, {"R", "A", "A1", "B"}, 0},  // only A1's later sibling skipped
        {"A1", 1, {"R", "A", "A1"}, 1},
        {"R", 0, {"R"}, 1},
    };
    StandardTree s;
    for (const auto& [stopAt, stopAll, visited, result] : cases) {
        Visits visits{stopAt, {}};
        EXPECT_EQ(ForEachNode(s.r, &RecordVisit, 42, &visits, stopAll), result) << stopAt << stopAll;
        EXPECT_EQ(visits.names, visited) << stopAt << stopAll;
    }
}

TEST(ForEachNode, SecondFormsAskOnlyTheTopNodeWhichChildrenToEnter)
{
    StandardTree s(&CTestGateNode::Create);  // each node rejects its first child
    s.b->AppendChild(Named("B1"));
    s.b->AppendChild(Named("B2"));
    Visits visits;
    EXPECT_EQ(ForEachNode2(s.r, &RecordVisit, 42, &visits, 0), 0);
    EXPECT_EQ(visits.names, (NameList{"R", "B", "B1", "B2"}));
    char hidden[] = "A1", visible[] = "B1";
    int counter = 0;
    EXPECT_EQ(SearchNode2(s.r, &IsSameName, counter, hidden), nullptr);
    EXPECT_EQ(SearchNode2(s.r, &IsSameName, counter, visible), s.b->GetChild(0));
}

TEST(SearchNode, CounterSelectsWhichMatchIsReturnedAndTypesMustMatchExactly)
{
    StandardTree s;
    s.a2->SetName("A");
    s.b->SetName("A");
    char name[] = "A";
    // The counter before and after, and the match found.
    for (auto [counter, after, found] : {std::tuple{0, -1, s.a}, {2, -1, s.b}, {5, 2, nullptr}}) {
        EXPECT_EQ(SearchNode(s.r, &IsSameName, counter, name), found) << after;
        EXPECT_EQ(counter, after);
    }

    CTree tree(CTestBoxNode::Create());
    tree.Root()->AppendChild(CTestCubeNode::Create());
    char cube[] = "CTestCubeNode", box[] = "CTestBoxNode";
    int counter = 0;
    EXPECT_EQ(SearchNode(tree.Root(), &IsSameType, counter, cube), tree.Root()->GetChild(0));
    counter = 1;  // passes the root, so only the derived cube could match
    EXPECT_EQ(SearchNode(tree.Root(), &IsSameType, counter, box), nullptr);
}

TEST_F(MixedTree, CopyTreeLeavesOutUnregisteredTypesWithTheirSubtrees)
{
    CTree copy(CopyTree(s.r));
    ASSERT_EQ(WalkNames(copy, CTree::FIRST_CHILD_FIRST), (NameList{"R", "A", "A1", "A2", "B"}));
    EXPECT_EQ(copy.Root()->RefCount(), 1);  // the copy came with count 0
    EXPECT_EQ(copy.Root()->GetChild(0)->GetChild(0)->RefCount(), 1);
    EXPECT_EQ(CopyTree(u), nullptr);
}

TEST(DisplayTree, ListsEachNodeWithMarkersIndentsAndPositionsAndNamesUnchanged)
{
    StandardTree s;
    CBaseNode* b1 = Named("100%s %d");
    s.b->AppendChild(b1);
    s.a2->SetName("");
    s.a->SetAttributeInt("n", 1);
    auto tail = [](CBaseNode* node, int attributes) {
        std::ostringstream text;
        text << "(CBaseNode : 0x" << std::hex << reinterpret_cast<uintptr_t>(node) << std::dec
             << ") [ Attribute: " << attributes << " ]\n";
        return text.str();
    };
    const std::string tee = "\x84\xB0", corner = "\x84\xAF", bar = "\x84\xAB";

    Recording recording(testing::TempDir() + "brell-walk-display");
    DisplayTree(nullptr);
    DisplayTree(s.tree);
    EXPECT_EQ(recording.Texts(), (NameList{
                                     "\x81\xA5"
                                     "R" +
                                         tail(s.r, 0),
                                     "  " + tee + "1: A" + tail(s.a, 1),
                                     "  " + bar + tee + "1: A1" + tail(s.a1, 0),
                                     "  " + bar + corner + "2: <Noname> " + tail(s.a2, 0),
                                     "  " + corner + "2: B" + tail(s.b, 0),
                                     "    " + corner + "1: 100%s %d" + tail(b1, 0),
                                 }));
}

}  // namespace
