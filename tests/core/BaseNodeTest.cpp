#include "core/TreeFixtures.h"
#include "diag/Recording.h"
#include "support/Held.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/RefNode.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace brell::test;

NameList& destroyed = CTestCountedNode::destroyed;

CBaseNode* Logged(const char* name)
{
    return Named(name, CTestCountedNode::Create());
}

TEST(BaseNode, IsKindOfEachBaseByExactName)
{
    Held cube(CTestCubeNode::Create());
    for (const char* name : {"CTestCubeNode", "CTestBoxNode", "CTestShapeNode", "CBaseNode"})
        EXPECT_EQ(cube->IsKindOf(name), 1) << name;
    for (const char* name : {"cbasenode", "CTestCube", ""}) EXPECT_EQ(cube->IsKindOf(name), 0) << name;
    EXPECT_EQ(Held(CTestBoxNode::Create())->IsKindOf("CTestCubeNode"), 0);
}

TEST(BaseNode, ReleaseBelowOneDestroysIt)
{
    destroyed.clear();
    Logged("unowned")->Release();
    CBaseNode* owned = Logged("owned");
    owned->AddRef();
    owned->AddRef();
    owned->Release();
    EXPECT_EQ(destroyed, NameList{"unowned"});
    owned->Release();
    EXPECT_EQ(destroyed.back(), "owned");
}

TEST(BaseNodeChildren, AreReleasedLastFirstAndSharedOnesSurvive)
{
    destroyed.clear();
    Held keeper(CBaseNode::Create());
    CBaseNode* parent = Logged("parent");
    for (const char* name : {"a", "b", "c"}) parent->AppendChild(Logged(name));
    keeper->AppendChild(parent->GetChild(1));
    parent->Release();
    EXPECT_EQ(destroyed, (NameList{"parent", "c", "a"}));
    EXPECT_EQ(keeper->GetChild(0)->RefCount(), 1);
}

// Null is ignored.
TEST(BaseNodeChildren, AreRemovedAndInsertedByPosition)
{
    Held holder(CBaseNode::Create());
    CBaseNode* child = CBaseNode::Create();
    CBaseNode* last = CBaseNode::Create();
    holder->InsertChild(0, child);
    holder->AppendChild(child);
    holder->AppendChild(last);
    EXPECT_EQ(child->RefCount(), 2);
    EXPECT_EQ(holder->RemoveChild(child, 1), 1);
    EXPECT_EQ(std::tuple(child->RefCount(), holder->ChildIndex(child)), std::tuple(1, 0));
    holder->RemoveChild(0u, 0);  // without release the reference is the caller's
    EXPECT_EQ(child->RefCount(), 1);
    EXPECT_EQ(holder->RemoveChild(child, 1), 0);
    holder->RemoveChild(5u, 1);
    EXPECT_EQ(holder->GetChildNum(), 1u);
    child->Release();

    CBaseNode* b = CBaseNode::Create();
    Held outsider(CBaseNode::Create());
    holder->InsertChild(1, b);  // equal to the count: appends
    holder->InsertChild(0, b);
    holder->InsertChild(4, outsider.node);
    holder->InsertChild(0, nullptr);
    holder->AppendChild(nullptr);
    EXPECT_EQ((std::vector<CBaseNode*>{holder->GetFirstChild(), holder->GetChild(1), holder->GetLastChild(),
                                       holder->GetChild(3)}),
              (std::vector<CBaseNode*>{b, last, b, nullptr}));
    EXPECT_EQ(std::tuple(outsider->RefCount(), holder->ChildIndex(nullptr), holder->IsChild(outsider.node)),
              std::tuple(1, -1, 0));
    EXPECT_EQ(outsider->GetLastChild(), nullptr);
}

TEST(NodeRegistry, CreatesTypesByExactNameWithCountZero)
{
    CBaseNode* node = CreateNode("CRefNode");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(std::tuple(node->Type(), node->RefCount()), std::tuple("CRefNode", 0));
    node->Release();
    for (const char* name : {"crefnode", "CTestCubeNode", ""}) EXPECT_EQ(CreateNode(name), nullptr) << name;
}

