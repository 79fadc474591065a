#include "core/TestNodes.h"
#include "core/TreeFixtures.h"
#include "diag/Recording.h"

#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/Walk.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace {

using brell::test::CTestCountedNode;
using brell::test::CTestGateNode;
using brell::test::CTestUnregisteredNode;
using brell::test::Names;
using brell::test::Recording;
using brell::test::StandardTree;
using NameList = std::vector<std::string>;

struct Visits {
    std::string stopAt;
    std::vector<CBaseNode*> nodes;
};

// Records each visit; stops at the node named stopAt. The value is always 42.
int RecordVisit(CBaseNode* node, int value, void* data)
{
    auto* visits = static_cast<Visits*>(data);
    visits->nodes.push_back(value == 42 ? node : nullptr);
    return node->Name() == visits->stopAt ? 1 : 0;
}

struct WalkResult {
    int result;
    NameList visited;
};

WalkResult Walk(CBaseNode* top, const std::string& stopAt, int stopAll, bool askTopNode = false)
{
    Visits visits{stopAt, {}};
    int result = (askTopNode ? ForEachNode2 : ForEachNode)(top, &RecordVisit, 42, &visits, stopAll);
    return {result, Names(visits.nodes)};
}

TEST(ForEachNode, StopRulesGiveTheseExactVisitsAndResults)
{
    struct Case {
        const char* stopAt;
        int stopAll;
        NameList visited;
        int result;
    };
    const Case cases[] = {
        {"", 1, {"R", "A", "A1", "A2", "B"}, 0},  // never stops
        {"A", 0, {"R", "A"}, 0},                  // A's subtree and later sibling B skipped
        {"A", 1, {"R", "A"}, 1},
        {"A1", 0, {"R", "A", "A1", "B"}, 0},  // only A1's later sibling skipped
        {"A1", 1, {"R", "A", "A1"}, 1},
        {"R", 0, {"R"}, 1},
        {"R", 1, {"R"}, 1},
    };
    StandardTree s;
    for (const Case& c : cases) {
        WalkResult walk = Walk(s.r, c.stopAt, c.stopAll);
        EXPECT_EQ(walk.visited, c.visited) << c.stopAt << " " << c.stopAll;
        EXPECT_EQ(walk.result, c.result) << c.stopAt << " " << c.stopAll;
    }
    EXPECT_EQ(ForEachNode(nullptr, &RecordVisit, 42, nullptr, 1), 0);
}

TEST(ForEachNode, SecondFormAsksOnlyTheTopNodeWhichChildrenToEnter)
{
    CTree tree(CTestGateNode::Create());
    CBaseNode* top = tree.Root();
    CBaseNode* first = StandardTree::Named("first");
    CBaseNode* innerGate = CTestGateNode::Create();
    innerGate->SetName("gate");
    top->SetName("top");
    top->AppendChild(first);
    top->AppendChild(innerGate);
    first->AppendChild(StandardTree::Named("hidden"));
    innerGate->AppendChild(StandardTree::Named("visible"));

    EXPECT_EQ(Walk(top, "", 0, true).visited, (NameList{"top", "gate", "visible"}));
    char hidden[] = "hidden";
    char visible[] = "visible";
    int counter = 0;
    EXPECT_EQ(SearchNode2(top, &IsSameName, counter, hidden), nullptr);
    EXPECT_EQ(SearchNode(top, &IsSameName, counter, hidden), first->GetChild(0));
    counter = 0;
    EXPECT_EQ(SearchNode2(top, &IsSameName, counter, visible), innerGate->GetChild(0));
}

TEST(SearchNode, CounterSelectsWhichMatchIsReturned)
{
    StandardTree s;
    s.a2->SetName("A");
    s.b->SetName("A");
    char name[] = "A";
    int counter = 0;
    EXPECT_EQ(SearchNode(s.r, &IsSameName, counter, name), s.a);
    EXPECT_EQ(counter, -1);
    counter = 1;
    EXPECT_EQ(SearchNode(s.r, &IsSameName, counter, name), s.a2);
    counter = 2;
    EXPECT_EQ(SearchNode(s.r, &IsSameName, counter, name), s.b);
    counter = 5;
    EXPECT_EQ(SearchNode(s.r, &IsSameName, counter, name), nullptr);
    EXPECT_EQ(counter, 2);
    EXPECT_EQ(IsSameName(s.a, counter, nullptr), 0);
    EXPECT_EQ(IsSameName(nullptr, counter, name), 0);
}

