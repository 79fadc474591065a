// glTF files: round trips through .glb and .gltf, what import makes of a
// file, and hostile files. Every file exported here is kept in
// BRELL_GLTF_EXPORTS, where the glTF validator test checks it.

#include <brelldata/core/Tree.h>
#include <brelldata/io/Gltf.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include "io/FileErrors.h"
#include "io/GeometryMatchers.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <tuple>

namespace {

using namespace brell::io;
using brell::test::FileErrorOf;
namespace fs = std::filesystem;

const fs::path exports = BRELL_GLTF_EXPORTS;

using GltfFiles = brell::test::ScratchFolder;

// A scene of one element holding a mesh of two triangles (and, as asked,
// normals, colours, texture coordinates and a 3x2 texture) or a model of
// its four points, every value exact as a 32-bit float.
CBaseNode* Scan(bool mesh, bool colored, bool textured, bool withNormals = true)
{
    CBaseNode* root = CBaseNode::Create();
    CBaseNode* element = CElementNode::Create();
    element->SetName("shot 1");
    root->AppendChild(element);
    auto* model = static_cast<CModelNode*>(mesh ? CMeshNode::Create() : CModelNode::Create());
    model->SetName("vase");
    element->AppendChild(model);
    const VERTEX points[] = {{0, 0, 0}, {1.5, 0, 0}, {0, 2.25, -1}, {1.5, 2.25, 0.125}};
    model->AppendVertex(4);
    std::memcpy(model->vertices->Buffer(), points, sizeof points);
    CVector_3<float> normals[] = {{0, 0, 1}, {0, 1, 0}, {1, 0, 0}, {0, 0, -1}};
    if (withNormals) model->SetAttributeStruct(kNormalsAttribute, normals, sizeof normals);
    if (colored) {
        RGBA colors[] = {{255, 0, 0, 255}, {0, 255, 0, 128}, {0, 0, 255, 0}, {9, 99, 199, 255}};
        model->SetAttributeStruct(kColorsAttribute, colors, sizeof colors);
    }
    if (!mesh) return root;
    auto* triangles = static_cast<CMeshNode*>(model);
    triangles->polygons->rows.assign({{{0, 1, 2, 0}, 3}, {{1, 3, 2, 0}, 3}});
    if (!textured) return root;
    triangles->texCoords->rows.assign({{{{0, 0}, {1, 0}, {0, 1}, {}}, 3}, {{{1, 0}, {1, 1}, {0, 1}, {}}, 3}});
    CRefData<CMatrixDataStore<RGBA>> image;
    image->width = 3;
    image->AppendRows(2);
    for (int i = 0; i < 6; ++i) image->Buffer()[i] = {uint8_t(i * 40), uint8_t(255 - i), 7, uint8_t(200 + i)};
    triangles->AppendImage(image);
    return root;
}

void ExpectSameScan(CBaseNode* expected, CBaseNode* actual)
{
    ASSERT_EQ(actual->GetChildNum(), 1u);
    ASSERT_EQ(actual->GetChild(0)->GetChildNum(), 1u);
    EXPECT_EQ(actual->GetChild(0)->Name(), "shot 1");
    auto* from = brell::AsKindOf<CModelNode>(expected->GetChild(0)->GetChild(0));
    auto* to = brell::AsKindOf<CModelNode>(actual->GetChild(0)->GetChild(0));
    ASSERT_NE(to, nullptr);
    EXPECT_EQ(std::tuple(to->Type(), to->Name()), std::tuple(from->Type(), "vase"));
    brell::test::ExpectSameGeometry(GeometryOfScene(actual, "read"), GeometryOfScene(expected, "written"));
    auto* fromMesh = brell::AsKindOf<CMeshNode>(from);
    if (fromMesh == nullptr) return;
    auto* toMesh = brell::AsKindOf<CMeshNode>(to);
    ASSERT_EQ(toMesh->ImageNumber(), fromMesh->ImageNumber());
    if (fromMesh->ImageNumber() == 0) return;
    const auto fromImage = fromMesh->Image(0), toImage = toMesh->Image(0);
    ASSERT_EQ(std::tuple(toImage->width, toImage->HeldRows()), std::tuple(fromImage->width, fromImage->HeldRows()));
    EXPECT_EQ(std::memcmp(toImage->Buffer(), fromImage->Buffer(), sizeof(RGBA) * toImage->width * toImage->HeldRows()),
              0);
}

// Each file keeps what the scan holds exactly, and stays for the validator.
TEST_F(GltfFiles, KeepVerticesPolygonsNormalsColoursTextureCoordinatesAndPixelsExactly)
{
    fs::create_directories(exports);
    const struct {
        const char* file;
        bool mesh, colored, textured;
        GltfBuffer buffer;
    } cases[] = {
        {"points.glb", false, true, false, GltfBuffer::embedded},
        {"mesh.glb", true, false, false, GltfBuffer::embedded},
        {"colored-mesh.glb", true, true, false, GltfBuffer::embedded},
        {"textured-mesh.glb", true, true, true, GltfBuffer::embedded},
        {"textured-mesh.gltf", true, true, true, GltfBuffer::embedded},
        {"textured-mesh-external.gltf", true, true, true, GltfBuffer::external},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        CTree scan(Scan(c.mesh, c.colored, c.textured));
        const std::string path = (exports / c.file).string();
        ExportGltf(scan.Root(), path, c.buffer);
        CTree again(ImportGltf(path));
        ExpectSameScan(scan.Root(), again.Root());
    }
}

TEST_F(GltfFiles, SplitAVertexWhoseCornersHaveDifferentTextureCoordinates)
{
    CTree scan(Scan(true, false, true));
    auto* mesh = static_cast<CMeshNode*>(scan.Root()->GetChild(0)->GetChild(0));
    mesh->texCoords->rows[1].items[0] = {0.5f, 0.5f};  // vertex 1 is (1, 0) in the first triangle
    CTree again(ReadGltf(WriteGlb(scan.Root(), "split.glb"), "split.glb"));
    auto* read = static_cast<CMeshNode*>(again.Root()->GetChild(0)->GetChild(0));
    EXPECT_EQ(std::tuple(read->VertexNumber(), read->polygons->rows[1].items[0]), std::tuple(5, 4));
    EXPECT_EQ(brell::test::FirstDifference(read->texCoords->rows, mesh->texCoords->rows), "");
}

// Unit normal of the triangle a, b, c of points.
std::vector<float> FaceNormal(const VERTEX* p, int a, int b, int c)
{
    const double u[3] = {p[b].x - p[a].x, p[b].y - p[a].y, p[b].z - p[a].z};
    const double v[3] = {p[c].x - p[a].x, p[c].y - p[a].y, p[c].z - p[a].z};
    const double n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    return {float(n[0] / length), float(n[1] / length), float(n[2] / length)};
}

TEST_F(GltfFiles, GiveAMeshWithoutNormalsItsFlatOrSmoothNormalsWhenAsked)
{
    CTree scan(Scan(true, false, false, false));
    const VERTEX* p = static_cast<CModelNode*>(scan.Root()->GetChild(0)->GetChild(0))->vertices->Buffer();
    // The first vertex lies in the first triangle only, the last in the second only.
    const std::vector<float> faceNormals[] = {FaceNormal(p, 0, 1, 2), FaceNormal(p, 1, 3, 2)};
    for (const auto& [normals, vertices] :
         {std::pair{GltfNormals::flat, size_t{6}}, {GltfNormals::smooth, size_t{4}}}) {
        CTree again(ReadGltf(WriteGlb(scan.Root(), "normals.glb", normals), "normals.glb"));
        const ScanGeometry read = GeometryOfScene(again.Root(), "normals.glb");
        ASSERT_EQ(std::tuple(read.positions.size(), read.normals.size()), std::tuple(vertices, vertices));
        for (int i : {0, 1}) {
            const CVector_3<float>& n = read.normals[i == 0 ? 0 : vertices - 1];
            EXPECT_THAT(std::vector<float>({n.x, n.y, n.z}),
                        testing::Pointwise(testing::FloatNear(1e-6f), faceNormals[i]));
        }
    }
}

// A hand-made file of one triangle, as node gives it, with extra members.
std::string Triangle(const std::string& node, const std::string& extra = "")
{
    return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[)" + node +
           R"(],"meshes":[{"primitives":[{"attributes":{"POSITION":0},"indices":1}]}],)"
           R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"},)"
           R"({"bufferView":1,"componentType":5125,"count":3,"type":"SCALAR"}],)"
           R"("bufferViews":[{"buffer":0,"byteLength":36},{"buffer":0,"byteOffset":36,"byteLength":12}],)"
           R"("buffers":[{"byteLength":48,"uri":"data:application/octet-stream;base64,)" +
           "AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAAAAAAAAEAAAACAAAA\"}]" + extra + "}";
}

