#include <brelldata/scan/DataStore.h>
#include <brelldata/scan/Records.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

template <class Store>
Bytes WriteBlock(const Store& store)
{
    Bytes block(static_cast<size_t>(store.SizeOfByte()));
    EXPECT_EQ(store.Write(block.data()), 1);
    return block;
}

// Reading a block into a store that held other data and writing the store
// again gives the same bytes.
template <class Store>
void ExpectReadsBack(Store& store, const Bytes& block)
{
    ASSERT_EQ(store.Read(block.data()), 1);
    EXPECT_EQ(WriteBlock(store), block);
}

TEST(StoreBlocks, ArrayIsItsCountThenItsItems)
{
    CArrayDataStore<int> array;
    ASSERT_EQ(array.Append(3), 1);
    array.Element(0) = 1;
    array.Element(1) = -2;
    array.Element(2) = 0x01020304;
    const Bytes expected = {3, 0, 0, 0, 1, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 4, 3, 2, 1};
    EXPECT_EQ(WriteBlock(array), expected);

    CArrayDataStore<int> read;
    ASSERT_EQ(read.Append(700), 1);
    ExpectReadsBack(read, expected);
}

TEST(StoreBlocks, MatrixStoresItsHeightBeforeItsWidth)
{
    CMatrixDataStore<RGBA> image;
    image.width = 3;
    ASSERT_EQ(image.AppendRows(2), 1);
    for (int i = 0; i < 6; ++i) image.Buffer()[i] = RGBA{uint8_t(i), 0x10, 0x20, 0xFF};
    const Bytes expected = {2, 0, 0, 0, 3, 0, 0, 0,
                            0, 0x10, 0x20, 0xFF, 1, 0x10, 0x20, 0xFF, 2, 0x10, 0x20, 0xFF,
                            3, 0x10, 0x20, 0xFF, 4, 0x10, 0x20, 0xFF, 5, 0x10, 0x20, 0xFF};
    EXPECT_EQ(WriteBlock(image), expected);

    CMatrixDataStore<RGBA> read;
    ASSERT_EQ(read.AppendRows(700), 1);
    ExpectReadsBack(read, expected);
}

TEST(StoreBlocks, PolygonRowsCarryTheirOwnItemCounts)
{
    CPolygonDataStore<int> polygons;
    polygons.rows = {{{7, 8, 9, 0}, 3}, {{1, 2, 3, 4}, 4}, {{0, 0, 0, 0}, 0}};
    const Bytes expected = {3, 0, 0, 0,
                            3, 0, 0, 0, 7, 0, 0, 0, 8, 0, 0, 0, 9, 0, 0, 0,
                            4, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0,
                            0, 0, 0, 0};
    EXPECT_EQ(WriteBlock(polygons), expected);

    CPolygonDataStore<int> read;
    read.rows.resize(10);
    ExpectReadsBack(read, expected);
}

TEST(StoreBlocks, LinesCarryTheirOwnItemCounts)
{
    CLineDataStore<CVector_3<double>> lines;
    lines.lines = {{{1.0, 2.0, 0.5}}, {}};
    const Bytes expected = {2, 0, 0, 0,
                            1, 0, 0, 0,
                            0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0, 0, 0, 0, 0, 0, 0, 0x40, 0, 0, 0, 0, 0, 0, 0xE0, 0x3F,
                            0, 0, 0, 0};
    EXPECT_EQ(WriteBlock(lines), expected);

    CLineDataStore<CVector_3<double>> read;
    read.lines.resize(4);
    ExpectReadsBack(read, expected);
}

TEST(StoreBlocks, BadBlocksAreRejectedWithTheStoreUnchanged)
{
    CArrayDataStore<int> array;
    CMatrixDataStore<int> matrix;
    CPolygonDataStore<int> polygons;
    CLineDataStore<int> lines;
    EXPECT_EQ(array.Read(nullptr) + matrix.Read(nullptr) + polygons.Read(nullptr) + lines.Read(nullptr), 0);

    const Bytes negativeCount = {0xFF, 0xFF, 0xFF, 0xFF, 3, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(array.Read(negativeCount.data()), 0);
    EXPECT_EQ(matrix.Read(negativeCount.data()), 0);
    EXPECT_EQ(lines.Read(negativeCount.data()), 0);
    EXPECT_EQ(matrix.width, 1);

    polygons.rows.resize(2);
    const Bytes fiveCorners = {1, 0, 0, 0, 5, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 5, 0, 0, 0};
    EXPECT_EQ(polygons.Read(fiveCorners.data()), 0);
    EXPECT_EQ(polygons.Number(), 2);
}

}  // namespace
