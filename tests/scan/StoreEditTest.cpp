#include <brelldata/scan/DataStore.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

// An array holding 0, 1, ..., count - 1.
void Fill(CArrayDataStore<int>& array, int count)
{
    ASSERT_EQ(array.Append(count), 1);
    for (int i = 0; i < count; ++i) array.Element(i) = i;
}

std::vector<int> Contents(const CArrayDataStore<int>& array, int count)
{
    return std::vector<int>(array.Buffer(), array.Buffer() + count);
}

TEST(ArrayEdits, InsertOpensAGapAndKeepsTheOrder)
{
    CArrayDataStore<int> middle, front, beyond;
    Fill(middle, 5);
    Fill(front, 5);
    Fill(beyond, 5);
    ASSERT_EQ(middle.Insert(2, 2), 1);
    ASSERT_EQ(front.Insert(-3, 2), 1);
    ASSERT_EQ(beyond.Insert(10, 2), 1);
    middle.Element(2) = middle.Element(3) = front.Element(0) = front.Element(1) = -1;
    EXPECT_EQ(Contents(middle, 7), (std::vector<int>{0, 1, -1, -1, 2, 3, 4}));
    EXPECT_EQ(Contents(front, 7), (std::vector<int>{-1, -1, 0, 1, 2, 3, 4}));
    EXPECT_EQ(Contents(beyond, 5), (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(ArrayEdits, DeleteRemovesOnlyWhatLiesInTheStore)
{
    CArrayDataStore<int> array;
    Fill(array, 6);
    EXPECT_EQ(array.Delete(1, 2), 1);
    EXPECT_EQ(array.Delete(3, 100), 1);
    EXPECT_EQ(array.Delete(3, 1), 1);
    EXPECT_EQ(array.Delete(-4, 1), 1);
    EXPECT_EQ(array.Delete(0, -2), 1);
    ASSERT_EQ(array.Number(), 2);
    EXPECT_EQ(Contents(array, 2), (std::vector<int>{3, 4}));
}

TEST(MatrixEdits, RowsMoveAsWholes)
{
    CMatrixDataStore<int> matrix;
    matrix.width = 2;
    ASSERT_EQ(matrix.AppendRows(3), 1);
    for (int i = 0; i < 6; ++i) matrix.Buffer()[i] = i;
    ASSERT_EQ(matrix.InsertRows(1, 1), 1);
    matrix.Element(1, 0) = matrix.Element(1, 1) = -1;
    EXPECT_EQ(std::vector<int>(matrix.Buffer(), matrix.Buffer() + 8), (std::vector<int>{0, 1, -1, -1, 2, 3, 4, 5}));
    ASSERT_EQ(matrix.DeleteRows(0, 2), 1);
    EXPECT_EQ(std::vector<int>(matrix.Buffer(), matrix.Buffer() + 4), (std::vector<int>{2, 3, 4, 5}));
    ASSERT_EQ(matrix.InsertRows(5, 1), 1);
    EXPECT_EQ(matrix.height, 6) << "inserting past the height appends the gap";
}

TEST(SpareElement, TakesOutOfRangeAccessAndLeavesTheStoreAlone)
{
    CArrayDataStore<int> array;
    Fill(array, 3);
    EXPECT_EQ(&array.Element(-1), &array.Element(3));
    array.Element(-1) = 99;
    EXPECT_EQ(Contents(array, 3), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(array.ElementPtr(-1), nullptr);
    EXPECT_EQ(array.ElementPtr(3), nullptr);
    EXPECT_EQ(array.ElementPtr(2), array.Buffer() + 2);

    CPolygonDataStore<int> polygons;
    polygons.rows.push_back(CPolygon<int>{{7, 8, 9, 0}, 3});
    EXPECT_EQ(&polygons.Element(0, 3), &polygons.Element(1, 0)) << "slot 3 is past the row's item count";
    EXPECT_EQ(polygons.Element(0, 2), 9);

    CLineDataStore<double> lines;
    lines.lines = {{1.0, 2.0}, {}};
    EXPECT_EQ(&lines.Element(1, 0), &lines.Element(0, 2));
    EXPECT_EQ(lines.Element(0, 1), 2.0);
}

}  // namespace
