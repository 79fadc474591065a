#include <brelldata/core/RefNode.h>

#include <gtest/gtest.h>

#include <cstdio>

namespace {

TEST(RefNode, ChainsOfReferencesResolveToTheNodeFinallyMeantWithoutCounting)
{
    CBaseNode* target = CBaseNode::Create();
    target->AddRef();
    CRefNode second, first;
    EXPECT_EQ(first.Reference(), nullptr);
    EXPECT_EQ(first.Comment(), "Reference node: 0");

    second.SetRefNode(target);
    first.SetRefNode(&second);
    EXPECT_EQ(first.Reference(), target);
    EXPECT_EQ(second.Reference(), target);
    char expected[48];
    std::snprintf(expected, sizeof expected, "Reference node: %lx", reinterpret_cast<unsigned long>(&second));
    EXPECT_EQ(first.Comment(), expected);
    EXPECT_EQ(target->RefCount(), 1);
    target->Release();
}

TEST(RefNode, CopyTakesTheTargetOnlyFromReferenceNodes)
{
    CBaseNode a, b, plain;
    CRefNode source, target;
    source.SetName("source");
    source.SetAttributeInt("k", 1);
    source.SetRefNode(&a);
    target.SetRefNode(&b);
    EXPECT_EQ(target.Copy(&source), 1);
    EXPECT_EQ(target.Reference(), &a);
    EXPECT_EQ(target.Name(), "source");
    EXPECT_EQ(target.AttributeNumber(), 1);

    plain.SetName("plain");
    target.SetRefNode(&b);
    EXPECT_EQ(target.Copy(&plain), 1);
    EXPECT_EQ(target.Reference(), &b);
    EXPECT_EQ(target.Name(), "plain");
    EXPECT_EQ(target.AttributeNumber(), 0);
}

}  // namespace
