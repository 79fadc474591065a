#include <brelldata/core/Tree.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>

#include "io/GeometryMatchers.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <tuple>
#include <utility>

namespace {

using namespace brell::io;
using brell::test::ExpectSameGeometry;
using brell::test::FirstDifference;
using brell::test::TexturedMesh;
using ScanScenes = brell::test::ScratchFolder;

// The scene's one model or mesh: the element's only child.
CModelNode* ModelOf(CBaseNode* root)
{
    CBaseNode* element = root->GetChild(0);
    EXPECT_TRUE(element != nullptr && element->IsKindOf("CElementNode"));
    CBaseNode* model = element == nullptr ? nullptr : element->GetChild(0);
    EXPECT_TRUE(model != nullptr && model->IsKindOf("CModelNode"));
    return static_cast<CModelNode*>(model);
}

TEST_F(ScanScenes, FilesBecomeElementsOfMeshesOrModelsThatExportBackAndStreamWhatIsValid)
{
    const std::string path = Path("textured.ply");
    WriteScanFile(TexturedMesh(), path);
    CTree scene(ImportScan(path));
    EXPECT_EQ(scene.Root()->RefCount(), 1);  // the tree's reference only
    ASSERT_EQ(scene.Root()->GetChildNum(), 1u);
    EXPECT_EQ(scene.Root()->GetChild(0)->Name(), "textured.ply");
    ASSERT_TRUE(ModelOf(scene.Root())->IsKindOf("CMeshNode"));
    auto* mesh = static_cast<CMeshNode*>(ModelOf(scene.Root()));
    EXPECT_EQ(std::tuple(mesh->VertexNumber(), mesh->polygons->Number(), mesh->texCoords->Element(1, 2).x),
              std::tuple(5, 2, 0.125f));
    int size = 0;
    ASSERT_NE(mesh->QueryAttributeStruct("normals", &size), nullptr);
    EXPECT_EQ(size, 5 * 12);
    const auto* colors = static_cast<const RGBA*>(mesh->QueryAttributeStruct("colors", &size));
    ASSERT_NE(colors, nullptr);
    EXPECT_EQ(colors[3].r, 9);

    // A point list becomes a model and exports back element for element.
    ScanGeometry points = TexturedMesh();
    points.faces.clear();
    points.texCoords.clear();
    points.colors.clear();
    CTree cloud(SceneOfGeometry(points, "points.xyz"));
    CModelNode* model = ModelOf(cloud.Root());
    EXPECT_FALSE(model->IsKindOf("CMeshNode"));
    EXPECT_EQ(model->QueryAttributeStruct("colors", nullptr), nullptr);
    ExportScan(cloud.Root(), Path("points.xyz"));
    ExpectSameGeometry(ReadScanFile(Path("points.xyz")), points);

    // Bad polygons and attributes of the wrong size are refused.
    CTree streamed(SceneOfGeometry(TexturedMesh(), "m"));

    auto* node = static_cast<CMeshNode*>(ModelOf(streamed.Root()));
    node->polygons->rows[1].items[2] = 5;
    EXPECT_THROW(GeometryOfScene(streamed.Root(), "m"), FileError);
    node->polygons->rows[1].items[2] = 4;
    float shortNormals[3] = {0, 0, 1};
    node->SetAttributeStruct("normals", shortNormals, sizeof shortNormals);
    EXPECT_THAT([&] { GeometryOfScene(streamed.Root(), "m"); },
                testing::Throws<FileError>(testing::AllOf(
                    testing::Property(&FileError::Expected, "60 bytes of normals in model \"m\" (5 vertices)"),
                    testing::Property(&FileError::Found, "12"))));
    EXPECT_TRUE(GeometryOfScene(nullptr, "none").positions.empty());
}

// Face colours travel as the mesh's "faceColors", lines as a linear line node beside it;
// a line point found among the vertices is that vertex, any other one a vertex of its own.
TEST_F(ScanScenes, KeepFaceColoursAsAnAttributeAndLinesAsALineNode)
{
    ScanGeometry geometry = TexturedMesh();
    geometry.faceColors = {{1, 2, 3, 255}, {4, 5, 6, 7}};
    geometry.lineVertices = {0, 1, 2, 4, 3};
    geometry.lineStarts = {0, 3};
    CTree scene(SceneOfGeometry(geometry, "m"));
    int size = 0;
    ASSERT_NE(ModelOf(scene.Root())->QueryAttributeStruct(kFaceColorsAttribute, &size), nullptr);
    EXPECT_EQ(size, 8);
    CBaseNode* element = scene.Root()->GetChild(0);
    ASSERT_EQ(element->GetChildNum(), 2u);
    ASSERT_TRUE(element->GetChild(1)->IsKindOf("CLinearLineNode"));
    auto* lines = static_cast<CLinearLineNode*>(element->GetChild(1));
    EXPECT_EQ(lines->Name(), "m");
    ASSERT_EQ(lines->lines->Number(), 2);
    EXPECT_EQ(lines->lines->Element(1, 0).z, 1.0 / 3);
    ExpectSameGeometry(GeometryOfScene(scene.Root(), "m"), geometry);

    lines->lines->lines[1][1] = {7, 8, 9};
    const ScanGeometry moved = GeometryOfScene(scene.Root(), "m");
    ASSERT_EQ(moved.positions.size(), 6u);
    EXPECT_EQ(std::tuple(moved.positions[5].y, moved.lineVertices[4], moved.normals[5].z), std::tuple(8, 5, 0.0f));
}

TEST_F(ScanScenes, MadeFromAGeometryGivenUpTakeItsRowsWithoutACopy)
{
    ScanGeometry geometry = TexturedMesh();
    const ScanGeometry expected = geometry;
    const CPolygon<int>* faces = geometry.faces.data();
    const CPolygon<CVector_2<float>>* texCoords = geometry.texCoords.data();
    CTree scene(SceneOfGeometry(std::move(geometry), "m"));
    auto* mesh = static_cast<CMeshNode*>(ModelOf(scene.Root()));
    EXPECT_EQ(std::tuple(mesh->polygons->rows.data(), mesh->texCoords->rows.data()), std::tuple(faces, texCoords));
    ExpectSameGeometry(GeometryOfScene(scene.Root(), "m"), expected);
}

// Enough points, with normals and colours, for files and stores many buffers
// and pages long; every coordinate a double that no float holds.
ScanGeometry LargeCloud()
{
    constexpr int kPoints = 200000;
    ScanGeometry g;
    for (int i = 0; i < kPoints; ++i) {
        g.positions.push_back({i * 0.1, (i % 977) / 3.0, -i / 7.0});
        g.normals.push_back({0, static_cast<float>(i % 2), 1});
        g.colors.push_back({static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), 7, static_cast<uint8_t>(i % 3 + 253)});
    }
    return g;
}