TEST_F(GltfFiles, ApplyNodeTransformsToVertices)
{
    CTree scene(ReadGltf(Triangle(R"({"name":"moved","mesh":0,"translation":[10,0,0],"scale":[2,2,2]})"), "t.gltf"));
    auto* mesh = brell::AsKindOf<CMeshNode>(scene.Root()->GetChild(0)->GetChild(0));
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(scene.Root()->GetChild(0)->Name(), "moved");
    const VERTEX* v = mesh->vertices->Buffer();
    EXPECT_THAT(std::vector<double>({v[1].x, v[1].y, v[2].x, v[2].y}), testing::ElementsAre(12, 0, 10, 2));
}

TEST_F(GltfFiles, SkipUnsupportedPartsWithOneWarningEach)
{
    std::vector<std::string> warnings;
    CTree scene(ReadGltf(
        Triangle(R"({"mesh":0})", R"(,"extensionsUsed":["KHR_materials_unlit"],"cameras":[{"type":"perspective",)"
                                  R"("perspective":{"yfov":1,"znear":0.1}}])"),
        "t.gltf", &warnings));
    EXPECT_THAT(warnings, testing::ElementsAre("1 cameras skipped", "extension KHR_materials_unlit skipped"));
}

// A binary file of four points whose one primitive has the mode and the
// indices, of componentType; none when componentType is 0.
std::string QuadGlb(int mode, int componentType, std::vector<uint32_t> indices)
{
    const float points[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0};
    std::string bin(reinterpret_cast<const char*>(points), sizeof points);
    if (componentType == 0) indices = {0};  // an accessor the primitive does not name
    const size_t size = componentType == 5121 ? 1 : componentType == 5123 ? 2 : 4;
    for (uint32_t index : indices) bin.append(reinterpret_cast<const char*>(&index), size);
    bin.resize((bin.size() + 3) / 4 * 4, '\0');
    const std::string n = std::to_string(indices.size()),
                      type = componentType == 0 ? "5125" : std::to_string(componentType);
    std::string json =
        R"({"asset":{"version":"2.0"},"nodes":[{"mesh":0}],"meshes":[{"primitives":[{"mode":)" + std::to_string(mode) +
        R"(,"attributes":{"POSITION":0})" + (componentType != 0 ? R"(,"indices":1)" : "") +
        R"(}]}],"accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3"},)"
        R"({"bufferView":1,"componentType":)" +
        type + R"(,"count":)" + n +
        R"(,"type":"SCALAR"}],"bufferViews":[{"buffer":0,"byteLength":48},)"
        R"({"buffer":0,"byteOffset":48,"byteLength":)" +
        std::to_string(bin.size() - 48) + R"(}],"buffers":[{"byteLength":)" + std::to_string(bin.size()) + "}]}";
    json.resize((json.size() + 3) / 4 * 4, ' ');
    auto word = [](std::string& to, size_t value) { to.append(reinterpret_cast<const char*>(&value), 4); };
    std::string glb = "glTF";
    word(glb, 2);
    word(glb, 28 + json.size() + bin.size());
    word(glb, json.size());
    glb += "JSON" + json;
    word(glb, bin.size());
    return glb + std::string("BIN\0", 4) + bin;
}

