#include "scan/ScanFixtures.h"
#include "support/BoundsInForce.h"
#include "support/Bytes.h"

#include <brelldata/core/Attribute.h>
#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/core/Walk.h>
#include <brelldata/scan/BlockOutput.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace brell::test;

// The node "k" = 5 that Make gives every node, as an attribute block.
Bytes AttributeK()
{
    return Bytes().I32(1).Attribute("k", 1, VALUE_INT, Bytes().I32(5));
}

Bytes& BezierBytes(Bytes& bytes, double first, int tag)
{
    for (int i = 0; i < 9; ++i) bytes.F64(first + i);
    return bytes.I32(tag).I32(0);
}

struct ScanClass {
    const char* type;
    const char* newComment;
    int newSize;                         // of the new node's block, empty stores and attributes
    std::function<CBaseNode*()> filled;  // made by the fixtures; none for classes without a data block
    const char* filledComment;
    Bytes block;  // the filled node's data block before its attributes
};

std::vector<ScanClass> ScanClasses()
{
    Bytes mesh, linear, bezier, charLine;
    // Polygons, list 2, list 3, coordinates, list 1, then the model's block.
    mesh.I32(20).I32(1).I32(3).I32(0).I32(1).I32(2);
    mesh.I32(8).I32(1).I32(7);
    mesh.I32(12).I32(2).I32(8).I32(9);
    mesh.I32(32).I32(1).I32(3).F32(0).F32(0).F32(1).F32(0).F32(0).F32(1);
    mesh.I32(4).I32(0);
    mesh.I32(28).I32(1).F64(1).F64(2).F64(3);
    linear.I32(84).I32(2).I32(3);
    for (double x : {0.5, 1.5, 2.5}) linear.F64(x).F64(x + 0.5).F64(x + 1);
    linear.I32(0);
    BezierBytes(BezierBytes(bezier.I32(168).I32(1).I32(2), 1, 11), 2, 12);
    BezierBytes(charLine.I32(88).I32(1).I32(1), 3, 13).I32(4).I32(0);
    for (int i = 1; i <= 12; ++i) charLine.F64(i);
    charLine.I32(13).F64(14.5).F64(15.5).F64(16).F64(17).F64(18).I32(19);
    return {
        {"CObjectNode", "Attribute: 0", 4, nullptr, nullptr, {}},
        {"CElementNode", "Attribute: 0", 4, nullptr, nullptr, {}},
        {"CLodNode", "LOD level = 0", 8, MakeLod, "LOD level = -3", Bytes().I32(-3)},
        {"CModelNode", "0 vertices", 12, MakeModel, "2 vertices",
         Bytes().I32(52).I32(2).F64(1).F64(2).F64(3).F64(4).F64(5).F64(6)},
        {"CMeshNode", "0 polygons", 52, MakeMesh, "1 polygons", mesh},
        {"CLinearLineNode", "0 lines", 12, MakeLinearLine, "2 lines", linear},
        {"CBezierLineNode", "0 bezier lines", 12, MakeBezierLine, "1 bezier lines", bezier},
        {"CCharLineNode", "Attribute: 0", 168, MakeCharLine, "Attribute: 1", charLine},
        {"CImageNode", "width = 1, height = 0", 16, MakeImage, "width = 3, height = 2",
         Bytes().I32(32).I32(2).I32(3).Raw({0, 1, 2, 3, 1, 2, 3, 4, 2, 3, 4, 5, 3, 4, 5, 6, 4, 5, 6, 7, 5, 6, 7, 8})},
    };
}

// The filled node's whole block: its data block, then its attributes.
std::vector<uint8_t> ExpectedBlock(const ScanClass& c)
{
    std::vector<uint8_t> expected = c.block.Data();
    const std::vector<uint8_t> attributes = AttributeK().Data();
    expected.insert(expected.end(), attributes.begin(), attributes.end());
    // The character line node's last 4 bytes are counted but never written.
    if (std::string(c.type) == "CCharLineNode") expected.insert(expected.end(), 4, 0xEE);
    return expected;
}

std::vector<uint8_t> BlockOf(CBaseNode* node)
{
    std::vector<uint8_t> block(static_cast<size_t>(node->SizeOfByte()), 0xEE);
    EXPECT_EQ(node->Write(block.data()), 1);
    return block;
}

