#include <brelldata/data/LineDataStore.h>
#include <brelldata/data/MatrixDataStore.h>
#include <brelldata/data/Normal.h>
#include <brelldata/data/PolygonDataStore.h>

#include "support/BoundsInForce.h"
#include "support/Bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <initializer_list>
#include <numeric>
#include <tuple>
#include <vector>

namespace {

using brell::test::Bytes;
using VertexStore = CRefData<CArrayDataStore<VERTEX>>;

// A shared array holding the given items.
template <class T>
CRefData<CArrayDataStore<T>> Store(std::initializer_list<T> items)
{
    CRefData<CArrayDataStore<T>> store;
    EXPECT_EQ(store->Append(static_cast<int>(items.size())), 1);
    std::copy(items.begin(), items.end(), store->Buffer());
    return store;
}

std::vector<int> Items(const int* first, int count)
{
    return std::vector<int>(first, first + count);
}

void ExpectVector(const CVector_3<double>& actual, const CVector_3<double>& expected)
{
    EXPECT_DOUBLE_EQ(actual.x, expected.x);
    EXPECT_DOUBLE_EQ(actual.y, expected.y);
    EXPECT_DOUBLE_EQ(actual.z, expected.z);
}

// The store writes exactly the expected block, and reading that block into a
// store that held other data writes it again.
template <class DataStore>
void ExpectBlock(const DataStore& store, DataStore& reader, const Bytes& expected)
{
    std::vector<uint8_t> block(static_cast<size_t>(store.SizeOfByte()));
    ASSERT_EQ(store.Write(block.data()), 1);
    EXPECT_EQ(block, expected.Data());
    ASSERT_EQ(reader.Read(expected.Data().data()), 1);
    block.assign(static_cast<size_t>(reader.SizeOfByte()), 0);
    ASSERT_EQ(reader.Write(block.data()), 1);
    EXPECT_EQ(block, expected.Data());
}

TEST(Stores, ArraysGrowAndShrinkByTheirRules)
{
    struct Case {
        const char* rule;
        int initialCount;
        int (*operation)(CArrayDataStore<int>&);
        int count, capacity;
    };
    const Case cases[] = {
        {"reserving 1 on an empty array gives 512", 0, [](auto& a) { return a.Reserve(1); }, 0, 512},
        {"reserving 513 gives 1024", 0, [](auto& a) { return a.Reserve(513); }, 0, 1024},
        {"reserving 0 changes nothing", 0, [](auto& a) { return a.Reserve(0); }, 0, 0},
        {"inserting past the end grows to the gap", 5, [](auto& a) { return a.Insert(1000, 1); }, 1001, 1024},
        {"deleting to 1024 of 5120 keeps the buffer (4096 spare)", 5120, [](auto& a) { return a.Delete(1024, 5000); },
         1024, 5120},
        {"deleting to 1023 of 5120 shrinks to 1024 (4097 spare)", 5120, [](auto& a) { return a.Delete(1023, 5000); },
         1023, 1024},
        {"deleting to 1025 of 5200 shrinks to 1088", 5200, [](auto& a) { return a.Delete(1025, 5000); }, 1025, 1088},
        {"deleting everything shrinks to 64", 5120, [](auto& a) { return a.Delete(0, 5120); }, 0, 64},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.rule);
        CArrayDataStore<int> array;
        ASSERT_EQ(array.Append(c.initialCount), 1);
        EXPECT_EQ(c.operation(array), 1);
        EXPECT_EQ(std::tuple(array.Number(), array.Capacity()), std::tuple(c.count, c.capacity));
    }
}

TEST(Stores, MatricesGrowBy1024RowsAndShrinkBy64WithNoMinimum)
{
    CMatrixDataStore<int> matrix;
    matrix.width = 100;
    matrix.Element(99, 0) = 7;
    EXPECT_EQ(matrix.height, 0) << "an element past the height reserves room without raising it";
    EXPECT_EQ(matrix.Capacity(), 1024 * 100);
    ASSERT_EQ(matrix.AppendRows(100), 1);
    EXPECT_EQ(matrix.Element(99, 0), 7);
    EXPECT_EQ(matrix.DeleteRows(10, INT_MAX), 1);
    EXPECT_EQ(matrix.Capacity(), 64 * 100);
    EXPECT_EQ(matrix.DeleteRows(0, INT_MAX), 1);
    EXPECT_EQ(matrix.Capacity(), 0);
}

