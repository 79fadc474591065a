#include <brelldata/core/RefNode.h>

#include <gtest/gtest.h>

#include <cstdio>

namespace {

std::string HexComment(const void* target)
{
    char text[48];
    std::snprintf(text, sizeof text, "Reference node: %lx", reinterpret_cast<unsigned long>(target));
    return text;
}

TEST(RefNode, NewNodeRefersToNothing)
{
    CRefNode node;
    EXPECT_EQ(node.Reference(), nullptr);
    EXPECT_EQ(node.Comment(), "Reference node: 0");
    EXPECT_EQ(node.Type(), "CRefNode");
    EXPECT_EQ(CRefNode::BaseTypeId(), "CBaseNode");
    EXPECT_EQ(node.IsKindOf("CBaseNode"), 1);
}

TEST(RefNode, ChainsResolveToTheNodeFinallyMeant)
{
    CBaseNode target;
    CRefNode second, first;
    second.SetRefNode(&target);
    first.SetRefNode(&second);
    EXPECT_EQ(first.Reference(), &target);
    EXPECT_EQ(second.Reference(), &target);
    EXPECT_EQ(first.Comment(), HexComment(&second));
}

TEST(RefNode, TargetIsNeverCounted)
{
    CBaseNode* target = CBaseNode::Create();
    target->AddRef();
    {
        CRefNode* reference = static_cast<CRefNode*>(CRefNode::Create());
        reference->SetRefNode(target);
        EXPECT_EQ(target->RefCount(), 1);
        reference->SetRefNode(nullptr);
        reference->SetRefNode(target);
        reference->Release();
    }
    EXPECT_EQ(target->RefCount(), 1);
    target->Release();
}

TEST(RefNode, CopyTakesTheTargetOnlyFromReferenceNodes)
{
    CBaseNode a, b;
    CRefNode source, target;
    source.SetName("source");
    source.SetAttributeInt("k", 1);
    source.SetRefNode(&a);
    target.SetRefNode(&b);
    EXPECT_EQ(target.Copy(&source), 1);
    EXPECT_EQ(target.Reference(), &a);
    EXPECT_EQ(target.Name(), "source");
    EXPECT_EQ(target.AttributeNumber(), 1);

    CBaseNode plain;
    plain.SetName("plain");
    target.SetRefNode(&b);
    EXPECT_EQ(target.Copy(&plain), 1);
    EXPECT_EQ(target.Reference(), &b);
    EXPECT_EQ(target.Name(), "plain");
    EXPECT_EQ(target.AttributeNumber(), 0);
    EXPECT_EQ(target.Copy(nullptr), 0);
}

}  // namespace
