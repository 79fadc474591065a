#include "core/TreeFixtures.h"
#include "support/Bytes.h"

#include <brelldata/core/NodeStream.h>
#include <brelldata/core/RefNode.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace {

using namespace brell::test;

// The library writes 1 as the reserved word of an attribute entry with data.
constexpr int32_t kReserved = 1;

// R(A, B): R with an int and a float, A with a double, B a reference node;
// with the stream it writes, built by hand.
std::pair<CTree, Bytes> TwoLevelTreeAndStream()
{
    CBaseNode* r = Named("R");
    r->SetAttributeInt("n", 7);
    r->SetAttributeFloat("w", 0.5f);
    CBaseNode* a = Named("A");
    a->SetAttributeDouble("d", 2.5);
    r->AppendChild(a);
    r->AppendChild(Named("B", CRefNode::Create()));
    static_cast<CRefNode*>(r->GetChild(1))->SetRefNode(a);
    return {CTree(r),
            Bytes()
                .I32(80)
                .I32(2)
                .Str("CBaseNode")
                .Str("R")
                .I32(48)
                .I32(2)  // then the two attributes
                .Attribute("n", kReserved, VALUE_INT, Bytes().I32(7))
                .Attribute("w", kReserved, VALUE_FLOAT, Bytes().F32(0.5f))
                .I32(62)
                .I32(0)
                .Str("CBaseNode")
                .Str("A")
                .I32(30)
                .I32(1)
                .Attribute("d", kReserved, VALUE_DOUBLE, Bytes().F64(2.5))
                .I32(35)
                .I32(0)
                .Str("CRefNode")
                .Str("B")
                .I32(4)
                .I32(0)};
}

TEST(NodeStream, TreesWriteTheseExactBytesAndReadBackIntoTreesThatWriteThemAgain)
{
    std::pair<CTree, Bytes> cases[] = {
        {CTree(CBaseNode::Create()), Bytes().I32(35).I32(0).Str("CBaseNode").Str("").I32(4).I32(0)},
        TwoLevelTreeAndStream(),
    };
    for (auto& [source, expected] : cases) {
        std::vector<uint8_t> block(static_cast<size_t>(source.SizeOfByte()), 0xEE), again(block);
        EXPECT_EQ(source.Write(block.data()), 1);
        EXPECT_EQ(block, expected.Data());
        CTree copy;
        ASSERT_EQ(copy.Read(expected.Mutable()), 1);
        EXPECT_EQ(copy.Root()->RefCount(), 1);  // read with count 0, then held by the tree
        EXPECT_EQ(WriteNode(again.data(), copy.Root()), static_cast<int>(again.size()));
        EXPECT_EQ(again, expected.Data());
    }
}

TEST_F(MixedTree, UnregisteredTypeBelowTheTopFailsTheReadLeakingNothingAndKeepingTheOldRoot)
{
    std::vector<uint8_t> stream(static_cast<size_t>(SizeOfByte(s.r)));
    ASSERT_EQ(WriteNode(stream.data(), s.r), static_cast<int>(stream.size()));
    const int live = CTestCountedNode::live;
    EXPECT_EQ(ReadNode(stream.data()), nullptr);
    EXPECT_EQ(s.tree.Read(stream.data()), 0);
    EXPECT_EQ(CTestCountedNode::live, live);
    EXPECT_EQ(s.tree.Root(), s.r);
    EXPECT_EQ(s.r->RefCount(), 1);
}

}  // namespace