// One-byte elements keep the allocator out of it: 2^31 of them would fit.
TEST(Stores, RefuseRequestsTooLargeForA32BitCapacity)
{
    auto array = Store<uint8_t>({1, 2, 3, 4, 5});
    EXPECT_EQ(array->Reserve(INT_MAX) + array->Append(INT_MAX) + array->Insert(2, INT_MAX) + array->Insert(INT_MAX, 1),
              0);
    EXPECT_EQ(std::tuple(array->Number(), array->Capacity()), std::tuple(5, 512));

    CMatrixDataStore<uint8_t> image;
    image.width = 640;
    ASSERT_EQ(image.AppendRows(480), 1);
    EXPECT_EQ(image.ReserveRows(4 * 1024 * 1024) + image.AppendRows(INT_MAX) + image.InsertRows(0, INT_MAX), 0);
    EXPECT_EQ(&image.Element(INT_MAX, 0), &image.Element(-1, 0)) << "an element that gets no room is the spare";
    EXPECT_EQ(std::tuple(image.height, image.Capacity()), std::tuple(480, 1024 * 640));
}

TEST(Stores, InsertAndDeleteMoveWholeElementsAndRows)
{
    auto edited = Store<int>({0, 1, 2, 3, 4});
    ASSERT_EQ(edited->Insert(2, 2) + edited->Insert(-3, 1), 2) << "a negative position inserts at the front";
    edited->Element(0) = edited->Element(3) = edited->Element(4) = -1;
    EXPECT_EQ(Items(edited->Buffer(), edited->Number()), (std::vector<int>{-1, 0, 1, -1, -1, 2, 3, 4}));
    // Deleting from before the front, past the end, and a negative count.
    EXPECT_EQ(edited->Delete(-4, 2) + edited->Delete(3, 100) + edited->Delete(0, -2), 3);
    EXPECT_EQ(Items(edited->Buffer(), edited->Number()), (std::vector<int>{1, -1, -1}));

    CMatrixDataStore<int> rows;
    rows.width = 2;
    ASSERT_EQ(rows.AppendRows(3), 1);
    std::iota(rows.Buffer(), rows.Buffer() + 6, 0);
    ASSERT_EQ(rows.InsertRows(1, 1) + rows.DeleteRows(0, 1), 2);
    EXPECT_EQ(Items(rows.Buffer() + 2, 4), (std::vector<int>{2, 3, 4, 5}));
}

TEST(Stores, TakeTheSpareElementForOutOfRangeAccess)
{
    auto array = Store<int>({1, 2, 3});
    EXPECT_EQ(&array->Element(3), &array->Element(-1));
    CPolygonDataStore<int> polygons;
    polygons.rows = {{{7, 8, 9, 0}, 3}, {{1, 2, 3, 4}, 7}};
    EXPECT_EQ(&polygons.Element(0, 3), &polygons.Element(2, 0)) << "slot 3 is past the row's item count";
    EXPECT_EQ(&polygons.Element(1, 4), &polygons.Element(2, 0)) << "a count past four is taken as four";
    EXPECT_EQ(polygons.SizeOfByte(), 4 + 4 + 3 * 4 + 4 + 4 * 4);
    CLineDataStore<int> lines;
    lines.lines = {{1, 2}, {}};
    EXPECT_EQ(&lines.Element(1, 0), &lines.Element(0, 2));
}

TEST(StoreBlocks, HoldTheCountsThenTheItemsAndReadBack)
{
    ExpectBlock(*Store<int>({0, 1, 2}), *Store<int>({9, 9, 9, 9}), Bytes().I32(3).I32(0).I32(1).I32(2));

    // A matrix stores its height before its width.
    CMatrixDataStore<int> heights, matrixReader;
    heights.width = 3;
    ASSERT_EQ(heights.AppendRows(2) + matrixReader.AppendRows(700), 2);
    std::iota(heights.Buffer(), heights.Buffer() + 6, 1);
    ExpectBlock(heights, matrixReader, Bytes().I32(2).I32(3).I32(1).I32(2).I32(3).I32(4).I32(5).I32(6));

    // Polygon rows and lines carry their own item counts. These two stores
    // are copies made by Assign, as unsharing makes them.
    CPolygonDataStore<int> polygonSource, assigned, polygonReader;
    polygonSource.rows = {{{7, 8, 9, 0}, 3}, {{1, 2, 3, 4}, 4}, {{0, 0, 0, 0}, 0}};
    ASSERT_EQ(assigned.Assign(polygonSource), 1);
    polygonReader.rows.resize(10);
    ExpectBlock(assigned, polygonReader,
                Bytes().I32(3).I32(3).I32(7).I32(8).I32(9).I32(4).I32(1).I32(2).I32(3).I32(4).I32(0));

    CLineDataStore<CVector_3<double>> lineSource, assignedLines, lineReader;
    lineSource.lines = {{{1.0, 2.0, 0.5}}, {}};
    ASSERT_EQ(assignedLines.Assign(lineSource), 1);
    lineReader.lines.resize(4);
    ExpectBlock(assignedLines, lineReader, Bytes().I32(2).I32(1).F64(1.0).F64(2.0).F64(0.5).I32(0));
}