TEST(NodeRegistry, KeepsTheFirstFactoryAndTracesEachRegistration)
{
    Recording recording(testing::TempDir() + "brell-registry-trace");
    RegisterNodeType("CTestCubeNode", &CTestCubeNode::Create);
    RegisterNodeType("CBaseNode", &CTestCubeNode::Create);  // the first factory stays
    RegisterNodeType("CTestNullNode", []() -> CBaseNode* { return nullptr; });
    CBaseNode* made = CreateNode("CTestCubeNode");
    CBaseNode* base = CreateNode("CBaseNode");
    EXPECT_EQ(std::tuple(made->Type(), base->Type()), std::tuple("CTestCubeNode", "CBaseNode"));
    EXPECT_EQ(CreateNode("CTestNullNode"), nullptr);
    made->Release();
    base->Release();

    UnRegisterNodeType("CTestCubeNode");
    UnRegisterNodeType("CTestNullNode");
    UnRegisterNodeType("CTestNeverRegistered");
    EXPECT_EQ(CreateNode("CTestCubeNode"), nullptr);
    EXPECT_EQ(recording.Texts(),
              (std::vector<std::string>{"Register node type CTestCubeNode\n", "Register node type CBaseNode\n",
                                        "Register node type CTestNullNode\n", "Unregister node type CTestCubeNode\n",
                                        "Unregister node type CTestNullNode\n",
                                        "Unregister node type CTestNeverRegistered\n"}));
}

TEST(BaseNode, CopyTakesNameAndAttributesButNotChildrenOrCount)
{
    Held source(CBaseNode::Create()), target(CBaseNode::Create());
    CBaseNode* sourceChild = CBaseNode::Create();
    source->SetName("source");
    source->SetAttributeInt("n", 3);
    source->AppendChild(sourceChild);
    target->SetAttributeInt("old", 1);

    EXPECT_EQ(target->Copy(source.node), 1);
    EXPECT_EQ(target->Name(), "source");
    EXPECT_STREQ(target->AttributeName(0), "n");
    EXPECT_EQ(std::tuple(target->Comment(), target->GetChildNum(), target->RefCount()),
              std::tuple("Attribute: 1", 0u, 1));
    EXPECT_EQ(target->Copy(nullptr) + target->CopyAttribute(nullptr), 0);
    EXPECT_EQ(target->AttributeNumber(), 1);
    target->SetName(nullptr);
    EXPECT_EQ(target->Name(), "");

    {
        CBaseNode copy(*source.node);
        EXPECT_EQ(std::tuple(copy.RefCount(), sourceChild->RefCount()), std::tuple(0, 2));
        EXPECT_NE(copy.QueryAttribute("n", nullptr, nullptr), source->QueryAttribute("n", nullptr, nullptr));
        CBaseNode assigned;
        assigned.AppendChild(CBaseNode::Create());
        assigned = copy;
        EXPECT_EQ(sourceChild->RefCount(), 3);
    }
    EXPECT_EQ(sourceChild->RefCount(), 1);
}

TEST(ReferenceNodes, ResolveChainsToTheNodeFinallyMeantWithoutCounting)
{
    CBaseNode* referred = CBaseNode::Create();
    referred->AddRef();
    CRefNode second, first;
    EXPECT_EQ(std::tuple(first.Reference(), first.Comment()), std::tuple(nullptr, "Reference node: 0"));

    second.SetRefNode(referred);
    first.SetRefNode(&second);
    EXPECT_EQ(std::tuple(first.Reference(), second.Reference()), std::tuple(referred, referred));
    char expected[48];
    std::snprintf(expected, sizeof expected, "Reference node: %lx", reinterpret_cast<unsigned long>(&second));
    EXPECT_EQ(std::tuple(first.Comment(), referred->RefCount()), std::tuple(expected, 1));
    referred->Release();
}

TEST(ReferenceNodes, CopyTheReferenceOnlyFromAReferenceNode)
{
    CBaseNode targetA, targetB, plain;
    CRefNode refSource, refCopy;
    refSource.SetName("source");
    refSource.SetAttributeInt("k", 1);
    refSource.SetRefNode(&targetA);
    refCopy.SetRefNode(&targetB);
    EXPECT_EQ(refCopy.Copy(&refSource), 1);
    EXPECT_EQ(std::tuple(refCopy.Reference(), refCopy.Name(), refCopy.AttributeNumber()),
              std::tuple(&targetA, "source", 1));

    plain.SetName("plain");
    refCopy.SetRefNode(&targetB);
    EXPECT_EQ(refCopy.Copy(&plain), 1);
    EXPECT_EQ(std::tuple(refCopy.Reference(), refCopy.Name(), refCopy.AttributeNumber()),
              std::tuple(&targetB, "plain", 0));
}

}  // namespace