// Null blocks are neither read nor written.
TEST(ScanNodeClasses, AreCreatedByNameWithTheirEmptyCommentsAndBlockSizes)
{
    for (const ScanClass& c : ScanClasses()) {
        SCOPED_TRACE(c.type);
        CTree made(CreateNode(c.type));
        ASSERT_NE(made.Root(), nullptr);
        EXPECT_EQ(std::tuple(made.Root()->Type(), made.Root()->Comment(), made.Root()->SizeOfByte()),
                  std::tuple(c.type, c.newComment, c.newSize));
        EXPECT_EQ(made.Root()->Write(nullptr) + made.Root()->Read(nullptr), 0);
    }
}

// Read into a new node, the block is written again byte for byte.
TEST(ScanNodeBlocks, HoldTheDataThenTheAttributesAndReadBack)
{
    for (const ScanClass& c : ScanClasses()) {
        if (!c.filled) continue;
        SCOPED_TRACE(c.type);
        CTree written(c.filled());
        EXPECT_EQ(written.Root()->Comment(), c.filledComment);
        std::vector<uint8_t> block = BlockOf(written.Root());
        EXPECT_EQ(block, ExpectedBlock(c));
        CTree read(CreateNode(c.type));
        EXPECT_EQ(read.Root()->Read(block.data()), 1);
        ASSERT_EQ(read.Root()->SizeOfByte(), static_cast<int>(block.size()));
        EXPECT_EQ(BlockOf(read.Root()), ExpectedBlock(c));
    }
}

struct CollectedOutput : brell::ByteOutput {
    void Take(const char* bytes, size_t size) override { collected.insert(collected.end(), bytes, bytes + size); }
    std::vector<uint8_t> collected;
};

// The bytes Write leaves alone, the character line node's last four, are put as zeros.
TEST(ScanNodeBlocks, ArePutPieceByPieceAsWriteMakesThemAndCountedAsSizeOfByteCounts)
{
    for (const ScanClass& c : ScanClasses()) {
        if (!c.filled) continue;
        SCOPED_TRACE(c.type);
        CTree written(c.filled());
        std::vector<uint8_t> expected = ExpectedBlock(c);
        std::replace(expected.end() - (std::string(c.type) == "CCharLineNode" ? 4 : 0), expected.end(), 0xEE, 0);
        CollectedOutput out;
        EXPECT_TRUE(brell::PutDataBlock(written.Root(), out));
        out.Drain();
        EXPECT_EQ(out.collected, expected);
        EXPECT_EQ(brell::DataBlockBytes(written.Root()), expected.size());
    }
}

TEST(ScanNodeBlocks, PlannedFromCountsMeasureAsTheNodesMade)
{
    CTree model(CModelNode::Create()), mesh(CMeshNode::Create());
    static_cast<CModelNode*>(model.Root())->AppendVertex(5);
    auto* meshNode = static_cast<CMeshNode*>(mesh.Root());
    meshNode->AppendVertex(3);
    uint64_t planned = brell::MeshBlockBytes(3);
    for (int corners = 0; corners <= 4; ++corners) {
        meshNode->polygons->rows.push_back({{}, corners});
        meshNode->texCoords->rows.push_back({{}, corners});
        planned += brell::MeshPolygonBytes(corners, true);
    }
    EXPECT_EQ(brell::ModelBlockBytes(5), brell::DataBlockBytes(model.Root()));
    EXPECT_EQ(planned, brell::DataBlockBytes(mesh.Root()));
}

TEST(ScanScenes, ReadBackWithEveryNodeInPlace)
{
    Scene scene;
    std::vector<uint8_t> stream(static_cast<size_t>(scene.tree.SizeOfByte()));
    ASSERT_EQ(WriteNode(stream.data(), scene.tree.Root()), static_cast<int>(stream.size()));
    CTree read(ReadNode(stream.data()));
    CElementNode* element = GetElement(0, &read);
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->GetChildNum(), 7u) << "the siblings after the character line node are found";
    CCharLineNode* readCharLine = static_cast<CCharLineNode*>(element->GetNode(0, "CCharLineNode"));
    EXPECT_EQ(readCharLine->intParam2, 19);
    EXPECT_EQ(readCharLine->transient, 0) << "not streamed";
}

