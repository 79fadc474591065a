// Cutting scan data by a window region, checked against an even-odd test of
// its own, and undoing cuts.

#include "support/Held.h"
#include "support/Paths.h"

#include <brelldata/core/NodeStream.h>
#include <brelldata/gl/Cut.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/ModelNodes.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include <unistd.h>

namespace brell::test {
namespace {

constexpr int kWindow = 100;
constexpr int kGrid = 40;

// Looks down -z so that world (x, y) shows at window pixel (x, kWindow - y).
CAMERA_PARAM WindowCamera()
{
    return {0, 0.0, kWindow, kWindow, 0.0, 1.0, 100.0, 45.0, 0.0, {0.0, 0.0, 10.0}, {0.0, 0.0, 0.0}};
}

// A five-pointed star drawn in one stroke: its middle is covered twice, so
// the even-odd rule leaves it out.
Figure Star()
{
    Figure star;
    for (int k = 0; k < 5; ++k) {
        const double angle = 3.14159265358979 * (0.5 + 0.8 * k);
        star.push_back({static_cast<int32_t>(std::lround(50 + 45 * std::cos(angle))),
                        static_cast<int32_t>(std::lround(50 - 45 * std::sin(angle)))});
    }
    return star;
}

// The even-odd rule at the centre of the pixel that world point (x, y) shows at.
bool InsideByEvenOdd(const Figure& path, double x, double y)
{
    return EvenOdd({path}, std::floor(x) + 0.5, std::floor(kWindow - y) + 0.5);
}

// World place of grid vertex i, away from pixel edges.
VERTEX GridVertex(int i)
{
    return {2.3 + 2.4 * (i % kGrid), 2.3 + 2.4 * (i / kGrid), 0.0};
}

// A grid mesh, two triangles per cell, whose per-vertex and per-polygon data
// say which vertex or polygon they belong to.
CMeshNode* GridMesh()
{
    auto* mesh = new CMeshNode;
    const int count = kGrid * kGrid;
    mesh->AppendVertex(count);
    std::vector<RGBA> colors(count);
    std::vector<CVector_3<float>> normals(count);
    for (int i = 0; i < count; ++i) {
        *mesh->GetVertex(i) = GridVertex(i);
        colors[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), 0, 255};
        normals[i] = {static_cast<float>(i), 0.0f, 1.0f};
    }
    std::vector<RGBA> faceColors;
    for (int row = 0; row + 1 < kGrid; ++row)
        for (int column = 0; column + 1 < kGrid; ++column) {
            const int corner = row * kGrid + column;
            for (const CPolygon<int>& triangle :
                 {CPolygon<int>{{corner, corner + 1, corner + kGrid, 0}, 3},
                  CPolygon<int>{{corner + 1, corner + kGrid + 1, corner + kGrid, 0}, 3}}) {
                const int polygon = mesh->polygons->Number();
                mesh->polygons->rows.push_back(triangle);
                mesh->texCoords->rows.push_back({{{static_cast<float>(polygon), 0.0f}}, 3});
                faceColors.push_back({static_cast<uint8_t>(polygon), static_cast<uint8_t>(polygon >> 8), 0, 255});
            }
        }
    mesh->SetAttributeStruct(io::kColorsAttribute, colors.data(), static_cast<int>(colors.size() * sizeof(RGBA)));
    mesh->SetAttributeStruct(io::kNormalsAttribute, normals.data(), static_cast<int>(normals.size() * 12));
    mesh->SetAttributeStruct(io::kFaceColorsAttribute, faceColors.data(),
                             static_cast<int>(faceColors.size() * sizeof(RGBA)));
    return mesh;
}

int OriginalIndex(CMeshNode* mesh, int vertex)
{
    int size = 0;
    auto* colors = static_cast<RGBA*>(mesh->QueryAttributeStruct(io::kColorsAttribute, &size));
    return colors[vertex].r | colors[vertex].g << 8;
}

std::vector<unsigned char> Stream(CBaseNode* node)
{
    std::vector<unsigned char> bytes(static_cast<size_t>(SizeOfByte(node)));
    WriteNode(bytes.data(), node);
    return bytes;
}

class CutTest : public ::testing::Test {
protected:
    void SetUp() override { scene->AppendChild(mesh = GridMesh()); }
    void TearDown() override { DeleteObject(region); }

    gl::CutStep Cut(bool keepInside = false)
    {
        return gl::CutByRegion(scene.node, WindowCamera(), kWindow, kWindow, region, keepInside);
    }

