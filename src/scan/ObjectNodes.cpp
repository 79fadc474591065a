#include <brelldata/scan/ObjectNodes.h>

#include "core/Adopt.h"
#include "core/Format.h"
#include "procedures/ProcedureCall.h"
#include "scan/ScanNodes.h"

#include <brelldata/core/RefNode.h>
#include <brelldata/core/Tree.h>
#include <brelldata/scan/ModelNodes.h>

namespace brell {

void RefuseStore(const CBaseNode& node, const unsigned char* at)
{
    if (BlockBounds* bounds = ActiveBlockBounds(); bounds != nullptr)
        bounds->Refuse(at, "a store that does not read in " + node.Type() + " \"" + node.Name() + "\"");
}

int ChildrenOfKind(const CBaseNode& node, const std::string& type)
{
    int number = 0;
    for (unsigned int i = 0; i < node.GetChildNum(); ++i) {
        CBaseNode* child = node.GetChild(i);
        if (child != nullptr && child->IsKindOf(type)) ++number;
    }
    return number;
}

int ChildIndexOfKind(const CBaseNode& node, int index, const std::string& type)
{
    if (index < 0) return -1;
    for (unsigned int i = 0; i < node.GetChildNum(); ++i) {
        CBaseNode* child = node.GetChild(i);
        if (child != nullptr && child->IsKindOf(type) && index-- == 0) return static_cast<int>(i);
    }
    return -1;
}

CBaseNode* ChildOfKind(const CBaseNode& node, int index, const std::string& type)
{
    const int child = ChildIndexOfKind(node, index, type);
    return child < 0 ? nullptr : node.GetChild(static_cast<unsigned int>(child));
}

}  // namespace brell

BRELL_NODE_TYPE_DEFINE(CObjectNode, CBaseNode)

int CObjectNode::IsChildEnable(int index)
{
    CBaseNode* child = index < 0 ? nullptr : GetChild(static_cast<unsigned int>(index));
    return child != nullptr && child->IsKindOf(CLodNode::TypeId()) ? 0 : 1;
}

int CObjectNode::GeoCalc(const char* procedure, CBaseNode* output)
{
    return GeoCalcThis(procedure, TypeId().c_str(), output);
}

uint64_t CObjectNode::BlockBytes()
{
    return static_cast<uint64_t>(std::max(CBaseNode::SizeOfByte(), 0));
}

void CObjectNode::PutBlock(brell::ByteOutput& out)
{
    out.PutMade(static_cast<size_t>(CBaseNode::SizeOfByte()), [this](unsigned char* at) { CBaseNode::Write(at); });
}

int CObjectNode::GeoCalcThis(const char* procedure, const char* typeName, CBaseNode* output)
{
    return brell::CallProcedure(brell::kGeoProcedure, typeName, procedure, this, output);
}

int CObjectNode::GeoCalcDescent(const char* procedure, const std::string& typeName, CBaseNode* output)
{
    CRefNode* reference = static_cast<CRefNode*>(CRefNode::Create());
    if (reference == nullptr) return 0;
    if (GeoCalcThis(procedure, typeName.c_str(), reference) == 0) {
        reference->Release();
        return CObjectNode::GeoCalc(procedure, output);
    }
    // Without an output node the calculated geometry has nowhere to go.
    if (output == nullptr) {
        reference->Release();
        return 0;
    }
    reference->SetName(Name().c_str());
    if (!brell::AppendOrRelease(*output, reference)) return 0;
    reference->SetRefNode(this);

    // Each child is held while it is calculated, so that a procedure that
    // takes it out of this node does not destroy it under the descent.
    int result = 1;
    for (unsigned int i = 0; i < GetChildNum(); ++i) {
        if (IsChildEnable(static_cast<int>(i)) == 0) continue;
        CObjectNode* child = brell::AsKindOf<CObjectNode>(GetChild(i));
        if (child == nullptr) continue;
        child->AddRef();
        if (child->GeoCalc(procedure, reference) == 0) result = 0;
        child->Release();
    }
    return result;
}

BRELL_NODE_TYPE_DEFINE(CElementNode, CObjectNode)

int CElementNode::GeoCalc(const char* procedure, CBaseNode* output)
{
    return GeoCalcDescent(procedure, TypeId(), output);
}

int CElementNode::NodeNumber(const char* type)
{
    return type == nullptr ? 0 : brell::ChildrenOfKind(*this, type);
}

CBaseNode* CElementNode::GetNode(int index, const char* type)
{
    return type == nullptr ? nullptr : brell::ChildOfKind(*this, index, type);
}

int CElementNode::MeshNumber()
{
    return brell::ChildrenOfKind(*this, CMeshNode::TypeId());
}

CMeshNode* CElementNode::GetMesh(int index)
{
    return static_cast<CMeshNode*>(brell::ChildOfKind(*this, index, CMeshNode::TypeId()));
}

int CElementNode::ImageNumber()
{
    return brell::ChildrenOfKind(*this, CImageNode::TypeId());
}

CImageNode* CElementNode::GetImage(int index)
{
    return static_cast<CImageNode*>(brell::ChildOfKind(*this, index, CImageNode::TypeId()));
}

BRELL_NODE_TYPE_DEFINE(CLodNode, CObjectNode)

namespace {

constexpr auto kLodFields = [](auto& cursor, CLodNode& lod) { cursor.Bytes(&lod.level, 4); };

}  // namespace

BRELL_SCAN_NODE_DEFINE(CLodNode, CObjectNode, kLodFields, 0)

std::string CLodNode::Comment()
{
    return brell::FormatText("LOD level = %d", level);
}

int CLodNode::Copy(CBaseNode* source)
{
    if (CLodNode* lod = brell::AsKindOf<CLodNode>(source)) level = lod->level;
    return CObjectNode::Copy(source);
}

int AppendElementToScene(CElementNode* element, CTree* scene)
{
    if (scene == nullptr || scene->Root() == nullptr) return 0;
    scene->Root()->AppendChild(element);
    return 1;
}

int ElementNumber(CTree* scene)
{
    if (scene == nullptr || scene->Root() == nullptr) return 0;
    return brell::ChildrenOfKind(*scene->Root(), CElementNode::TypeId());
}

CElementNode* GetElement(int index, CTree* scene)
{
    if (scene == nullptr || scene->Root() == nullptr) return nullptr;
    return static_cast<CElementNode*>(brell::ChildOfKind(*scene->Root(), index, CElementNode::TypeId()));
}