TEST_F(GltfFiles, ReadTriangleListsStripsAndFansOfEveryIndexType)
{
    using Triangles = std::vector<std::vector<int>>;
    const struct {
        int mode, componentType;
        std::vector<uint32_t> indices;
        Triangles triangles;
    } cases[] = {
        {4, 5121, {0, 1, 2, 1, 3, 2}, {{0, 1, 2}, {1, 3, 2}}},
        {4, 5123, {0, 1, 2, 1, 3, 2, 3}, {{0, 1, 2}, {1, 3, 2}}},
        {4, 5125, {3, 2, 1}, {{3, 2, 1}}},
        {4, 0, {}, {{0, 1, 2}}},
        {5, 5125, {0, 1, 2, 3}, {{0, 1, 2}, {2, 1, 3}}},
        {6, 5121, {0, 1, 3, 2}, {{0, 1, 3}, {0, 3, 2}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << ", component type " << c.componentType);
        CTree scene(ReadGltf(QuadGlb(c.mode, c.componentType, c.indices), "quad.glb"));
        auto* mesh = brell::AsKindOf<CMeshNode>(scene.Root()->GetChild(0)->GetChild(0));
        ASSERT_NE(mesh, nullptr);
        Triangles triangles;
        for (const CPolygon<int>& row : mesh->polygons->rows)
            triangles.push_back(std::vector<int>(row.items, row.items + row.count));
        EXPECT_EQ(triangles, c.triangles);
    }
}

// Read from disk, a file is refused with the message the same bytes in memory give.
TEST_F(GltfFiles, AreRefusedWhenHostileEachWithItsOwnMessageFromMemoryOrDisk)
{
    const std::string glb = QuadGlb(4, 5121, {0, 1, 2});
    uint32_t jsonLength = 0;
    std::memcpy(&jsonLength, glb.data() + 12, 4);
    std::string longChunk = glb, pastView = glb;
    const uint32_t pastTheEnd = static_cast<uint32_t>(glb.size());
    std::memcpy(longChunk.data() + 20 + jsonLength, &pastTheEnd, 4);
    pastView.replace(pastView.find("\"count\":4"), 9, "\"count\":5");
    const struct {
        const char* name;
        std::string bytes, message;
    } cases[] = {
        {"hostile.glb", glb.substr(0, glb.size() - 10),
         "hostile.glb: byte " + std::to_string(glb.size() - 10) + ": expected the " + std::to_string(glb.size()) +
             " bytes the header gives, found the end of the file"},
        {"hostile.glb", longChunk,
         "hostile.glb: byte " + std::to_string(20 + jsonLength) + ": expected a chunk length of at most the " +
             std::to_string(glb.size() - 28 - jsonLength) + " bytes left in the file, found " +
             std::to_string(pastTheEnd)},
        {"hostile.glb", pastView,
         "hostile.glb: expected accessors[0] (5 elements of 12 bytes) to end within bufferViews[0]'s 48 bytes, found "
         "an end at byte 60"},
        {"hostile.glb", QuadGlb(4, 5121, {0, 1, 7}),
         "hostile.glb: expected vertex indices below 4 in accessors[1] (element 2), found 7"},
        {"hostile.gltf", "{\"a\":" + std::string(100, '['),
         "hostile.gltf: byte 68: expected JSON nested at most 64 deep, found a 65th level"},
    };
    for (const auto& c : cases) {
        const auto inMemory = [&c](const std::string& name) {
            return FileErrorOf([&] { CTree(ReadGltf(c.bytes, name)); });
        };
        EXPECT_EQ(inMemory(c.name), c.message);
        const std::string path = Write(c.name, c.bytes);
        EXPECT_EQ(FileErrorOf([&] { CTree(ImportGltf(path)); }), inMemory(path)) << c.message;
    }
}

TEST_F(GltfFiles, ReadFromDiskInPiecesAsFromMemory)
{
    // Enough triangles and vertices for several pieces of each.
    constexpr int kTriangles = 60000, kVertices = kTriangles / 2 + 2;
    CTree scan(Scan(true, false, false));
    auto* mesh = static_cast<CMeshNode*>(scan.Root()->GetChild(0)->GetChild(0));
    mesh->AppendVertex(kVertices - mesh->VertexNumber());
    std::vector<CVector_3<float>> normals(kVertices);
    for (int i = 0; i < kVertices; ++i) {
        mesh->vertices->Buffer()[i] = {i * 0.5, i % 2 * 1.0, i * 0.25};
        normals[i] = {0, i % 2 * 1.0f, 1 - i % 2 * 1.0f};
    }
    mesh->SetAttributeStruct(kNormalsAttribute, normals.data(), static_cast<int>(normals.size() * 12));
    mesh->polygons->rows.resize(kTriangles);
    for (int t = 0; t < kTriangles; ++t) mesh->polygons->rows[t] = {{t / 2, t / 2 + 1 + t % 2, t / 2 + 2, 0}, 3};
    const std::string path = Write("large.glb", WriteGlb(scan.Root(), "large.glb"));
    CTree fromDisk(ImportGltf(path));
    ExpectSameScan(scan.Root(), fromDisk.Root());
}

TEST_F(GltfFiles, MayNotNameABufferOutsideTheirFolder)
{
    fs::create_directory(folder / "in");
    std::string file = Triangle(R"({"mesh":0})");
    const size_t uri = file.find("data:");
    file.replace(uri, file.find('"', uri) - uri, "../secret.bin");
    Write("secret.bin", std::string(48, '\0'));
    const std::string path = Write("in/escape.gltf", file);
    EXPECT_EQ(
        FileErrorOf([&] { CTree(ImportGltf(path)); }),
        path + ": expected a URI inside the file's folder (no \"..\", no absolute path), found \"../secret.bin\"");
}

}  // namespace