// Nothing read is kept.
TEST(CheckedLoads, RefuseStoreCountsThatRunPastTheirBlock)
{
    CTree meshTree(MakeMesh());
    const int modelPart = static_cast<CMeshNode*>(meshTree.Root())->CModelNode::SizeOfByte();
    std::vector<uint8_t> stream(static_cast<size_t>(SizeOfByte(meshTree.Root())));
    WriteNode(stream.data(), meshTree.Root());
    stream[stream.size() - static_cast<size_t>(modelPart) + 4 + 3] = 0x70;  // the vertex count's high byte
    BoundsInForce inForce(stream.data(), stream.size());
    CTree read(ReadNode(stream.data()));
    EXPECT_EQ(read.Root(), nullptr);
    EXPECT_TRUE(inForce.bounds.Failed());
}

// Private: the store is the copy's alone and equal to the source's. Shared: one store, two holders.
template <class Store>
void ExpectPrivate(CRefData<Store>& copy, CRefData<Store>& source)
{
    EXPECT_NE(&*copy, &*source);
    EXPECT_EQ(std::tuple(copy->RefCount(), copy->SizeOfByte()), std::tuple(1, source->SizeOfByte()));
}

template <class Store>
void ExpectShared(CRefData<Store>& copy, CRefData<Store>& source)
{
    EXPECT_EQ(std::tuple(&*copy, source->RefCount()), std::tuple(&*source, 2));
}

TEST(ObjectNodes, CopiedTreesShareOnlyImagesAndCharacterLines)
{
    Scene scene;
    CTree copy(CopyTree(scene.element));
    ASSERT_NE(copy.Root(), nullptr);
    auto* element = static_cast<CElementNode*>(copy.Root());
    auto* model = static_cast<CModelNode*>(element->GetChild(0));
    auto* mesh = element->GetMesh(0);
    auto* image = static_cast<CImageNode*>(mesh->GetChild(0));
    auto* lod = static_cast<CLodNode*>(element->GetChild(2));
    auto* linear = static_cast<CLinearLineNode*>(element->GetChild(3));
    auto* bezier = static_cast<CBezierLineNode*>(element->GetChild(4));
    auto* charLine = static_cast<CCharLineNode*>(element->GetChild(5));

    ExpectPrivate(model->vertices, scene.model->vertices);
    ExpectPrivate(mesh->vertices, scene.mesh->vertices);
    ExpectPrivate(mesh->polygons, scene.mesh->polygons);
    ExpectPrivate(mesh->texCoords, scene.mesh->texCoords);
    ExpectPrivate(mesh->intList1, scene.mesh->intList1);
    ExpectPrivate(mesh->intList2, scene.mesh->intList2);
    ExpectPrivate(mesh->intList3, scene.mesh->intList3);
    ExpectPrivate(linear->lines, scene.linear->lines);
    ExpectPrivate(bezier->lines, scene.bezier->lines);
    ExpectShared(image->image, scene.image->image);
    ExpectShared(charLine->lines1, scene.charLine->lines1);
    ExpectShared(charLine->lines2, scene.charLine->lines2);
    EXPECT_EQ(std::tuple(lod->level, charLine->transient, charLine->realParam2), std::tuple(-3, 99, 15.5));
}

TEST(MeshImages, AreTheImageChildrenCountedInChildOrder)
{
    CTree meshTree(CMeshNode::Create());
    auto* mesh = static_cast<CMeshNode*>(meshTree.Root());
    CRefData<CMatrixDataStore<RGBA>> none = mesh->Image(0);
    EXPECT_EQ(none->width * 10 + none->height, 10) << "a new 1 x 0 matrix";

    CRefData<CMatrixDataStore<RGBA>> first, second, third;
    EXPECT_EQ(mesh->AppendImage(first), 0);
    mesh->AppendChild(CModelNode::Create());
    EXPECT_EQ(mesh->AppendImage(second), 1);
    EXPECT_EQ(std::tuple(mesh->ImageNumber(), &*mesh->Image(1), second->RefCount()), std::tuple(2, &*second, 2));

    EXPECT_EQ(mesh->InsertImage(1, third), 1);
    EXPECT_EQ(&*static_cast<CImageNode*>(mesh->GetChild(2))->image, &*third) << "before image 1, after the model";
    EXPECT_EQ(mesh->InsertImage(7, first), 3) << "no image 7: appended";
    EXPECT_EQ(mesh->DeleteImage(5) + mesh->DeleteImage(-1), 0);
    EXPECT_EQ(mesh->DeleteImage(2), 1);
    EXPECT_EQ(second->RefCount(), 1) << "the image node was released";
    EXPECT_EQ(mesh->GetChildNum(), 4u);
}

