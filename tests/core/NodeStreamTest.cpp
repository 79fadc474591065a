#include "core/TreeFixtures.h"
#include "support/Bytes.h"

#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/core/RefNode.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using brell::test::Bytes;
using brell::test::CTestCountedNode;
using brell::test::CTestUnregisteredNode;

// The library writes 1 as the reserved word of an attribute entry with data.
constexpr int32_t kReserved = 1;

std::vector<uint8_t> Written(CBaseNode* node)
{
    std::vector<uint8_t> block(static_cast<size_t>(SizeOfByte(node)), 0xEE);
    EXPECT_EQ(WriteNode(block.data(), node), static_cast<int>(block.size()));
    return block;
}

// R(A, B): R with an int and a string, A with a double, B a reference node.
CBaseNode* TwoLevelTree()
{
    CBaseNode* r = CBaseNode::Create();
    r->SetName("R");
    r->SetAttributeInt("n", 7);
    r->SetAttributeString("s", "hi", 3);
    CBaseNode* a = CBaseNode::Create();
    a->SetName("A");
    a->SetAttributeDouble("d", 2.5);
    CBaseNode* b = CRefNode::Create();
    b->SetName("B");
    static_cast<CRefNode*>(b)->SetRefNode(a);
    r->AppendChild(a);
    r->AppendChild(b);
    return r;
}

Bytes TwoLevelStream()
{
    return Bytes()
        .I32(79).I32(2).Str("CBaseNode").Str("R").I32(47)
        .I32(2)
        .Attribute("n", kReserved, VALUE_INT, Bytes().I32(7))
        .Attribute("s", kReserved, VALUE_STRUCT, Bytes().Raw({'h', 'i', 0}))
        .I32(62).I32(0).Str("CBaseNode").Str("A").I32(30)
        .I32(1)
        .Attribute("d", kReserved, VALUE_DOUBLE, Bytes().F64(2.5))
        .I32(35).I32(0).Str("CRefNode").Str("B").I32(4)
        .I32(0);
}

TEST(NodeStreamFormat, LoneUnnamedBaseNodeIs35Bytes)
{
    CTree holder(CBaseNode::Create());
    Bytes expected = Bytes().I32(35).I32(0).Str("CBaseNode").Str("").I32(4).I32(0);
    EXPECT_EQ(SizeOfByte(holder.Root()), 35);
    EXPECT_EQ(Written(holder.Root()), expected.Data());
}

TEST(NodeStreamFormat, TwoLevelTreeIsEachRecordFollowedByItsChildren)
{
    CTree holder(TwoLevelTree());
    EXPECT_EQ(SizeOfByte(holder.Root()), 79 + 62 + 35);
    EXPECT_EQ(Written(holder.Root()), TwoLevelStream().Data());
}

TEST(NodeStreamRoundTrip, ReadingBuildsTheTreeThatWritesTheSameBytes)
{
    Bytes stream = TwoLevelStream();
    CTree copy(ReadNode(stream.Mutable()));
    CBaseNode* r = copy.Root();
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->RefCount(), 1);
    ASSERT_EQ(r->GetChildNum(), 2u);
    EXPECT_EQ(r->GetChild(0)->RefCount(), 1);
    EXPECT_EQ(r->GetChild(1)->Type(), "CRefNode");
    double d = 0;
    EXPECT_EQ(r->GetChild(0)->QueryAttributeDouble("d", d), 1);
    EXPECT_EQ(d, 2.5);
    EXPECT_EQ(static_cast<CRefNode*>(r->GetChild(1))->Reference(), nullptr);

    EXPECT_EQ(Written(r), stream.Data());
}

TEST(NodeStreamRoundTrip, ChildrenAreFoundByMeasuringNotByStoredRecordSizes)
{
    Bytes stream = TwoLevelStream();
    uint8_t* bytes = stream.Mutable();
    for (size_t record : {size_t{0}, size_t{79}, size_t{79 + 62}}) bytes[record] = 0xFF;
    CTree copy(ReadNode(bytes));
    ASSERT_NE(copy.Root(), nullptr);
    EXPECT_EQ(copy.Root()->GetLastChild()->Name(), "B");
}

TEST(NodeStreamRoundTrip, NegativeChildCountReadsAsALeaf)
{
    Bytes stream = Bytes().I32(35).I32(-2).Str("CBaseNode").Str("").I32(4).I32(0);
    CTree copy(ReadNode(stream.Mutable()));
    ASSERT_NE(copy.Root(), nullptr);
    EXPECT_EQ(copy.Root()->GetChildNum(), 0u);
}

TEST(NodeStreamRoundTrip, TypeNameStoredWithoutItsZeroByteEndsAtItsLength)
{
    Bytes stream = Bytes().I32(0).I32(0).I32(8).Raw({'C', 'R', 'e', 'f', 'N', 'o', 'd', 'e'}).Str("x").I32(4).I32(0);
    CTree copy(ReadNode(stream.Mutable()));
    ASSERT_NE(copy.Root(), nullptr);
    EXPECT_EQ(copy.Root()->Type(), "CRefNode");
    EXPECT_EQ(copy.Root()->Name(), "x");
}

class NodeStreamFailures : public testing::Test {
protected:
    void SetUp() override { RegisterNodeType("CTestCountedNode", &CTestCountedNode::Create); }
    void TearDown() override { UnRegisterNodeType("CTestCountedNode"); }
};

TEST_F(NodeStreamFailures, UnregisteredTypeBelowTheTopFailsTheWholeReadAndLeavesNothing)
{
    CTree source(CTestCountedNode::Create());
    CBaseNode* first = CTestCountedNode::Create();
    first->AppendChild(CTestCountedNode::Create());
    source.Root()->AppendChild(first);
    first->AppendChild(CTestUnregisteredNode::Create());
    source.Root()->AppendChild(CTestCountedNode::Create());
    std::vector<uint8_t> stream = Written(source.Root());

    const int live = CTestCountedNode::live;
    EXPECT_EQ(ReadNode(stream.data()), nullptr);
    EXPECT_EQ(CTestCountedNode::live, live);

    first->RemoveChild(first->GetLastChild(), 1);
    stream = Written(source.Root());
    CTree copy(ReadNode(stream.data()));
    EXPECT_EQ(CTestCountedNode::live, live + 4);
}

TEST(NodeStreamArguments, NullBlockOrNodeWritesAndReadsNothing)
{
    CTree holder(CBaseNode::Create());
    uint8_t block[64];
    EXPECT_EQ(SizeOfByte(nullptr), 0);
    EXPECT_EQ(WriteNode(nullptr, holder.Root()), 0);
    EXPECT_EQ(WriteNode(block, nullptr), 0);
    EXPECT_EQ(ReadNode(nullptr), nullptr);
}

}  // namespace
