#include "scan/ScanFixtures.h"
#include "support/Held.h"

#include <brelldata/core/Block.h>
#include <brelldata/core/NodeStream.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace brell::test;

// A model whose block passes 2 GB.
constexpr int kModelVerticesPast2GB = 90'000'000;

TEST(SizeLimits, StoresAndNodesPast2GBReportTheirSizeAsTooLarge)
{
    Held<CModelNode> model(UntouchedModel(kModelVerticesPast2GB));
    EXPECT_EQ(model->vertices->SizeOfByte(), brell::kSizeTooLarge);
    EXPECT_EQ(model->SizeOfByte(), brell::kSizeTooLarge) << "the node's block holds the store's";
}

// Each node alone fits; the stream of both does not.
TEST(SizeLimits, StreamsPast2GBMeasureZeroAndWriteNothing)
{
    for (bool eachFits : {false, true}) {
        const int vertices = eachFits ? kModelVerticesPast2GB / 2 : kModelVerticesPast2GB;
        Held<CBaseNode> root(CBaseNode::Create());
        root->AppendChild(UntouchedModel(vertices));
        root->AppendChild(UntouchedModel(vertices));
        std::vector<unsigned char> block(64, 0xAB);
        EXPECT_EQ(SizeOfByte(root.node), 0) << eachFits;
        EXPECT_EQ(WriteNode(block.data(), root.node), 0) << eachFits;
        EXPECT_EQ(block, std::vector<unsigned char>(64, 0xAB)) << eachFits;
    }
}

}  // namespace
