#include <brelldata/scan/Normal.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

CRefData<CArrayDataStore<VERTEX>> Vertices(const std::vector<VERTEX>& corners)
{
    CRefData<CArrayDataStore<VERTEX>> vertices;
    EXPECT_EQ(vertices->Append(static_cast<int>(corners.size())), 1);
    for (size_t i = 0; i < corners.size(); ++i) vertices->Element(static_cast<int>(i)) = corners[i];
    return vertices;
}

void ExpectVector(const CVector_3<double>& actual, double x, double y, double z)
{
    EXPECT_DOUBLE_EQ(actual.x, x);
    EXPECT_DOUBLE_EQ(actual.y, y);
    EXPECT_DOUBLE_EQ(actual.z, z);
}

TEST(FaceNormal, IsRightHandedInTheOrderListed)
{
    auto vertices = Vertices({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {10, 0, 0}, {0, 10, 0}, {0, 0, 5}});
    int counterClockwise[] = {0, 1, 2}, clockwise[] = {0, 2, 1}, large[] = {0, 3, 4}, quadrilateral[] = {0, 1, 2, 5};
    ExpectVector(CalcNormal(vertices, counterClockwise, 3), 0, 0, 1);
    ExpectVector(CalcNormal(vertices, clockwise, 3), 0, 0, -1);
    ExpectVector(CalcNormal(vertices, large, 3), 0, 0, 1);
    ExpectVector(CalcNormal(vertices, quadrilateral, 4), 0, 0, 1);
}

TEST(FaceNormal, DegenerateInputComesBackUnscaled)
{
    auto vertices = Vertices({{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {1e-6, 0, 0}, {0, 1, 0}});
    int collinear[] = {0, 1, 2}, lengthAtThreshold[] = {0, 3, 4};
    ExpectVector(CalcNormal(vertices, collinear, 3), 0, 0, 0);
    ExpectVector(CalcNormal(vertices, lengthAtThreshold, 3), 0, 0, 1e-6);
    ExpectVector(CalcNormal(vertices, collinear, 2), 0, 0, 0);
    ExpectVector(CalcNormal(vertices, nullptr, 3), 0, 0, 0);
}

TEST(FaceNormal, IndexOutsideTheStoreReadsTheSpareVertex)
{
    auto vertices = Vertices({{1, 0, 0}, {0, 1, 0}});
    vertices->Element(-1) = VERTEX{0, 0, 0};
    int corners[] = {7, 0, 1};
    ExpectVector(CalcNormal(vertices, corners, 3), 0, 0, 1);
    EXPECT_EQ(vertices->Number(), 2);
    EXPECT_EQ(vertices->Element(0).x, 1.0);
}

TEST(UnitNormals, ScaleToLengthOneAndMarkShortVectors)
{
    CRefData<CArrayDataStore<CVector_3<double>>> normals;
    ASSERT_EQ(normals->Append(4), 1);
    normals->Element(0) = {3, 0, 4};
    normals->Element(1) = {0, 0, 0};
    normals->Element(2) = {1e-7, 2e-7, 0};
    normals->Element(3) = {0, 1e-6, 0};
    UnitNormal(normals);
    ExpectVector(normals->Element(0), 0.6, 0, 0.8);
    ExpectVector(normals->Element(1), 1, 0, 0);
    ExpectVector(normals->Element(2), 1, 2e-7, 0);
    ExpectVector(normals->Element(3), 0, 1, 0);

    ClearNormal(normals);
    UnitNormal(normals);
    for (int i = 0; i < 4; ++i) ExpectVector(normals->Element(i), 1, 0, 0);
}

// The reciprocal length is rounded to float before scaling; neither a float
// length nor scaling in double gives these bits.
TEST(UnitNormals, FloatNormalsScaleByAFloatReciprocal)
{
    CRefData<CArrayDataStore<CVector_3<float>>> normals;
    ASSERT_EQ(normals->Append(2), 1);
    normals->Element(0) = {5, 9, 18};
    normals->Element(1) = {1e-7f, 0, 0};
    UnitFloatNormal(normals);
    EXPECT_EQ(normals->Element(0).x, 0x1.edd11p-3f);
    EXPECT_EQ(normals->Element(0).y, 0x1.bc6f5ap-2f);
    EXPECT_EQ(normals->Element(0).z, 0x1.bc6f5ap-1f);
    EXPECT_EQ(normals->Element(1).x, 1.0f);

    ClearFloatNormal(normals);
    EXPECT_EQ(normals->Element(0).z, 0.0f);
}

}  // namespace
