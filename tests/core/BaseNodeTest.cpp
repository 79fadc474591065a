#include "core/TestNodes.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Ref.h>
#include <brelldata/core/RefNode.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Records the names of nodes as they are destroyed.
std::vector<std::string> destroyedNames;

class CTestLoggedNode : public CBaseNode {
    BRELL_NODE_TYPE(CTestLoggedNode, CBaseNode)
public:
    ~CTestLoggedNode() override { destroyedNames.push_back(Name()); }
};
BRELL_NODE_TYPE_DEFINE(CTestLoggedNode, CBaseNode)

namespace {

// Holds one reference on a node for the length of a test.
struct Held {
    explicit Held(CBaseNode* node) : node(node) { node->AddRef(); }
    ~Held() { node->Release(); }
    CBaseNode* operator->() const { return node; }
    CBaseNode* node;
};

TEST(TypeIdentity, FollowsTheChainOfBases)
{
    Held cube(CTestCubeNode::Create());
    EXPECT_EQ(cube->Type(), "CTestCubeNode");
    EXPECT_EQ(CTestCubeNode::BaseTypeId(), "CTestBoxNode");
    EXPECT_EQ(CBaseNode::BaseTypeId(), "");
    for (const char* name : {"CTestCubeNode", "CTestBoxNode", "CTestSolidNode", "CTestShapeNode", "CBaseNode"})
        EXPECT_EQ(cube->IsKindOf(name), 1) << name;
    EXPECT_EQ(cube->IsKindOf("cbasenode"), 0);
    EXPECT_EQ(cube->IsKindOf("CRefNode"), 0);
    EXPECT_EQ(cube->IsKindOf(""), 0);

    Held box(CTestBoxNode::Create());
    EXPECT_EQ(box->IsKindOf("CTestCubeNode"), 0);
    EXPECT_EQ(box->IsKindOf("CTestSolidNode"), 1);
}

TEST(ReferenceCounts, NewNodeHasCountZeroAndReleaseDestroysIt)
{
    CBaseNode* node = CBaseNode::Create();
    EXPECT_EQ(node->RefCount(), 0);
    node->Release();  // a node nobody owns is destroyed by one Release

    CBaseNode* owned = CBaseNode::Create();
    owned->AddRef();
    owned->AddRef();
    owned->Release();
    EXPECT_EQ(owned->RefCount(), 1);
    owned->Release();
}

TEST(ReferenceCounts, RefObjectsCountLikeNodes)
{
    struct Tracked : CRef {
        explicit Tracked(bool& gone) : gone(gone) {}
        ~Tracked() override { gone = true; }
        bool& gone;
    };
    bool gone = false;
    CRef* shared = new Tracked(gone);
    shared->AddRef();
    shared->AddRef();
    shared->Release();
    EXPECT_FALSE(gone);
    EXPECT_EQ(shared->RefCount(), 1);
    shared->Release();
    EXPECT_TRUE(gone);
}

TEST(Children, ChildHeldTwiceHasTwoEntriesAndTwoReferences)
{
    Held parent(CBaseNode::Create());
    CBaseNode* child = CBaseNode::Create();
    parent->AppendChild(child);
    parent->AppendChild(child);
    EXPECT_EQ(parent->GetChildNum(), 2u);
    EXPECT_EQ(child->RefCount(), 2);

    EXPECT_EQ(parent->RemoveChild(child, 1), 1);
    EXPECT_EQ(parent->GetChildNum(), 1u);
    EXPECT_EQ(child->RefCount(), 1);
    EXPECT_EQ(parent->GetChild(0), child);
}

TEST(Children, RemoveWithoutReleaseHandsTheReferenceToTheCaller)
{
    Held parent(CBaseNode::Create());
    CBaseNode* first = CBaseNode::Create();
    CBaseNode* second = CBaseNode::Create();
    parent->AppendChild(first);
    parent->AppendChild(second);

    parent->RemoveChild(0u, 0);
    EXPECT_EQ(parent->GetChildNum(), 1u);
    EXPECT_EQ(first->RefCount(), 1);
    first->Release();  // the caller's reference now

    parent->RemoveChild(5u, 1);
    EXPECT_EQ(parent->RemoveChild(first, 1), 0);
    EXPECT_EQ(parent->GetChildNum(), 1u);
    EXPECT_EQ(parent->GetFirstChild(), second);
}

TEST(Children, NodeSharedByTwoParentsOutlivesOne)
{
    Held keeper(CBaseNode::Create());
    CBaseNode* parent = CBaseNode::Create();
    parent->AddRef();
    CBaseNode* shared = CBaseNode::Create();
    shared->SetName("shared");
    parent->AppendChild(shared);
    keeper->AppendChild(shared);
    EXPECT_EQ(shared->RefCount(), 2);

    parent->Release();
    EXPECT_EQ(shared->RefCount(), 1);
    EXPECT_EQ(keeper->GetChild(0)->Name(), "shared");
}


TEST(Children, DestroyingAParentReleasesChildrenLastFirst)
{
    destroyedNames.clear();
    CBaseNode* parent = CTestLoggedNode::Create();
    parent->SetName("parent");
    for (const char* name : {"a", "b", "c"}) {
        CBaseNode* child = CTestLoggedNode::Create();
        child->SetName(name);
        parent->AppendChild(child);
    }
    parent->Release();
    EXPECT_EQ(destroyedNames, (std::vector<std::string>{"parent", "c", "b", "a"}));
}

TEST(Children, InsertChildAcceptsPositionsUpToTheCount)
{
    Held parent(CBaseNode::Create());
    CBaseNode* a = CBaseNode::Create();
    CBaseNode* b = CBaseNode::Create();
    Held c(CBaseNode::Create());
    parent->InsertChild(0, a);
    parent->InsertChild(1, b);  // equal to the count: appends
    parent->InsertChild(0, b);
    EXPECT_EQ(parent->GetChildNum(), 3u);
    EXPECT_EQ(parent->GetChild(0), b);
    EXPECT_EQ(parent->GetChild(1), a);
    EXPECT_EQ(parent->GetChild(2), b);

    parent->InsertChild(4, c.node);  // beyond the count
    parent->InsertChild(0, nullptr);
    EXPECT_EQ(parent->GetChildNum(), 3u);
    EXPECT_EQ(c->RefCount(), 1);
}

TEST(Children, LookupsOutOfRangeGiveNull)
{
    Held leaf(CBaseNode::Create());
    EXPECT_EQ(leaf->GetChild(0), nullptr);
    EXPECT_EQ(leaf->GetFirstChild(), nullptr);
    EXPECT_EQ(leaf->GetLastChild(), nullptr);
    EXPECT_EQ(leaf->ChildIndex(nullptr), -1);
    EXPECT_EQ(leaf->IsChild(leaf.node), 0);
    leaf->AppendChild(nullptr);
    EXPECT_EQ(leaf->GetChildNum(), 0u);

    CBaseNode* child = CBaseNode::Create();
    leaf->AppendChild(child);
    EXPECT_EQ(leaf->GetChild(leaf->GetChildNum()), nullptr);
    EXPECT_EQ(leaf->ChildIndex(child), 0);
    EXPECT_EQ(leaf->IsChild(child), 1);
}

TEST(NodeText, CommentCountsAttributes)
{
    Held node(CBaseNode::Create());
    EXPECT_EQ(node->Comment(), "Attribute: 0");
    node->SetAttributeInt("a", 1);
    node->SetAttributeInt("b", 2);
    EXPECT_EQ(node->Comment(), "Attribute: 2");
    node->SetName(nullptr);
    EXPECT_EQ(node->Name(), "");
    node->Name() = "renamed";
    EXPECT_EQ(node->Name(), "renamed");
}

TEST(NodeCopy, CopyTakesNameAndAttributesButNotChildren)
{
    Held source(CBaseNode::Create());
    Held target(CBaseNode::Create());
    source->SetName("source");
    source->SetAttributeInt("n", 3);
    source->AppendChild(CBaseNode::Create());
    target->SetAttributeInt("old", 1);

    EXPECT_EQ(target->Copy(source.node), 1);
    EXPECT_EQ(target->Name(), "source");
    EXPECT_EQ(target->AttributeNumber(), 1);
    EXPECT_STREQ(target->AttributeName(0), "n");
    EXPECT_EQ(target->GetChildNum(), 0u);
    EXPECT_EQ(target->RefCount(), 1);

    EXPECT_EQ(target->Copy(nullptr), 0);
    EXPECT_EQ(target->Name(), "source");
}

TEST(NodeCopy, CopyConstructionAndAssignmentTakeTheirOwnReferences)
{
    Held source(CBaseNode::Create());
    CBaseNode* child = CBaseNode::Create();
    source->AppendChild(child);
    source->SetAttributeInt("n", 3);
    {
        CBaseNode copy(*source.node);
        EXPECT_EQ(copy.RefCount(), 0);
        EXPECT_EQ(child->RefCount(), 2);
        EXPECT_NE(copy.QueryAttribute("n", nullptr, nullptr), source->QueryAttribute("n", nullptr, nullptr));

        CBaseNode assigned;
        assigned.AppendChild(CBaseNode::Create());
        assigned = copy;
        EXPECT_EQ(child->RefCount(), 3);
        EXPECT_EQ(assigned.GetChild(0), child);
    }
    EXPECT_EQ(child->RefCount(), 1);
}

}  // namespace
