#include <brelldata/scan/DataStore.h>
#include <brelldata/scan/Records.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>

namespace {

struct CapacityCase {
    const char* rule;
    int initialCount;
    std::function<int(CArrayDataStore<int>&)> operation;
    int expectedCount;
    int expectedCapacity;
};

TEST(ArrayCapacity, FollowsTheGrowthAndShrinkRules)
{
    const CapacityCase cases[] = {
        {"reserving 1 on an empty array gives 512", 0, [](auto& a) { return a.Reserve(1); }, 0, 512},
        {"reserving 513 gives 1024", 0, [](auto& a) { return a.Reserve(513); }, 0, 1024},
        {"reserving 0 changes nothing", 0, [](auto& a) { return a.Reserve(0); }, 0, 0},
        {"reserving a negative count changes nothing", 0, [](auto& a) { return a.Reserve(-7); }, 0, 0},
        {"appending one past a full buffer adds a step", 512, [](auto& a) { return a.Append(1); }, 513, 1024},
        {"inserting past the end appends the gap", 5, [](auto& a) { return a.Insert(10, 2); }, 12, 512},
        {"inserting far past the end grows to the gap", 5, [](auto& a) { return a.Insert(1000, 1); }, 1001, 1024},
        {"deleting to 1024 of 5120 keeps the buffer (4096 spare)", 5120, [](auto& a) { return a.Delete(1024, 5000); }, 1024, 5120},
        {"deleting to 1023 of 5120 shrinks to 1024 (4097 spare)", 5120, [](auto& a) { return a.Delete(1023, 5000); }, 1023, 1024},
        {"deleting to 1025 of 5200 shrinks to 1088", 5200, [](auto& a) { return a.Delete(1025, 5000); }, 1025, 1088},
        {"deleting everything shrinks to 64", 5120, [](auto& a) { return a.Delete(0, 5120); }, 0, 64},
    };
    for (const CapacityCase& c : cases) {
        SCOPED_TRACE(c.rule);
        CArrayDataStore<int> array;
        ASSERT_EQ(array.Append(c.initialCount), 1);
        EXPECT_EQ(c.operation(array), 1);
        EXPECT_EQ(array.Number(), c.expectedCount);
        EXPECT_EQ(array.Capacity(), c.expectedCapacity);
    }
}

TEST(MatrixCapacity, GrowsByWholeStepsOfZeroedRows)
{
    CMatrixDataStore<int> matrix;
    EXPECT_EQ(matrix.width, 1);
    EXPECT_EQ(matrix.height, 0);
    matrix.width = 3;
    ASSERT_EQ(matrix.AppendRows(3), 1);
    EXPECT_EQ(matrix.Capacity(), 3072);
    EXPECT_EQ(matrix.height, 3);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(matrix.Buffer()[i], 0) << "element " << i;

    matrix.Element(1500, 1) = 42;
    EXPECT_EQ(matrix.height, 3) << "an element past the height reserves room without raising it";
    EXPECT_EQ(matrix.Capacity(), 2048 * 3);
    ASSERT_EQ(matrix.AppendRows(1498), 1);
    EXPECT_EQ(matrix.Element(1500, 1), 42);
    EXPECT_EQ(matrix.Element(1500, 0), 0);
}

TEST(MatrixCapacity, ShrinksToWholeStepsOf64RowsWithNoMinimum)
{
    CMatrixDataStore<int> matrix;
    matrix.width = 3;
    ASSERT_EQ(matrix.AppendRows(2000), 1);
    ASSERT_EQ(matrix.Capacity(), 6144);
    EXPECT_EQ(matrix.DeleteRows(683, 10000), 1);
    EXPECT_EQ(matrix.Capacity(), 6144) << "4095 spare elements";
    EXPECT_EQ(matrix.DeleteRows(682, 1), 1);
    EXPECT_EQ(matrix.height, 682);
    EXPECT_EQ(matrix.Capacity(), 704 * 3) << "4098 spare elements";

    CMatrixDataStore<int> emptied;
    emptied.width = 3;
    ASSERT_EQ(emptied.AppendRows(2000), 1);
    EXPECT_EQ(emptied.DeleteRows(0, 2000), 1);
    EXPECT_EQ(emptied.Capacity(), 0);
    EXPECT_EQ(emptied.Buffer(), nullptr);
}

// Requests too large for a 32-bit capacity fail without touching the store;
// 2^31 one-byte elements would be allocated if nothing stopped them.
TEST(AllocationFailure, LeavesTheArrayUnchangedAndReturnsZero)
{
    CArrayDataStore<uint8_t> bytes;
    EXPECT_EQ(bytes.Reserve(INT_MAX), 0);
    EXPECT_EQ(bytes.Capacity(), 0);

    CArrayDataStore<VERTEX> vertices;
    ASSERT_EQ(vertices.Append(5), 1);
    vertices.Element(4) = VERTEX{1.0, 2.0, 3.0};
    const VERTEX* buffer = vertices.Buffer();
    EXPECT_EQ(vertices.Reserve(INT_MAX), 0);
    EXPECT_EQ(vertices.Append(INT_MAX), 0);
    EXPECT_EQ(vertices.Insert(2, INT_MAX), 0);
    EXPECT_EQ(vertices.Insert(INT_MAX, 1), 0);
    EXPECT_EQ(vertices.Number(), 5);
    EXPECT_EQ(vertices.Capacity(), 512);
    EXPECT_EQ(vertices.Buffer(), buffer);
    EXPECT_EQ(vertices.Element(4).z, 3.0);
}

TEST(AllocationFailure, LeavesTheMatrixUnchangedAndReturnsZero)
{
    CMatrixDataStore<uint8_t> bytes;
    EXPECT_EQ(bytes.ReserveRows(INT_MAX), 0);
    bytes.width = INT_MAX;
    EXPECT_EQ(bytes.InsertRows(INT_MAX, INT_MAX), 0);
    EXPECT_EQ(bytes.Capacity(), 0);

    CMatrixDataStore<RGBA> image;
    image.width = 640;
    ASSERT_EQ(image.AppendRows(480), 1);
    const RGBA* buffer = image.Buffer();
    const RGBA* spare = &image.Element(-1, 0);
    EXPECT_EQ(image.ReserveRows(INT_MAX), 0);
    EXPECT_EQ(image.ReserveRows(4 * 1024 * 1024), 0) << "640 x 4M elements exceed a 32-bit capacity";
    EXPECT_EQ(image.AppendRows(INT_MAX), 0);
    EXPECT_EQ(image.InsertRows(0, INT_MAX), 0);
    EXPECT_EQ(&image.Element(INT_MAX, 0), spare);
    EXPECT_EQ(image.height, 480);
    EXPECT_EQ(image.Capacity(), 1024 * 640);
    EXPECT_EQ(image.Buffer(), buffer);
}

}  // namespace
