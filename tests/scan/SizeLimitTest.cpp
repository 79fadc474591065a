#include "scan/ScanFixtures.h"
#include "support/Held.h"

#include <brelldata/core/Block.h>
#include <brelldata/core/NodeStream.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace brell::test;

// Stores of scan size whose blocks pass 2 GB: reserved and counted, their
// pages never touched (bulk blocks are mapped, so they cost nothing).
constexpr int kModelVerticesPast2GB = 90'000'000;

CModelNode* ModelOf(int vertices)
{
    auto* model = static_cast<CModelNode*>(CModelNode::Create());
    model->vertices->Reserve(vertices);
    model->vertices->Number() = vertices;
    return model;
}

TEST(SizeLimits, StoresAndNodesPast2GBReportTheirSizeAsTooLarge)
{
    Held<CModelNode> model(ModelOf(kModelVerticesPast2GB));
    EXPECT_EQ(model->vertices->SizeOfByte(), brell::kSizeTooLarge);
    EXPECT_EQ(model->SizeOfByte(), brell::kSizeTooLarge) << "the node's block holds the store's";
}

// Each node alone fits; the stream of both does not.
TEST(SizeLimits, StreamsPast2GBMeasureZeroAndWriteNothing)
{
    for (bool eachFits : {false, true}) {
        const int vertices = eachFits ? kModelVerticesPast2GB / 2 : kModelVerticesPast2GB;
        Held<CBaseNode> root(CBaseNode::Create());
        root->AppendChild(ModelOf(vertices));
        root->AppendChild(ModelOf(vertices));
        std::vector<unsigned char> block(64, 0xAB);
        EXPECT_EQ(SizeOfByte(root.node), 0) << eachFits;
        EXPECT_EQ(WriteNode(block.data(), root.node), 0) << eachFits;
        EXPECT_EQ(block, std::vector<unsigned char>(64, 0xAB)) << eachFits;
    }
}

}  // namespace