// Read of polygons from bytes under bounds that end size bytes in; refused
// tells whether the bounds refused a field.
int ReadUnderBounds(const std::vector<uint8_t>& bytes, size_t size, CPolygonDataStore<int>& polygons, bool& refused)
{
    brell::test::BoundsInForce inForce(bytes.data(), size);
    const int read = polygons.Read(bytes.data());
    refused = inForce.bounds.Failed();
    return read;
}

TEST(PolygonStores, ReadUnderBoundsOnlyWhenEveryRowFits)
{
    // Enough rows that the last few are read near the end of the bounds.
    Bytes block = Bytes().I32(12);
    for (int row = 0; row < 12; ++row) {
        const int count = row % 5;
        block.I32(count);
        for (int k = 0; k < count; ++k) block.I32(row * 10 + k);
    }
    const std::vector<uint8_t>& bytes = block.Data();
    for (size_t size = 4; size <= bytes.size(); ++size) {
        SCOPED_TRACE(size);
        CPolygonDataStore<int> polygons;
        bool refused = false;
        ReadUnderBounds(bytes, size, polygons, refused);
        EXPECT_EQ(refused, size < bytes.size());
        if (refused) continue;
        ASSERT_EQ(polygons.Number(), 12);
        EXPECT_EQ(polygons.Element(11, 0), 110);
        EXPECT_EQ(polygons.rows[9].count, 4);
        EXPECT_EQ(polygons.Element(9, 3), 93);
    }
    // A count a row cannot hold is refused in the last rows as in the others.
    std::vector<uint8_t> fiveItems = bytes;
    fiveItems[fiveItems.size() - 8] = 5;
    CPolygonDataStore<int> polygons;
    bool refused = false;
    EXPECT_EQ(ReadUnderBounds(fiveItems, fiveItems.size(), polygons, refused), 0);
}

TEST(StoreBlocks, BadOnesAreRefusedWithTheStoreUnchanged)
{
    CArrayDataStore<int> refusing;
    CMatrixDataStore<int> badMatrix;
    CPolygonDataStore<int> badPolygons;
    CLineDataStore<int> badLines;
    badPolygons.rows.resize(2);
    const Bytes negativeCount = Bytes().I32(-1).I32(3).I32(0);
    const void* block = negativeCount.Data().data();
    EXPECT_EQ(refusing.Read(block) + badMatrix.Read(block) + badPolygons.Read(block) + badLines.Read(block), 0);
    EXPECT_EQ(refusing.Read(nullptr) + badMatrix.Read(nullptr) + badPolygons.Read(nullptr) + badLines.Read(nullptr), 0);
    EXPECT_EQ(badPolygons.Read(Bytes().I32(1).I32(5).I32(1).I32(2).I32(3).I32(4).I32(5).Data().data()), 0)
        << "5 corners";
    EXPECT_EQ(std::tuple(badMatrix.width, badPolygons.Number()), std::tuple(1, 2));
}

// Assignment moves the reference.
TEST(SharedStores, SeeEachOthersEditsUntilUnshared)
{
    VertexStore first;
    VertexStore second(first);
    ASSERT_EQ(first->Append(600), 1);
    second->Element(599).z = 3.0;
    EXPECT_EQ(first->Element(599).z, 3.0);

    ASSERT_EQ(second.Unshare(), 1);
    EXPECT_EQ(std::tuple(first->RefCount(), second->RefCount(), second->Element(599).z), std::tuple(1, 1, 3.0));
    second->Element(599).z = -3.0;
    EXPECT_EQ(first->Element(599).z, 3.0);

    const CArrayDataStore<VERTEX>* unshared = &*first;
    EXPECT_EQ(first.Unshare(), 1);
    EXPECT_EQ(&*first, unshared) << "unsharing an unshared store copies nothing";

    VertexStore witness(second);
    second = first;
    EXPECT_EQ(std::tuple(&*second, first->RefCount(), witness->RefCount()), std::tuple(&*first, 2, 1));
}

