// Geometry procedures turn scan data into drawable nodes sharing its stores.

#include "gl/GlScenes.h"

#include <gmock/gmock.h>

#include <brelldata/core/Walk.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>

namespace brell::test {
namespace {

// An element with a model of one point, a textured square mesh from (-1, -1)
// to (1, 1) with a 2x2 image, and a polyline of three points.
class ScanGeometry : public GlTest {
protected:
    void SetUp() override
    {
        GlTest::SetUp();
        auto* model = Add(element.node, new CModelNode);
        model->AppendVertex(1);
        *model->GetVertex(0) = {0.0, 0.0, 0.5};

        mesh = Add(element.node, new CMeshNode);
        mesh->AppendVertex(4);
        const VERTEX corners[] = {{-1.0, 1.0, 0.0}, {1.0, 1.0, 0.0}, {1.0, -1.0, 0.0}, {-1.0, -1.0, 0.0}};
        for (int i = 0; i < 4; ++i) *mesh->GetVertex(i) = corners[i];
        mesh->polygons->rows.push_back({{0, 1, 2, 3}, 4});
        mesh->texCoords->rows.push_back({{{0.0f, 0.0f}, {1.0f, 0.0f}, {1.0f, 1.0f}, {0.0f, 1.0f}}, 4});
        CRefData<CMatrixDataStore<RGBA>> image;
        SetPixels(*image, 2, {kRed, kGreen, kBlue, kYellow});
        mesh->AppendImage(image);

        auto* line = Add(element.node, new CLinearLineNode);
        line->lines->lines.push_back({{-1.55, -1.55, 0.0}, {1.55, -1.55, 0.0}, {1.55, 1.55, 0.0}});
        Add(output.node, OrthoCamera());
    }
    template <class Node>
    Node* Built()
    {
        int counter = 0;
        return static_cast<Node*>(
            SearchNode(output.node, IsSameType, counter, const_cast<char*>(Node::TypeId().c_str())));
    }

