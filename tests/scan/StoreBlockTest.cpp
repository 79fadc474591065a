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
    ASSERT_EQ(read.Read(expected.data()), 1);
    ASSERT_EQ(read.Number(), 3);
    EXPECT_EQ(read.Element(1), -2);
    EXPECT_EQ(read.Element(2), 0x01020304);
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
    ASSERT_EQ(read.Read(expected.data()), 1);
    EXPECT_EQ(read.width, 3);
    EXPECT_EQ(read.height, 2);
    EXPECT_EQ(read.Element(1, 2).r, 5);
    EXPECT_EQ(read.Element(1, 2).a, 0xFF);
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
    ASSERT_EQ(read.Read(expected.data()), 1);
    ASSERT_EQ(read.Number(), 3);
    EXPECT_EQ(read.rows[0].count, 3);
    EXPECT_EQ(read.Element(0, 2), 9);
    EXPECT_EQ(read.Element(1, 3), 4);
    EXPECT_EQ(read.rows[2].count, 0);
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
    ASSERT_EQ(read.Read(expected.data()), 1);
    ASSERT_EQ(read.Number(), 2);
    ASSERT_EQ(read.lines[0].size(), 1u);
    EXPECT_EQ(read.lines[0][0].y, 2.0);
    EXPECT_TRUE(read.lines[1].empty());
}

TEST(StoreBlocks, BadBlocksAreRejectedWithTheStoreUnchanged)
{
    CArrayDataStore<int> array;
    CMatrixDataStore<int> matrix;
    CPolygonDataStore<int> polygons;
    CLineDataStore<int> lines;
    EXPECT_EQ(array.Read(nullptr), 0);
    EXPECT_EQ(matrix.Read(nullptr), 0);
    EXPECT_EQ(polygons.Read(nullptr), 0);
    EXPECT_EQ(lines.Read(nullptr), 0);
    EXPECT_EQ(array.Write(nullptr), 0);
    EXPECT_EQ(matrix.Write(nullptr), 0);
    EXPECT_EQ(polygons.Write(nullptr), 0);
    EXPECT_EQ(lines.Write(nullptr), 0);

    const Bytes negativeCount = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0};
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