// Degenerate input comes back unscaled; huge coordinates do not overflow.
TEST(Normals, OfFacesAreRightHandedUnitNormalsOfThreeCorners)
{
    auto vertices = Store<VERTEX>({{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {0, 0, 5}, {1, 1, 1}, {2, 2, 2}, {1e-6, 0, 0},
                                   {0, 1, 0}, {1e160, 0, 0}, {0, 1e160, 0}});
    struct NormalCase {
        const char* what;
        std::vector<int> corners;
        CVector_3<double> normal;
    };
    NormalCase normalCases[] = {
        {"counter-clockwise", {0, 1, 2}, {0, 0, 1}},          {"clockwise", {0, 2, 1}, {0, 0, -1}},
        {"quadrilateral", {0, 1, 2, 3}, {0, 0, 1}},           {"collinear", {0, 4, 5}, {0, 0, 0}},
        {"length at the threshold", {0, 6, 7}, {0, 0, 1e-6}}, {"two corners", {0, 6}, {0, 0, 0}},
        {"huge", {0, 8, 9}, {0, 0, 1}},
    };
    for (NormalCase& c : normalCases) {
        SCOPED_TRACE(c.what);
        ExpectVector(CalcNormal(vertices, c.corners.data(), static_cast<int>(c.corners.size())), c.normal);
    }
    ExpectVector(CalcNormal(vertices, nullptr, 3), {0, 0, 0});
}

TEST(Normals, UnitOnesHaveLengthOneAndShortOnesAreMarked)
{
    auto normals = Store<CVector_3<double>>(
        {{3, 0, 4}, {0, 0, 0}, {1e-7, 2e-7, 0}, {0, 1e-6, 0}, {1e200, 0, 0}, {3e200, 0, -4e200}});
    UnitNormal(normals);
    const CVector_3<double> units[] = {{0.6, 0, 0.8}, {1, 0, 0}, {1, 2e-7, 0}, {0, 1, 0}, {1, 0, 0}, {0.6, 0, -0.8}};
    for (int i = 0; i < 6; ++i) ExpectVector(normals->Element(i), units[i]);
    ClearNormal(normals);
    ExpectVector(normals->Element(0), {0, 0, 0});
}

// The reciprocal length is rounded to float before scaling; neither a float
// length nor scaling in double gives these bits.
TEST(Normals, InFloatScaleByTheRoundedReciprocalLength)
{
    auto floats = Store<CVector_3<float>>({{5, 9, 18}, {1e-7f, 0, 0}});
    UnitFloatNormal(floats);
    EXPECT_EQ(std::tuple(floats->Element(0).x, floats->Element(0).y, floats->Element(0).z, floats->Element(1).x),
              std::tuple(0x1.edd11p-3f, 0x1.bc6f5ap-2f, 0x1.bc6f5ap-1f, 1.0f));
    ClearFloatNormal(floats);
    EXPECT_EQ(floats->Element(0).z, 0.0f);
}

// Raising the width over rows already held leaves the later rows past the
// capacity; a width below 1 holds none.
TEST(Stores, MatricesUseOnlyTheRowsThatLieWithinTheirCapacityAtTheirWidth)
{
    struct Case {
        int newWidth;
        int heldRows;
    };
    for (const Case& c : {Case{3, 682}, Case{0, 0}, Case{-2, 0}}) {
        SCOPED_TRACE(c.newWidth);
        CMatrixDataStore<int> matrix;
        matrix.width = 2;
        ASSERT_EQ(matrix.AppendRows(1024), 1);
        matrix.width = c.newWidth;
        EXPECT_EQ(matrix.HeldRows(), c.heldRows);
        std::vector<uint8_t> block(static_cast<size_t>(matrix.SizeOfByte()));
        EXPECT_EQ(block.size(), 8 + c.heldRows * std::max(c.newWidth, 0) * sizeof(int));
        matrix.Write(block.data());
        EXPECT_EQ(matrix.DeleteRows(0, 1), 1);
        EXPECT_EQ(matrix.InsertRows(0, 1) + matrix.InsertRows(1, 1), 2);
        int& last = matrix.Element(1023, 2);
        EXPECT_EQ(&last >= matrix.Buffer() && &last<matrix.Buffer() + matrix.Capacity(), c.newWidth> 0);
    }
}

}  // namespace