    Held<CElementNode> element;
    CMeshNode* mesh = nullptr;
    Scene output;
};

TEST_F(ScanGeometry, TexturedMeshesShareTheScanStoresAndShowTheImage)
{
    ASSERT_EQ(element->GeoCalc(gl::kTextureProcedure, output.node), 1);
    auto* shade = Built<CGeoPolyShadeRefNode>();
    ASSERT_NE(shade, nullptr);
    EXPECT_EQ(std::tuple(&*shade->vertices, &*shade->polygons, &*shade->textureImage, shade->texture, shade->smooth),
              std::tuple(&*mesh->vertices, &*mesh->polygons, &*mesh->Image(0), 1, 0));
    ASSERT_EQ(shade->flatNormals->Number(), 1);
    EXPECT_FLOAT_EQ(shade->FlatNormal(0).z, -1.0f);
    ASSERT_EQ(shade->smoothNormals->Number(), 4);
    EXPECT_FLOAT_EQ(shade->smoothNormals->Element(3).z, -1.0f);
    EXPECT_NE(Built<CGeoPointNode>(), nullptr);
    ASSERT_NE(Built<CGeoLineNode>(), nullptr);
    EXPECT_EQ(Built<CGeoLineNode>()->Number(), 2);

    Render(output.node);
    // Between the texel centres and the edges, where filtering mixes nothing.
    EXPECT_EQ(std::tuple(AtWorld(-0.8, 0.8), AtWorld(0.8, 0.8), AtWorld(-0.8, -0.8), AtWorld(0.8, -0.8)),
              std::tuple(kRed, kGreen, kBlue, kYellow));
    EXPECT_EQ(AtWorld(1.55, 0.0), kWhite);
}

TEST_F(ScanGeometry, WireAndPointProceduresBuildTheirOwnNodes)
{
    ASSERT_EQ(element->GeoCalc(gl::kWireProcedure, output.node), 1);
    auto* wire = Built<CGeoWireFrameNode>();
    ASSERT_NE(wire, nullptr);
    EXPECT_EQ(std::tuple(&*wire->polygons, wire->Number(), Built<CGeoPolyShadeRefNode>()),
              std::tuple(&*mesh->polygons, 1, nullptr));

    ASSERT_EQ(element->GeoCalc(gl::kSmoothProcedure, output.node), 1);
    EXPECT_EQ(Built<CGeoPolyShadeRefNode>()->smooth, 1);
    Render(output.node);
    EXPECT_EQ(AtWorld(0.0, 0.0).r, AtWorld(0.0, 0.0).b);
    EXPECT_GT(AtWorld(0.0, 0.0).r, 150);
}

TEST(PointGeometry, PointsOfModelsOfOneSizeShareOneSelectionAndOthersHaveTheirOwn)
{
    gl::RegisterProcedures();
    Held<CElementNode> parts;
    for (int vertices : {3, 3, 2}) Add(parts.node, new CModelNode)->AppendVertex(vertices);
    Held<CBaseNode> output;
    ASSERT_EQ(parts->GeoCalc(gl::kPointsProcedure, output.node), 1);
    std::vector<CArrayDataStore<int>*> selections;
    for (int n = 0; n < 4; ++n) {
        int counter = n;
        if (CBaseNode* found = SearchNode(output.node, IsSameType, counter, const_cast<char*>("CGeoPointNode")))
            selections.push_back(&*static_cast<CGeoPointNode*>(found)->indices);
    }
    ASSERT_EQ(selections.size(), 3u);
    EXPECT_EQ(selections[0], selections[1]);
    EXPECT_NE(selections[2], selections[1]);
    EXPECT_EQ(selections[2]->Number(), 2);
}

TEST_F(ScanGeometry, CalculationRefusesUnknownProceduresAndTreesWithoutScanData)
{
    const unsigned int children = output->GetChildNum();
    const struct {
        CBaseNode* scan;
        std::string procedure, reason;
    } refused[] = {
        {element.node, "smoth", "expected a procedure among points, wire, shade, smooth or texture, found \"smoth\""},
        {output.node, gl::kSmoothProcedure, "nothing to calculate: the tree holds no scan data"},
    };
    for (const auto& r : refused) {
        EXPECT_THAT([&] { gl::CalculateGeometry(r.scan, r.procedure, output.node); },
                    testing::Throws<gl::RenderError>(testing::Property(&gl::RenderError::Reason, r.reason)));
    }
    EXPECT_EQ(output->GetChildNum(), children);
}

// A green point beside the square, whose top corners are red and bottom ones blue.
TEST_F(ScanGeometry, VertexColoursGoWithTheGeometryAndAreDrawn)
{
    auto* model = static_cast<CModelNode*>(element->GetChild(0));
    *model->GetVertex(0) = {-2.0 + 8.5 / 16.0, 2.0 - 8.5 / 16.0, 0.5};  // the centre of pixel (8, 8)
    RGBA green = kGreen, corners[] = {kRed, kRed, kBlue, kBlue};
    model->SetAttributeStruct(io::kColorsAttribute, &green, sizeof green);
    mesh->SetAttributeStruct(io::kColorsAttribute, corners, sizeof corners);
    for (const char* procedure : {gl::kPointsProcedure, gl::kShadeProcedure, gl::kSmoothProcedure}) {
        Scene display;
        Add(display.node, OrthoCamera());
        ASSERT_EQ(element->GeoCalc(procedure, display.node), 1);
        Render(display.node);
        EXPECT_EQ(At(8, 8), kGreen) << procedure;
        if (procedure == gl::kPointsProcedure) continue;
        const RGBA top = AtWorld(0.0, 0.9), bottom = AtWorld(0.0, -0.9);
        EXPECT_TRUE(top.r > 200 && top.b < 60) << procedure << " " << top;
        EXPECT_TRUE(bottom.b > 200 && bottom.r < 60) << procedure << " " << bottom;
    }
}

}  // namespace
}  // namespace brell::test