using EncodingCase = std::pair<const char*, PlyEncoding>;

class PlyEncodings : public testing::TestWithParam<EncodingCase> {};

// Export writes a scene's models and meshes straight from their stores, as
// GeometryOfScene joins them: a part without normals, colours or face colours
// gets the defaults.
TEST_P(PlyEncodings, CarryAnExportedSceneOfManyPartsAsItJoins)
{
    ScanGeometry withFaceColours = TexturedMesh();
    withFaceColours.texCoords.clear();
    withFaceColours.faceColors = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    CTree scene(SceneOfGeometry(withFaceColours, "a"));
    ScanGeometry bare = TexturedMesh();
    bare.texCoords.clear();
    bare.normals.clear();
    bare.colors.clear();
    scene.Root()->AppendChild(SceneOfGeometry(bare, "b"));
    const std::string path = testing::TempDir() + "parts-" + GetParam().first + ".ply";
    ExportScan(scene.Root(), path, GetParam().second);
    ExpectSameGeometry(ReadScanFile(path), GeometryOfScene(scene.Root(), "parts"));
    std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Each, PlyEncodings,
                         testing::Values(EncodingCase{"ascii", PlyEncoding::ascii},
                                         EncodingCase{"little", PlyEncoding::binaryLittleEndian},
                                         EncodingCase{"big", PlyEncoding::binaryBigEndian}),
                         [](const auto& info) { return std::string(info.param.first); });

// A scan's positions reach its model's store whole, whether read straight
// into it (PLY) or moved there from the reader's array (the text formats).
TEST_F(ScanScenes, ImportedFromAnyFormatHoldEveryPosition)
{
    const ScanGeometry cloud = LargeCloud();
    for (const char* name : {"large.ply", "large.xyz"}) {
        const std::string path = Path(name);
        WriteScanFile(cloud, path);
        brell::ReleaseKeptBulk();  // no freed store may hold these positions already
        CTree scene(ImportScan(path));
        const ScanGeometry imported = GeometryOfScene(scene.Root(), name);
        EXPECT_EQ(FirstDifference(imported.positions, cloud.positions), "") << name;
    }
}

}  // namespace
