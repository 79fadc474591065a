// What a scan scene offers besides import and export: its box, and refusals.

#include <brelldata/core/Tree.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include "io/GeometryMatchers.h"
#include "io/StreamLimit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace {

using namespace brell::io;
using testing::ElementsAre;

// A scene of one element holding a model of the given points, made
// directly: the readers refuse some of them.
CBaseNode* PointScene(std::initializer_list<VERTEX> points)
{
    CBaseNode* root = CBaseNode::Create();
    CBaseNode* element = CElementNode::Create();
    auto* model = static_cast<CModelNode*>(CModelNode::Create());
    root->AppendChild(element);
    element->AppendChild(model);
    model->AppendVertex(static_cast<int>(points.size()));
    std::copy(points.begin(), points.end(), model->vertices->Buffer());
    return root;
}

TEST(ScanSceneBox, SpansTheModelsMeshesAndLineDataBeforeAnyGeometryIsCalculated)
{
    CTree scene(PointScene({{1, 2, 3}, {-1, 5, 0}}));
    auto* line = static_cast<CLinearLineNode*>(CLinearLineNode::Create());
    line->lines->lines.push_back({{10, -4, 2}, {0, 0, 1}});
    scene.Root()->GetChild(0)->AppendChild(line);
    double box[6] = {};
    ASSERT_TRUE(ScanSceneBox(scene.Root(), box));
    EXPECT_THAT(box, ElementsAre(-1, -4, 0, 10, 5, 3));
}

TEST(ScanSceneBox, LeavesOutLevelsOfDetailAndNonFinitePoints)
{
    CTree scene(PointScene({{1, 1, 1}, {NAN, 9, 9}, {2, 2, INFINITY}}));
    CBaseNode* detail = CLodNode::Create();
    detail->AppendChild(PointScene({{100, 100, 100}}));
    scene.Root()->GetChild(0)->AppendChild(detail);
    double box[6] = {};
    ASSERT_TRUE(ScanSceneBox(scene.Root(), box));
    EXPECT_THAT(box, ElementsAre(1, 1, 1, 1, 1, 1));
}

TEST(ScanSceneBox, IsFalseWithTheBoxUnchangedWithoutAPoint)
{
    CTree empty(PointScene({}));
    double box[6] = {7, 7, 7, 7, 7, 7};
    EXPECT_FALSE(ScanSceneBox(empty.Root(), box));
    EXPECT_FALSE(ScanSceneBox(nullptr, box));
    EXPECT_THAT(box, ElementsAre(7, 7, 7, 7, 7, 7));
}

TEST(ExportScan, RefusesANullSceneAndWritesNoFile)
{
    const std::string path = testing::TempDir() + "no_scene.xyz";
    std::filesystem::remove(path);
    EXPECT_THAT([&] { ExportScan(nullptr, path); }, testing::Throws<FileError>(testing::AllOf(
                                                        testing::Property(&FileError::File, path),
                                                        testing::Property(&FileError::Expected, "a scene to export"))));
    EXPECT_FALSE(std::filesystem::exists(path));
}

// 1000 points of 28 bytes, each with a colour that tells it apart.
ScanGeometry ColouredCloud()
{
    ScanGeometry cloud;
    for (int i = 0; i < 1000; ++i) {
        cloud.positions.push_back({double(i), 2.0 * i, 0.5});
        cloud.colors.push_back({uint8_t(i % 256), 7, 9, 255});
    }
    return cloud;
}

// Under a limit of 16 KB the points are split into pieces of 1 KB.
TEST(SplitScans, AScanPastOneNodesLimitBecomesModelsThatEachStreamInFileOrder)
{
    brell::io::detail::NodeStreamLimitScope limit(16 << 10);
    const ScanGeometry cloud = ColouredCloud();
    CTree scene(SceneOfGeometry(cloud, "cloud"));
    CBaseNode* element = scene.Root()->GetChild(0);
    ASSERT_GT(element->GetChildNum(), 1u);
    for (unsigned int i = 0; i < element->GetChildNum(); ++i) {
        EXPECT_TRUE(element->GetChild(i)->IsKindOf("CModelNode"));
        EXPECT_LE(element->GetChild(i)->SizeOfByte(), 1 << 10);
    }
    brell::test::ExpectSameGeometry(GeometryOfScene(scene.Root(), "cloud"), cloud);
}

TEST(SplitScans, AScanWithinTheLimitStaysOneModel)
{
    brell::io::detail::NodeStreamLimitScope limit(32 << 10);
    CTree scene(SceneOfGeometry(ColouredCloud(), "cloud"));
    EXPECT_EQ(scene.Root()->GetChild(0)->GetChildNum(), 1u);
}

// A 30 x 30 grid of triangles with everything a mesh can carry per vertex and
// per face, and one vertex that no face uses.
ScanGeometry FullGrid()
{
    ScanGeometry grid;
    for (int i = 0; i < 901; ++i) {
        grid.positions.push_back({double(i % 30), double(i / 30), 0.25 * i});
        grid.normals.push_back({0, float(i), 1});
        grid.colors.push_back({uint8_t(i % 256), uint8_t(i / 256), 9, 255});
    }
    for (int row = 0; row < 29; ++row) {
        for (int column = 0; column < 29; ++column) {
            const int corner = row * 30 + column;
            for (const CPolygon<int>& face : {CPolygon<int>{{corner, corner + 1, corner + 30, 0}, 3},
                                             CPolygon<int>{{corner + 1, corner + 31, corner + 30, 0}, 3}}) {
                grid.faces.push_back(face);
                grid.texCoords.push_back({{{float(row), 0}, {0, float(column)}, {1, 1}, {}}, 3});
                grid.faceColors.push_back({uint8_t(column), uint8_t(row), 1, 255});
            }
        }
    }
    return grid;
}

// Under a limit of 64 KB the 120 KB mesh is split into meshes of 4 KB.
TEST(SplitScans, AMeshPastOneNodesLimitIsSplitByFacesAndJoinsBackAsItWas)
{
    brell::io::detail::NodeStreamLimitScope limit(64 << 10);
    const ScanGeometry grid = FullGrid();
    CTree scene(SceneOfGeometry(grid, "grid"));
    CBaseNode* element = scene.Root()->GetChild(0);
    ASSERT_GT(element->GetChildNum(), 2u);
    for (unsigned int i = 0; i + 1 < element->GetChildNum(); ++i) {
        EXPECT_TRUE(element->GetChild(i)->IsKindOf("CMeshNode"));
        EXPECT_LE(element->GetChild(i)->SizeOfByte(), 4 << 10);
    }
    EXPECT_STREQ(element->GetChild(element->GetChildNum() - 1)->Type().c_str(), "CModelNode") << "the unused vertex";
    brell::test::ExpectSameGeometry(GeometryOfScene(scene.Root(), "grid"), grid);
}

// Without texture coordinates a scene goes to a PLY file straight from its
// stores, but a split mesh's parts still join back into the scan.
TEST(SplitScans, AnExportedSplitMeshIsTheScanAgain)
{
    brell::io::detail::NodeStreamLimitScope limit(64 << 10);
    ScanGeometry grid = FullGrid();
    grid.texCoords.clear();
    CTree scene(SceneOfGeometry(grid, "grid"));
    const std::string path = testing::TempDir() + "brell-split-grid.ply";
    ExportScan(scene.Root(), path);
    brell::test::ExpectSameGeometry(ReadScanFile(path), grid);
    std::remove(path.c_str());
}

}  // namespace
