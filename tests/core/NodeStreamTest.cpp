#include "core/TreeFixtures.h"
#include "support/BoundsInForce.h"
#include "support/Bytes.h"

#include <brelldata/core/Block.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/core/RefNode.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace brell::test;

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
    // Each record: its own size, child count, type, name, attribute block size, then the block (count, entries,
    // each with 1 as its reserved word).
    Bytes stream;
    stream.I32(80).I32(2).Str("CBaseNode").Str("R").I32(48).I32(2);
    stream.Attribute("n", 1, VALUE_INT, Bytes().I32(7)).Attribute("w", 1, VALUE_FLOAT, Bytes().F32(0.5f));
    stream.I32(62).I32(0).Str("CBaseNode").Str("A").I32(30).I32(1);
    stream.Attribute("d", 1, VALUE_DOUBLE, Bytes().F64(2.5));
    stream.I32(35).I32(0).Str("CRefNode").Str("B").I32(4).I32(0);
    return {CTree(r), stream};
}

// Reads block under bounds that end after size bytes; the failure, empty when
// the read succeeded.
std::string BoundedRead(Bytes& stream, size_t size, CTree& into)
{
    BoundsInForce inForce(stream.Mutable(), size);
    const brell::BlockBounds& bounds = inForce.bounds;
    into.SetRoot(ReadNode(stream.Mutable()));
    EXPECT_EQ(into.Root() == nullptr, bounds.Failed());
    return bounds.Failed() ? "byte " + std::to_string(bounds.failureOffset) + ": " + bounds.failure : "";
}

TEST_F(MixedTree, StreamsOfUnregisteredTypesAreRefusedLeakingNothing)
{
    std::vector<uint8_t> stream(static_cast<size_t>(SizeOfByte(s.r)));
    ASSERT_EQ(WriteNode(stream.data(), s.r), static_cast<int>(stream.size()));
    const int live = CTestCountedNode::live;
    EXPECT_EQ(ReadNode(stream.data()), nullptr);
    EXPECT_EQ(s.tree.Read(stream.data()), 0);
    EXPECT_EQ(std::tuple(CTestCountedNode::live, s.tree.Root(), s.r->RefCount()), std::tuple(live, s.r, 1));
}

TEST(NodeStreams, HoldExactBytesAndReadBackIntoTreesWritingThemAgain)
{
    auto [source, expected] = TwoLevelTreeAndStream();
    std::vector<uint8_t> block(static_cast<size_t>(source.SizeOfByte()), 0xEE), again(block);
    EXPECT_EQ(source.Write(block.data()), 1);
    EXPECT_EQ(block, expected.Data());
    CTree copy;
    ASSERT_EQ(copy.Read(expected.Mutable()), 1);
    EXPECT_EQ(copy.Root()->RefCount(), 1);  // read with count 0, then held by the tree
    EXPECT_EQ(WriteNode(again.data(), copy.Root()), static_cast<int>(again.size()));
    EXPECT_EQ(again, expected.Data());
}

TEST(BoundedReads, RefuseEveryPrefixWithItsOffset)
{
    Bytes twoLevel = TwoLevelTreeAndStream().second;
    CTree tree;
    for (size_t size = 0; size < twoLevel.Data().size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_NE(BoundedRead(twoLevel, size, tree), "");
    }
    EXPECT_EQ(BoundedRead(twoLevel, 96, tree), "byte 92: a string of 10 bytes runs past the end (4 bytes remain)");
    EXPECT_EQ(BoundedRead(twoLevel, twoLevel.Data().size(), tree), "");
    EXPECT_EQ(tree.Root()->GetChildNum(), 2u);
}

TEST(BoundedReads, RefuseUnknownTypesBadCountsAndOverlongBlocks)
{
    CTree tree;
    struct Case {
        Bytes stream;
        const char* failure;
    };
    Case refused[] = {
        {Bytes().I32(34).I32(0).Str("CNoNode").Str("").I32(4).I32(0), "byte 0: unregistered node type \"CNoNode\""},
        {Bytes().I32(35).I32(-1).Str("CBaseNode").Str("").I32(4).I32(0), "byte 0: a negative child count"},
        {Bytes().I32(35).I32(0).Str("CBaseNode").Str("").I32(40).I32(0),
         "byte 31: a data block of 40 bytes runs past the end (4 bytes remain)"},
        {Bytes().I32(35).I32(0).Str("CBaseNode").Str("").I32(4).I32(2000000000),
         "byte 35: attributes of 2000000000 items of 17 bytes runs past the end (0 bytes remain)"},
    };
    for (Case& c : refused) EXPECT_EQ(BoundedRead(c.stream, c.stream.Data().size(), tree), c.failure);
}

TEST(BoundedReads, TellTheirReportHowFarTheyReadAStepAtATime)
{
    CTree source(Named("R"));
    for (int i = 0; i < 200; ++i) source.Root()->AppendChild(Named("child"));
    std::vector<uint8_t> stream(static_cast<size_t>(source.SizeOfByte()));
    ASSERT_EQ(source.Write(stream.data()), 1);
    BoundsInForce inForce(stream.data(), stream.size());
    brell::BlockBounds& bounds = inForce.bounds;
    bounds.reportStep = 1000;
    std::vector<const unsigned char*> told;
    bounds.ReportReads([](void* list, const unsigned char* reached) {
        static_cast<std::vector<const unsigned char*>*>(list)->push_back(reached);
    }, &told, bounds.begin);
    CTree read(ReadNode(stream.data()));
    ASSERT_EQ(read.Root()->GetChildNum(), 200u);
    ASSERT_EQ(told.size(), stream.size() / 1000);
    for (size_t i = 0; i < told.size(); ++i) {
        EXPECT_GE(told[i], (i == 0 ? bounds.begin : told[i - 1]) + 1000);
        EXPECT_LT(told[i], (i == 0 ? bounds.begin : told[i - 1]) + 1100) << "told after the record that passed the step";
    }
}

}  // namespace