TEST(Elements, CountAndFindTheirChildrenByKind)
{
    Scene elements;
    CElementNode* counted = elements.element;
    EXPECT_EQ(counted->NodeNumber("CModelNode"), 2) << "a mesh is a model too";
    EXPECT_EQ(counted->GetNode(1, "CModelNode"), elements.mesh);
    EXPECT_EQ(counted->GetNode(2, "CModelNode"), nullptr);
    EXPECT_EQ(counted->GetNode(-1, "CModelNode"), nullptr);
    EXPECT_EQ(counted->NodeNumber(nullptr) + counted->NodeNumber("CGeoBaseNode"), 0);
    EXPECT_EQ(std::tuple(counted->GetNode(0, nullptr), counted->MeshNumber(), counted->GetMesh(0)),
              std::tuple(nullptr, 1, elements.mesh));
    EXPECT_EQ(counted->ImageNumber(), 0) << "the image is the mesh's child";
    EXPECT_EQ(counted->GetImage(0), nullptr);
    EXPECT_EQ(counted->IsChildEnable(2), 0) << "level of detail";
    EXPECT_EQ(counted->IsChildEnable(1) + counted->IsChildEnable(6) + counted->IsChildEnable(7), 3);
}

TEST(ScanScenes, HoldTheElementsAmongTheRootsChildren)
{
    Scene elements;
    CElementNode* added = Make<CElementNode>("E2");
    EXPECT_EQ(AppendElementToScene(added, &elements.tree), 1);
    elements.tree.Root()->InsertChild(1, CBaseNode::Create());
    EXPECT_EQ(std::tuple(ElementNumber(&elements.tree), GetElement(1, &elements.tree), GetElement(2, &elements.tree)),
              std::tuple(2, added, nullptr));
    EXPECT_EQ(AppendElementToScene(nullptr, &elements.tree), 1);
    EXPECT_EQ(elements.tree.Root()->GetChildNum(), 3u);

    CTree empty;
    EXPECT_EQ(AppendElementToScene(added, &empty) + AppendElementToScene(added, nullptr), 0);
    EXPECT_EQ(std::tuple(ElementNumber(&empty) + ElementNumber(nullptr), GetElement(0, nullptr), added->RefCount()),
              std::tuple(0, nullptr, 1));
}

TEST(ObjectNodes, CopyLeavesOutMeshImagesAndTakesOnlyCommonBases)
{
    Scene fresh;
    CTree meshTree(CMeshNode::Create()), lodTree(CLodNode::Create());
    EXPECT_EQ(meshTree.Root()->Copy(fresh.mesh), 1);
    EXPECT_EQ(meshTree.Root()->GetChildNum(), 0u);
    static_cast<CMeshNode*>(meshTree.Root())->AppendVertex(9);
    EXPECT_EQ(meshTree.Root()->Comment(), "1 polygons") << "of 10 vertices";
    EXPECT_EQ(lodTree.Root()->Copy(fresh.model), 1);
    EXPECT_EQ(lodTree.Root()->Comment(), "LOD level = 0");
    EXPECT_EQ(lodTree.Root()->Name(), "M");
    EXPECT_EQ(meshTree.Root()->Copy(nullptr), 0);
}

TEST(ObjectNodes, CopyConstructionSharesEveryStore)
{
    Scene fresh;
    auto* meshCopy = new CMeshNode(*fresh.mesh);
    auto* charLineCopy = new CCharLineNode(*fresh.charLine);
    CTree holdsMeshCopy(meshCopy), holdsCharLine(charLineCopy);
    ExpectShared(meshCopy->texCoords, fresh.mesh->texCoords);
    ExpectShared(charLineCopy->lines1, fresh.charLine->lines1);
    EXPECT_EQ(charLineCopy->transient, 99) << "the unstreamed integer is copied too";
}

}  // namespace