TEST(SearchNode, SameTypeMeansExactlyThatTypeNotADerivedOne)
{
    CTree tree(CTestBoxNode::Create());
    tree.Root()->AppendChild(CTestCubeNode::Create());
    char cube[] = "CTestCubeNode";
    char box[] = "CTestBoxNode";
    int counter = 0;
    EXPECT_EQ(SearchNode(tree.Root(), &IsSameType, counter, cube), tree.Root()->GetChild(0));
    counter = 1;
    EXPECT_EQ(SearchNode(tree.Root(), &IsSameType, counter, box), nullptr);
}

class CopyTreeTest : public testing::Test {
protected:
    void SetUp() override { RegisterNodeType("CTestCountedNode", &CTestCountedNode::Create); }
    void TearDown() override { UnRegisterNodeType("CTestCountedNode"); }
};

TEST_F(CopyTreeTest, CopyHasCountZeroAndItsOwnNodesHeldOnceEach)
{
    StandardTree s;
    CTree extra(s.r);
    s.a1->SetAttributeInt("n", 3);
    CBaseNode* made = CopyTree(s.r);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->RefCount(), 0);
    CTree copy(made);
    EXPECT_EQ(Walk(made, "", 0).visited, (NameList{"R", "A", "A1", "A2", "B"}));
    CBaseNode* a1 = made->GetChild(0)->GetChild(0);
    EXPECT_NE(a1, s.a1);
    EXPECT_EQ(a1->RefCount(), 1);
    int n = 0;
    EXPECT_EQ(a1->QueryAttributeInt("n", n), 1);
    EXPECT_EQ(n, 3);
}

TEST_F(CopyTreeTest, UnregisteredTypesAreLeftOutWithTheirSubtrees)
{
    CTree source(CTestCountedNode::Create());
    CBaseNode* overlay = CTestUnregisteredNode::Create();
    overlay->AppendChild(CTestCountedNode::Create());
    source.Root()->AppendChild(overlay);
    source.Root()->AppendChild(CTestCountedNode::Create());

    CTree copy(CopyTree(source.Root()));
    ASSERT_NE(copy.Root(), nullptr);
    EXPECT_EQ(copy.Root()->Type(), "CTestCountedNode");
    EXPECT_EQ(copy.Root()->GetChildNum(), 1u);
    EXPECT_EQ(CopyTree(overlay), nullptr);
    EXPECT_EQ(CopyTree(nullptr), nullptr);
}

std::string RecordPath()
{
    return testing::TempDir() + "brell-walk-" + testing::UnitTest::GetInstance()->current_test_info()->name();
}

std::string Address(const void* node)
{
    std::ostringstream text;
    text << std::hex << reinterpret_cast<uintptr_t>(node);
    return text.str();
}

TEST(DisplayTree, ListsEachNodeWithMarkersIndentsAndPositions)
{
    StandardTree s;
    CBaseNode* b1 = StandardTree::Named("B1");
    s.b->AppendChild(b1);
    s.a2->SetName("");
    s.a->SetAttributeInt("n", 1);
    const std::string triangle = "\x81\xA5", tee = "\x84\xB0", corner = "\x84\xAF", bar = "\x84\xAB";

    Recording recording(RecordPath());
    DisplayTree(s.tree);
    EXPECT_EQ(recording.Texts(),
              (NameList{
                  triangle + "R(CBaseNode : 0x" + Address(s.r) + ") [ Attribute: 0 ]\n",
                  "  " + tee + "1: A(CBaseNode : 0x" + Address(s.a) + ") [ Attribute: 1 ]\n",
                  "  " + bar + tee + "1: A1(CBaseNode : 0x" + Address(s.a1) + ") [ Attribute: 0 ]\n",
                  "  " + bar + corner + "2: <Noname> (CBaseNode : 0x" + Address(s.a2) + ") [ Attribute: 0 ]\n",
                  "  " + corner + "2: B(CBaseNode : 0x" + Address(s.b) + ") [ Attribute: 0 ]\n",
                  "    " + corner + "1: B1(CBaseNode : 0x" + Address(b1) + ") [ Attribute: 0 ]\n",
              }));
}

TEST(DisplayTree, NamesAreWrittenUnchangedAndNullWritesNothing)
{
    CTree tree(StandardTree::Named("100%s %d"));
    Recording recording(RecordPath());
    DisplayTree(nullptr);
    DisplayTree(tree);
    EXPECT_EQ(recording.Texts(),
              (NameList{"\x81\xA5" "100%s %d(CBaseNode : 0x" + Address(tree.Root()) + ") [ Attribute: 0 ]\n"}));
}

}  // namespace
