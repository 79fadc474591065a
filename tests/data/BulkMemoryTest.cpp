// Bulk memory: large blocks sit on 2 MB boundaries and keep their contents
// however they grow, move or shrink; freed large blocks are kept within a
// bound and handed out again.
#include <brelldata/data/BulkMemory.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

namespace {

constexpr size_t kMiB = size_t{1} << 20;

bool OnLargePage(const void* block)
{
    return reinterpret_cast<uintptr_t>(block) % (2 * kMiB) == 0;
}

// Whether the first bytes bytes of block hold the pattern Fill wrote.
bool Holds(const unsigned char* block, size_t bytes)
{
    for (size_t i = 0; i < bytes; ++i) {
        if (block[i] != static_cast<unsigned char>(i * 7 + i / 4096)) return false;
    }
    return true;
}

void Fill(unsigned char* block, size_t bytes)
{
    for (size_t i = 0; i < bytes; ++i) block[i] = static_cast<unsigned char>(i * 7 + i / 4096);
}

TEST(BulkMemory, LargeBlocksKeepTheirContentsAsTheyGrowMoveAndShrink)
{
    auto* block = static_cast<unsigned char*>(brell::AllocateBulk(5 * kMiB));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(OnLargePage(block));
    Fill(block, 5 * kMiB);
    // A block mapped just after it leaves no room to grow in place.
    void* neighbour = brell::AllocateBulk(5 * kMiB);
    block = static_cast<unsigned char*>(brell::ResizeBulk(block, 64 * kMiB));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(OnLargePage(block));
    EXPECT_TRUE(Holds(block, 5 * kMiB));
    block = static_cast<unsigned char*>(brell::ResizeBulk(block, kMiB));
    EXPECT_TRUE(Holds(block, kMiB));
    brell::FreeBulk(block);
    brell::FreeBulk(neighbour);

    // A malloc'ed block that grows past the small sizes is copied into a large one.
    auto* small = static_cast<unsigned char*>(std::malloc(1000));
    Fill(small, 1000);
    auto* grown = static_cast<unsigned char*>(brell::ResizeBulk(small, 6 * kMiB));
    EXPECT_TRUE(OnLargePage(grown));
    EXPECT_TRUE(Holds(grown, 1000));
    brell::FreeBulk(grown);
    brell::FreeBulk(nullptr);
}

// Each test of the kept blocks starts and ends with none kept.
class KeptBulk : public testing::Test {
protected:
    void SetUp() override { brell::ReleaseKeptBulk(); }
    void TearDown() override { brell::ReleaseKeptBulk(); }
};

// The rest of the cut block stays kept beside the part handed out.
TEST_F(KeptBulk, AFreedLargeBlockIsHandedOutAgainCutToTheNewSize)
{
    void* block = brell::AllocateBulk(16 * kMiB);
    brell::FreeBulk(block);
    void* again = brell::AllocateBulk(6 * kMiB);
    EXPECT_EQ(again, block);
    brell::FreeBulk(again);
    EXPECT_EQ(brell::ReleaseKeptBulk(), 16 * kMiB);
}

TEST_F(KeptBulk, TheRestOfACutBlockGoesBackToTheSystemWhenTooShortForALargeBlock)
{
    brell::FreeBulk(brell::AllocateBulk(16 * kMiB));
    void* block = brell::AllocateBulk(14 * kMiB);
    EXPECT_EQ(brell::ReleaseKeptBulk(), 0u);
    brell::FreeBulk(block);
    EXPECT_EQ(brell::ReleaseKeptBulk(), 14 * kMiB);
}

TEST_F(KeptBulk, TheOldestBlocksGoBackToTheSystemBeyondTheBound)
{
    // Never touched, so their pages cost nothing.
    const size_t nearlyHalf = brell::kKeptBulkBound / 2 - 2 * kMiB;
    void* blocks[] = {brell::AllocateBulk(nearlyHalf), brell::AllocateBulk(nearlyHalf),
                      brell::AllocateBulk(nearlyHalf)};
    for (void* block : blocks) brell::FreeBulk(block);
    EXPECT_EQ(brell::ReleaseKeptBulk(), 2 * nearlyHalf);
}

}  // namespace
