#include <brelldata/scan/ModelNodes.h>

#include "core/Adopt.h"
#include "core/Format.h"
#include "scan/ScanNodes.h"

namespace {

constexpr auto kModelFields = [](auto& cursor, CModelNode& model) { brell::StorePart(cursor, *model.vertices); };

// The model's block follows as the base part.
constexpr auto kMeshFields = [](auto& cursor, CMeshNode& mesh) {
    brell::StorePart(cursor, *mesh.polygons);
    brell::StorePart(cursor, *mesh.intList2);
    brell::StorePart(cursor, *mesh.intList3);
    brell::StorePart(cursor, *mesh.texCoords);
    brell::StorePart(cursor, *mesh.intList1);
};

constexpr auto kImageFields = [](auto& cursor, CImageNode& image) { brell::StorePart(cursor, *image.image); };

}  // namespace

BRELL_NODE_TYPE_DEFINE(CModelNode, CObjectNode)

BRELL_SCAN_NODE_DEFINE(CModelNode, CObjectNode, kModelFields, 0)

std::string CModelNode::Comment()
{
    return brell::FormatText("%d vertices", vertices->Number());
}

int CModelNode::Copy(CBaseNode* source)
{
    if (CModelNode* model = brell::AsKindOf<CModelNode>(source)) brell::CopyPrivately(vertices, model->vertices);
    return CObjectNode::Copy(source);
}

BRELL_NODE_TYPE_DEFINE(CMeshNode, CModelNode)

BRELL_SCAN_NODE_DEFINE(CMeshNode, CModelNode, kMeshFields, 0)

std::string CMeshNode::Comment()
{
    return brell::FormatText("%d polygons", polygons->Number());
}

int CMeshNode::Copy(CBaseNode* source)
{
    if (CMeshNode* mesh = brell::AsKindOf<CMeshNode>(source)) {
        brell::CopyPrivately(polygons, mesh->polygons);
        brell::CopyPrivately(texCoords, mesh->texCoords);
        brell::CopyPrivately(intList1, mesh->intList1);
        brell::CopyPrivately(intList2, mesh->intList2);
        brell::CopyPrivately(intList3, mesh->intList3);
    }
    return CModelNode::Copy(source);
}

int CMeshNode::ImageNumber()
{
    return brell::ChildrenOfKind(*this, CImageNode::TypeId());
}

int CMeshNode::ImageIndex(int image)
{
    return brell::ChildIndexOfKind(*this, image, CImageNode::TypeId());
}

CRefData<CMatrixDataStore<RGBA>> CMeshNode::Image(int image)
{
    CBaseNode* node = brell::ChildOfKind(*this, image, CImageNode::TypeId());
    return node == nullptr ? CRefData<CMatrixDataStore<RGBA>>() : static_cast<CImageNode*>(node)->image;
}

int CMeshNode::AppendImage(CRefData<CMatrixDataStore<RGBA>>& image)
{
    CImageNode* node = static_cast<CImageNode*>(CImageNode::Create());
    if (node == nullptr) return -1;
    node->image = image;
    if (!brell::AppendOrRelease(*this, node)) return -1;
    return ImageNumber() - 1;
}

int CMeshNode::InsertImage(int image, CRefData<CMatrixDataStore<RGBA>>& store)
{
    const int index = ImageIndex(image);
    if (index < 0) return AppendImage(store);
    CImageNode* node = static_cast<CImageNode*>(CImageNode::Create());
    if (node == nullptr) return 0;
    node->image = store;
    return brell::InsertOrRelease(*this, static_cast<unsigned int>(index), node) ? 1 : 0;
}

int CMeshNode::DeleteImage(int image)
{
    const int index = ImageIndex(image);
    if (index < 0) return 0;
    RemoveChild(static_cast<unsigned int>(index), 1);
    return 1;
}

BRELL_NODE_TYPE_DEFINE(CImageNode, CObjectNode)

BRELL_SCAN_NODE_DEFINE(CImageNode, CObjectNode, kImageFields, 0)

std::string CImageNode::Comment()
{
    return brell::FormatText("width = %d, height = %d", image->width, image->height);
}

int CImageNode::Copy(CBaseNode* source)
{
    if (CImageNode* other = brell::AsKindOf<CImageNode>(source)) image = other->image;
    return CObjectNode::Copy(source);
}
