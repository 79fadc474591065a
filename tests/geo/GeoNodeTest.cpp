#include "diag/Recording.h"
#include "support/Held.h"

#include <brelldata/core/NodeRegistry.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/LightCameraNodes.h>
#include <brelldata/geo/MeshNodes.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <vector>

namespace {

using brell::test::Held;

// Exposes the repair of normal counts, which only derived classes may call.
class CheckedShade : public CGeoPolyShadeRefNode {
public:
    using CGeoPolyShadeRefNode::Check;
};

// New nodes by name, one row per comment of its own (the poly-wire classes
// keep their bases'), then a few states that the comments mark.
TEST(GeometryComments, ShowEachClassStateAsListed)
{
    struct Case {
        const char* type;
        const char* comment;
        void (*change)(CBaseNode*) = nullptr;
    };
    const Case cases[] = {
        {"CGeoBaseNode", "Attribute: 0[Show]"},
        {"CGeoRefNode", "Geo-Reference node: 0 [No cache]"},
        {"CGeoSwitchNode", "Default: Enable <  >"},
        {"CGeoModeNode", "Wireframe"},
        {"CGeoLightNode", "0 lights"},
        {"CGeoCameraNode",
         "Perspective: 0.000000, 0.000000, 0.000000 => 0.000000, 0.000000, -1000.000000(FOV = 45.000000)"},
        {"CGeoVertexNode", "0 vertices"},
        {"CGeoPointNode", "0 points, 0 vertices"},
        {"CGeoLineNode", "0 lines, 0 vertices, seg = 2"},
        {"CGeoPolygonNode", "0 polygons, 0 vertices"},
        {"CGeoNormalNode", "0 normals"},
        {"CGeoVertexNormalNode", "0 normals"},
        {"CGeoWireFrameNode", "0 lines, 0 vertices, seg = 3"},
        {"CGeoPolygonRefNode", "0 polygons, 0 vertices"},
        {"CGeoPolyShadeRefNode", "0 PolyShades, 0 vertices"},
        {"CGeoLineNode", "2 lines, 4 vertices, seg = 2<close>",
         [](CBaseNode* node) {
             auto* line = static_cast<CGeoLineNode*>(node);
             line->closed = 1;
             line->AppendVertex(4);
             line->Append(2);
         }},
        {"CGeoPolyShadeRefNode", "0 PolyShades, 0 vertices<smooth><texture>",
         [](CBaseNode* node) {
             auto* shade = static_cast<CGeoPolyShadeRefNode*>(node);
             shade->smooth = shade->texture = 1;
         }},
        {"CGeoCameraNode", "Ortho: 0.000000, 0.000000, 0.000000 => 0.000000, 0.000000, -1000.000000",
         [](CBaseNode* node) { static_cast<CGeoCameraNode*>(node)->camera.perspective = 0; }},
        {"CGeoBaseNode", "Attribute: 1[Hide]",
         [](CBaseNode* node) {
             EXPECT_EQ(static_cast<CGeoBaseNode*>(node)->ShowEnable(0), 1) << "the state before";
             node->SetAttributeInt("a", 1);
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.comment);
        Held held(CreateNode(c.type));
        ASSERT_NE(held.node, nullptr);
        EXPECT_EQ(held.node->Type(), c.type);
        if (c.change != nullptr) c.change(held.node);
        EXPECT_EQ(held.node->Comment(), c.comment);
    }
}

// Reference meshes index their texture coordinates with spare elements.
TEST(ReferenceMeshes, IndexThroughTheirIndicesOrTheSpareElement)
{
    Held<CGeoPolyShadeRefNode> mesh;
    auto& rows = mesh->polygons->rows;
    rows.push_back({{0, 1, 2, 0}, 3});
    rows.push_back({{2, 3, 4, 5}, 4});
    mesh->indices->Append(2);
    mesh->indices->Element(0) = 1;
    mesh->indices->Element(1) = 0;
    int& spare = mesh->polygons->Element(-1, 0);
    EXPECT_EQ(std::tuple(mesh->Index(0, 3), mesh->Index(1, 2), &mesh->Index(1, 3), &mesh->Index(0, -1)),
              std::tuple(5, 2, &spare, &spare));

    EXPECT_EQ(&mesh->TextureCoord(5, 7), &mesh->defaultTextureCoord);
    mesh->hasTextureCoords = 1;
    mesh->textureCoords->rows.resize(2);
    mesh->textureCoords->rows[1] = {{{0.5f, 0.25f}}, 1};
    EXPECT_EQ(mesh->TextureCoord(0, 0).y, 0.25f);
    EXPECT_EQ(&mesh->TextureCoord(0, 1), &mesh->textureCoords->Element(-1, 0));
}

TEST(ReferenceMeshes, CheckRepairsNormalCountsAndReportsIt)
{
    brell::test::Recording recording(testing::TempDir() + "brell-geo-check");
    Held<CheckedShade> checked;
    checked->indices->Append(3);
    checked->flatNormals->Append(2);
    checked->FlatNormal(1) = {1, 2, 3};
    checked->AppendVertex(4);
    checked->smoothNormals->Append(4);
    checked->Check();
    EXPECT_EQ(recording.Texts(),
              (std::vector<std::string>{
                  "Internal error: CGeoPolyShadeRefNode's flat normal number is error, and will be corrected.\n"}));
    EXPECT_EQ(std::tuple(checked->flatNormals->Number(), checked->FlatNormal(1).z), std::tuple(3, 3.0f));

    checked->AppendVertex(1);
    checked->Check();
    EXPECT_EQ(std::tuple(recording.Texts().size(), checked->smoothNormals->Number()), std::tuple(2u, 5));
}

TEST(LightNodes, AppendDeleteAndCopyTheirLights)
{
    Held<CGeoLightNode> lights;
    EXPECT_EQ(lights->Light(0), nullptr);
    EXPECT_EQ(lights->Delete(0), 0);
    LIGHT_PARAM light{};
    for (int i = 0; i < 3; ++i) {
        light.type = i;
        EXPECT_EQ(lights->Append(light), i);
    }
    EXPECT_EQ(std::tuple(lights->Light(2)->type, lights->Light(-4)->type, lights->Light(3)), std::tuple(2, 0, nullptr));
    EXPECT_EQ(lights->Delete(1), 1);
    EXPECT_EQ(std::tuple(lights->Light(1)->type, lights->Comment()), std::tuple(2, "2 lights"));
    lights->Copy(lights.node);
    EXPECT_EQ(lights->Number(), 2);
}

TEST(LightNodes, PointersToALightOutliveEditsOfTheOthers)
{
    Held<CGeoLightNode> lights;
    LIGHT_PARAM light{};
    lights->Append(light);
    light.type = 7;
    lights->Append(light);
    LIGHT_PARAM* kept = lights->Light(1);
    for (int i = 0; i < 100; ++i) lights->Append(light);
    lights->Delete(0);
    EXPECT_EQ(lights->Light(0), kept);
    kept->type = 8;
    EXPECT_EQ(lights->Light(0)->type, 8);
}

TEST(ViewPoint, SeesTheWholeBoxInTheFieldOfView)
{
    double x, y, z;
    EXPECT_EQ(EvalViewPoint(-1, -1, -1, 1, 1, 1, 0, 0, -1, 90, x, y, z), 1);
    EXPECT_EQ(std::tuple(x, y), std::tuple(0.0, 0.0));
    EXPECT_NEAR(z, std::sqrt(3.0) / std::sin(M_PI / 4), 1e-12);
    EvalViewPoint(-1, -1, -1, 1, 1, 1, 0, 0, -2, 0, x, y, z);
    EXPECT_NEAR(z, 4.526067, 1e-6);
}

TEST(GeometryCopies, ShareTheStoresOfTheTypesInCommon)
{
    Held<CGeoPointNode> copied, source;
    source->size = 3.0;
    source->SetName("source");
    source->ShowEnable(0);
    ASSERT_EQ(copied->Copy(source.node), 1);
    EXPECT_EQ(std::tuple(copied->size, copied->Name(), copied->IsShow()), std::tuple(3.0, "source", 0));
    source->Append(1);
    source->Index(0) = 42;
    source->AppendVertex(1);
    EXPECT_EQ(std::tuple(copied->Index(0), copied->VertexNumber()), std::tuple(42, 1));

    EXPECT_EQ(copied->Copy(nullptr), 0);
    EXPECT_EQ(copied->Copy(copied.node), 1);
    EXPECT_EQ(copied->Index(0), 42);
}

TEST(GeometryCopies, FromALineNodeTakeOnlyTheVertices)
{
    Held<CGeoPointNode> fromLine;
    Held<CGeoLineNode> lines;
    lines->AppendVertex(5);
    ASSERT_EQ(fromLine->Copy(lines.node), 1);
    EXPECT_EQ(std::tuple(fromLine->VertexNumber(), fromLine->size, fromLine->Number()), std::tuple(5, 1.0, 0));
}

TEST(GeometryCopies, OfAShadedMeshShareOnlyTheTextureImage)
{
    Held<CGeoPolyShadeRefNode> shaded, shadeSource;
    shadeSource->smooth = 1;
    shadeSource->flatNormals->Append(3);
    shadeSource->indices->Append(2);
    shaded->Copy(shadeSource.node);
    shadeSource->textureImage->AppendRows(4);
    EXPECT_EQ(std::tuple(shaded->smooth, shaded->textureImage->height, shaded->flatNormals->Number(), shaded->Number()),
              std::tuple(1, 4, 0, 2));
}

TEST(GeometryCopies, OfVertexNormalsKeepTheirOwnLength)
{
    Held<CGeoVertexNormalNode> vertexNormals, vertexNormalSource;
    vertexNormalSource->length = 2.0;
    vertexNormalSource->Append(2);
    vertexNormals->Copy(vertexNormalSource.node);
    EXPECT_EQ(std::tuple(vertexNormals->length, vertexNormals->normals->Number()), std::tuple(10.0, 2));
}

// Normals follow their indices.
TEST(VertexNodes, DeleteByValue)
{
    Held<CGeoNormalNode> indexed;
    ASSERT_EQ(indexed->Append(4), 1);
    EXPECT_EQ(indexed->normals->Number(), 4);
    const int values[] = {4, 1, 4, 2};
    for (int i = 0; i < 4; ++i) {
        indexed->Index(i) = values[i];
        indexed->Normal(i) = {double(i), 0, 0};
    }
    indexed->DeleteByValue(4);
    ASSERT_EQ(indexed->Number(), 2);
    EXPECT_EQ(std::tuple(indexed->Index(0), indexed->Index(1), indexed->Normal(1).x, indexed->normals->Number()),
              std::tuple(1, 2, 3.0, 2));

    Held<CGeoPolygonNode> polygon;
    polygon->Append(3);
    const int corners[3][3] = {{0, 1, 2}, {2, 3, 4}, {4, 5, 0}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) polygon->Index(i, j) = corners[i][j];
    polygon->DeleteByValue(4);
    ASSERT_EQ(polygon->Number(), 1);
    EXPECT_EQ(polygon->Index(0, 2), 2);
}

TEST(VertexNodes, VertexNormalsWithoutANormalForEveryVertexHaveNoBox)
{
    Held<CGeoVertexNormalNode> normals;
    normals->AppendVertex(3);
    normals->Append(2);
    double box[6];
    EXPECT_EQ(normals->EvalBBoxThis(box[0], box[1], box[2], box[3], box[4], box[5]), 0);
}

TEST(VertexNodes, FindTheNearestVertexAfterTheSkippedOne)
{
    Held<CGeoVertexNode> node;
    node->AppendVertex(3);
    node->GetVertex(0) = {0, 0, 0};
    node->GetVertex(1) = node->GetVertex(2) = {1, 2, 3};
    EXPECT_EQ(node->FindNearestVertex(1, 2, 2.5, 0), 1);
    EXPECT_EQ(node->FindNearestVertex(CVector_3<double>{0, 0, 0}, 1), 1);
    EXPECT_EQ(node->FindNearestVertex(0, 0, 0, 3), -1);
    EXPECT_EQ(node->FindNearestVertex(0, 0, 0, -5), 0);
    EXPECT_EQ(node->FindNearestVertex(1e30, 0, 0, 0), -1);  // no vertex closer than 1e38 squared
}

// Segment() raised over rows already held, or set to 0: boxes and deletes keep
// to the rows that lie within the capacity (Number() and Index() are the store's).
TEST(IndexRows, PastTheCapacityAtTheSegmentAreNotUsed)
{
    Held<CGeoPolygonNode> raised;
    raised->AppendVertex(1);
    raised->Segment() = 2;
    raised->Append(1024);
    raised->Segment() = 3;
    double box[6];
    EXPECT_EQ(raised->EvalBBoxThis(box[0], box[1], box[2], box[3], box[4], box[5]), 1);
    EXPECT_EQ(raised->DeleteByValue(5), 1);

    Held<CGeoPolygonNode> none;
    none->Segment() = 0;
    none->Index(0, 0) = 1;
    EXPECT_EQ(none->EvalBBoxThis(box[0], box[1], box[2], box[3], box[4], box[5]), 0);
}

}  // namespace