    Held<CBaseNode> scene;
    CMeshNode* mesh = nullptr;
    Figure star = Star();
    HRGN region = RegionOfPath({star});
};

TEST_F(CutTest, CutRemovesExactlyTheVerticesWhoseProjectionTheEvenOddRuleFindsInside)
{
    for (const bool keepInside : {false, true}) {
        Held<CMeshNode> fresh(GridMesh());
        scene->RemoveChild(0u, 1);
        scene->AppendChild(mesh = GridMesh());
        Cut(keepInside);
        std::vector<int> expected;
        for (int i = 0; i < kGrid * kGrid; ++i)
            if (InsideByEvenOdd(star, GridVertex(i).x, GridVertex(i).y) == keepInside) expected.push_back(i);
        std::vector<int> kept;
        for (int v = 0; v < mesh->VertexNumber(); ++v) {
            kept.push_back(OriginalIndex(mesh, v));
            EXPECT_EQ(std::memcmp(mesh->GetVertex(v), fresh->GetVertex(kept.back()), sizeof(VERTEX)), 0);
        }
        EXPECT_EQ(kept, expected) << (keepInside ? "keeping inside" : "cutting inside");
        EXPECT_GT(expected.size(), 100u);
        EXPECT_LT(expected.size(), static_cast<size_t>(kGrid * kGrid - 100));
    }
}

TEST_F(CutTest, PolygonsWithARemovedCornerGoAndTheOthersKeepTheirCornersAndData)
{
    Held<CMeshNode> fresh(GridMesh());
    Cut();
    int expectedPolygons = 0;
    for (const CPolygon<int>& row : fresh->polygons->rows) {
        bool allOutside = true;
        for (int k = 0; k < 3; ++k)
            allOutside = allOutside && !InsideByEvenOdd(star, GridVertex(row.items[k]).x, GridVertex(row.items[k]).y);
        expectedPolygons += allOutside ? 1 : 0;
    }
    ASSERT_EQ(mesh->polygons->Number(), expectedPolygons);
    ASSERT_EQ(mesh->texCoords->Number(), expectedPolygons);
    int size = 0;
    auto* faceColors = static_cast<RGBA*>(mesh->QueryAttributeStruct(io::kFaceColorsAttribute, &size));
    ASSERT_EQ(size, expectedPolygons * 4);
    auto* normals = static_cast<CVector_3<float>*>(mesh->QueryAttributeStruct(io::kNormalsAttribute, &size));
    ASSERT_EQ(size, mesh->VertexNumber() * 12);
    for (int p = 0; p < expectedPolygons; ++p) {
        const int original = static_cast<int>(mesh->texCoords->rows[p].items[0].x);
        EXPECT_EQ(faceColors[p].r | faceColors[p].g << 8, original & 0xffff);
        for (int k = 0; k < 3; ++k) {
            const int corner = mesh->polygons->rows[p].items[k];
            EXPECT_EQ(OriginalIndex(mesh, corner), fresh->polygons->rows[original].items[k]);
            EXPECT_EQ(normals[corner].x, static_cast<float>(OriginalIndex(mesh, corner)));
        }
    }
}

// An undone step keeps only the places it removed.
TEST_F(CutTest, UndoRestoresTheSceneByteForByteAndRedoCutsAgain)
{
    const std::vector<unsigned char> before = Stream(scene.node);
    gl::CutStep step = Cut();
    const size_t cut = step.Bytes();
    const std::vector<unsigned char> after = Stream(scene.node);
    ASSERT_NE(after, before);
    step.Undo();
    EXPECT_EQ(Stream(scene.node), before);
    EXPECT_LT(step.Bytes() * 10, cut);
    step.Redo();
    EXPECT_EQ(Stream(scene.node), after);
}

TEST_F(CutTest, HistoryUndoesTheLatestCutsUpToItsDepthInReverseOrder)
{
    const std::vector<unsigned char> original = Stream(scene.node);
    gl::CutHistory history(3);
    std::vector<std::vector<unsigned char>> states;
    for (int shift = 0; shift < 5; ++shift) {
        states.push_back(Stream(scene.node));
        DeleteObject(region);
        region = CreateRectRgn(10 * shift, 0, 10 * shift + 8, kWindow);
        history.Add(Cut());
    }
    for (int back = 4; back >= 2; --back) {
        ASSERT_NE(history.Undo(), nullptr);
        EXPECT_EQ(Stream(scene.node), states[back]);
    }
    EXPECT_EQ(history.Undo(), nullptr);
    EXPECT_NE(Stream(scene.node), original);
    EXPECT_EQ(history.RedoCount(), 3u);
}

TEST_F(CutTest, AStepKeepsOnlyWhatItRemoved)
{
    DeleteObject(region);
    region = CreateRectRgn(0, 0, 10, 10);
    const gl::CutStep step = Cut();
    ASSERT_GT(step.RemovedVertices(), 0);
    EXPECT_LT(step.Bytes(), 1024u + 64u * (step.RemovedVertices() + step.RemovedPolygons()));
}

size_t ResidentBytes()
{
    size_t pages = 0, resident = 0;
    std::FILE* statm = std::fopen("/proc/self/statm", "r");
    if (statm == nullptr || std::fscanf(statm, "%zu %zu", &pages, &resident) != 2) resident = 0;
    if (statm != nullptr) std::fclose(statm);
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

TEST(LargeCutTest, CuttingHalfALargeModelAwayTakesAboutNoMoreMemoryThanTheModelHad)
{
    // Blocks of vertices left and right of the window's middle, in turn.
    constexpr int kVertices = 1 << 22, kBlock = 1 << 12;
    Held<CBaseNode> scene;
    auto* model = new CModelNode;
    scene->AppendChild(model);
    ASSERT_NE(model->AppendVertex(kVertices), 0);
    for (int i = 0; i < kVertices; ++i) *model->GetVertex(i) = {(i / kBlock) % 2 == 0 ? 25.0 : 75.0, 50.0, 0.0};
    HRGN left = CreateRectRgn(0, 0, kWindow / 2, kWindow);
    const size_t before = ResidentBytes();
    const gl::CutStep step = gl::CutByRegion(scene.node, WindowCamera(), kWindow, kWindow, left, false);
    const size_t after = ResidentBytes();
    DeleteObject(left);
    ASSERT_EQ(step.RemovedVertices(), kVertices / 2);
    EXPECT_LT(after, before + kVertices / 2 * sizeof(VERTEX) / 4);
}

}  // namespace
}  // namespace brell::test
