#include <brelldata/scan/DataStore.h>
#include <brelldata/scan/Records.h>

#include <gtest/gtest.h>

namespace {

using VertexStore = CRefData<CArrayDataStore<VERTEX>>;

TEST(Sharing, CopiedHandlesSeeEachOthersEdits)
{
    VertexStore first;
    EXPECT_EQ(first->RefCount(), 1);
    VertexStore second(first);
    EXPECT_EQ(&*second, &*first);
    EXPECT_EQ(first->RefCount(), 2);
    ASSERT_EQ(first->Append(2), 1);
    second->Element(1) = VERTEX{4.0, 5.0, 6.0};
    EXPECT_EQ(second->Number(), 2);
    EXPECT_EQ(first->Element(1).y, 5.0);
}

TEST(Sharing, AssignmentMovesTheReferenceToTheSourceStore)
{
    VertexStore source;
    VertexStore target;
    VertexStore targetWitness(target);
    target = source;
    EXPECT_EQ(&*target, &*source);
    EXPECT_EQ(source->RefCount(), 2);
    EXPECT_EQ(targetWitness->RefCount(), 1);
    const VertexStore& sameHandle = target;
    target = sameHandle;
    EXPECT_EQ(source->RefCount(), 2);
}

TEST(Sharing, UnshareGivesTheHandleAPrivateCopy)
{
    VertexStore first;
    ASSERT_EQ(first->Append(600), 1);
    first->Element(599) = VERTEX{1.0, 2.0, 3.0};
    VertexStore second(first);
    CArrayDataStore<VERTEX>* shared = &*first;

    ASSERT_EQ(second.Unshare(), 1);
    EXPECT_NE(&*second, shared);
    EXPECT_EQ(&*first, shared);
    EXPECT_EQ(first->RefCount(), 1);
    EXPECT_EQ(second->RefCount(), 1);
    EXPECT_EQ(second->Number(), 600);
    EXPECT_EQ(second->Element(599).z, 3.0);

    second->Element(599).z = -3.0;
    ASSERT_EQ(second->Append(1), 1);
    EXPECT_EQ(first->Element(599).z, 3.0);
    EXPECT_EQ(first->Number(), 600);
}

TEST(Sharing, UnshareOnAnUnsharedStoreCopiesNothing)
{
    VertexStore only;
    ASSERT_EQ(only->Append(3), 1);
    const CArrayDataStore<VERTEX>* store = &*only;
    const VERTEX* buffer = only->Buffer();
    EXPECT_EQ(only.Unshare(), 1);
    EXPECT_EQ(&*only, store);
    EXPECT_EQ(only->Buffer(), buffer);
}

TEST(Sharing, UnshareCopiesPolygonRowsAndLines)
{
    CRefData<CPolygonDataStore<int>> polygons;
    polygons->rows = {{{1, 2, 3, 0}, 3}};
    CRefData<CPolygonDataStore<int>> polygonCopy(polygons);
    ASSERT_EQ(polygonCopy.Unshare(), 1);
    polygonCopy->Element(0, 0) = 10;
    EXPECT_EQ(polygons->Element(0, 0), 1);
    EXPECT_EQ(polygonCopy->Element(0, 2), 3);

    CRefData<CLineDataStore<BEZIER_POINT3D>> lines;
    lines->lines.resize(2, std::vector<BEZIER_POINT3D>(3, BEZIER_POINT3D{{}, 7}));
    CRefData<CLineDataStore<BEZIER_POINT3D>> lineCopy(lines);
    ASSERT_EQ(lineCopy.Unshare(), 1);
    lineCopy->lines[1].clear();
    EXPECT_EQ(lines->lines[1].size(), 3u);
    EXPECT_EQ(lineCopy->Element(0, 2).tag, 7);
}

}  // namespace
