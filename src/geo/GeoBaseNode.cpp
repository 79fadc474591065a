#include "procedures/ProcedureCall.h"

#include <brelldata/core/Tree.h>
#include <brelldata/geo/GeoBaseNode.h>

BRELL_NODE_TYPE_DEFINE(CGeoBaseNode, CBaseNode)

namespace {

bool IsGeometry(CBaseNode* node)
{
    return node->IsKindOf(CGeoBaseNode::TypeId()) != 0;
}

// Box as minimum x, y, z, maximum x, y, z.
using Box = double[6];

void MergeBox(CBaseNode* node, Box& box, int& empty)
{
    if (node == nullptr) return;
    const bool geometry = IsGeometry(node);
    if (geometry) {
        Box own;
        auto* geo = static_cast<CGeoBaseNode*>(node);
        if (geo->EvalBBoxThis(own[0], own[1], own[2], own[3], own[4], own[5]) != 0) {
            for (int axis = 0; axis < 3; ++axis) {
                if (empty != 0 || box[axis] > own[axis]) box[axis] = own[axis];
                if (empty != 0 || box[axis + 3] < own[axis + 3]) box[axis + 3] = own[axis + 3];
            }
            empty = 0;
        }
    }
    for (unsigned int i = 0; i < node->GetChildNum(); ++i) {
        CBaseNode* child = node->GetChild(i);
        if (child == nullptr || (geometry && node->IsChildEnable(static_cast<int>(i)) == 0)) continue;
        MergeBox(child, box, empty);
    }
}

// The walk runs on a copy of the six values, written back only when they hold a box.
int MergeBoxInto(CBaseNode* node, double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ,
                 int& empty)
{
    Box box = {minX, minY, minZ, maxX, maxY, maxZ};
    MergeBox(node, box, empty);
    if (empty != 0) return 0;
    minX = box[0], minY = box[1], minZ = box[2], maxX = box[3], maxY = box[4], maxZ = box[5];
    return 1;
}

}  // namespace

std::string CGeoBaseNode::Comment()
{
    return CBaseNode::Comment() + (IsShow() != 0 ? "[Show]" : "[Hide]");
}

int CGeoBaseNode::Copy(CBaseNode* source)
{
    if (source != nullptr && IsGeometry(source)) show_ = static_cast<CGeoBaseNode*>(source)->show_;
    return CBaseNode::Copy(source);
}

int CGeoBaseNode::Draw(const char* renderer, void* context)
{
    return DrawSubtree(renderer, context, false);
}

int CGeoBaseNode::DrawDerived(const char* renderer, void* context)
{
    return DrawSubtree(renderer, context, true);
}

int CGeoBaseNode::DrawSubtree(const char* renderer, void* context, bool derived)
{
    if (IsShow() == 0) return 1;
    const int drawn = DrawThis(renderer, context);
    int result = derived ? drawn : (drawn != 0 ? 1 : 0);
    for (unsigned int i = 0; i < GetChildNum(); ++i) {
        if (IsChildEnable(static_cast<int>(i)) == 0) continue;
        CBaseNode* child = GetChild(i);
        if (child != nullptr && IsGeometry(child)) {
            if (static_cast<CGeoBaseNode*>(child)->Draw(renderer, context) == 0) result = 0;
        } else if (DrawTree(child, renderer, context) == 0 && !derived) {
            result = 0;
        }
    }
    EndDraw(renderer, context);
    return result;
}

int CGeoBaseNode::DrawThis(const char* renderer, void* context)
{
    return _DrawThis(renderer, TypeId().c_str(), context);
}

int CGeoBaseNode::EndDraw(const char* renderer, void* context)
{
    return _EndDraw(renderer, TypeId().c_str(), context);
}

int CGeoBaseNode::EvalBBoxThis(double&, double&, double&, double&, double&, double&)
{
    return 0;
}

int CGeoBaseNode::IsShow()
{
    return show_;
}

int CGeoBaseNode::ShowEnable(int show)
{
    const int previous = show_;
    show_ = show;
    return previous;
}

int CGeoBaseNode::EvalBBox(double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ,
                           int& empty)
{
    return MergeBoxInto(this, minX, minY, minZ, maxX, maxY, maxZ, empty);
}

int CGeoBaseNode::_DrawThis(const char* renderer, const char* typeName, void* context)
{
    return brell::CallProcedure(brell::kDrawProcedure, typeName, renderer, this, context);
}

int CGeoBaseNode::_EndDraw(const char* renderer, const char* typeName, void* context)
{
    return brell::CallProcedure(brell::kEndDrawProcedure, typeName, renderer, this, context);
}

int DrawTree(CBaseNode* node, const char* renderer, void* context)
{
    if (node == nullptr) return 0;
    if (IsGeometry(node)) return static_cast<CGeoBaseNode*>(node)->Draw(renderer, context);
    int result = 1;
    for (unsigned int i = 0; i < node->GetChildNum(); ++i) {
        if (DrawTree(node->GetChild(i), renderer, context) == 0) result = 0;
    }
    return result;
}

int EvalBBoxForNode(CBaseNode* node, double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ)
{
    int empty = 1;
    return MergeBoxInto(node, minX, minY, minZ, maxX, maxY, maxZ, empty);
}

int EvalBBox(CTree* tree, double& minX, double& minY, double& minZ, double& maxX, double& maxY, double& maxZ)
{
    if (tree == nullptr || tree->Root() == nullptr) return 0;
    return EvalBBoxForNode(tree->Root(), minX, minY, minZ, maxX, maxY, maxZ);
}
