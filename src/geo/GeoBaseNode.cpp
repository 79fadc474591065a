#include "core/WalkStack.h"
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

void MergeOwnBox(CGeoBaseNode* node, Box& box, int& empty)
{
    Box own;
    if (node->EvalBBoxThis(own[0], own[1], own[2], own[3], own[4], own[5]) == 0) return;
    for (int axis = 0; axis < 3; ++axis) {
        if (empty != 0 || box[axis] > own[axis]) box[axis] = own[axis];
        if (empty != 0 || box[axis + 3] < own[axis + 3]) box[axis + 3] = own[axis + 3];
    }
    empty = 0;
}

// A geometry node's own box first, then its enabled children's; other nodes
// pass on to all their children.
void MergeBox(CBaseNode* node, Box& box, int& empty)
{
    struct BoxedNode {
        CBaseNode* node;
        unsigned int next;
        bool geometry;
    };
    if (node == nullptr) return;
    brell::WalkStack<BoxedNode> stack;
    const auto enter = [&](CBaseNode* entered) {
        const bool geometry = IsGeometry(entered);
        if (geometry) MergeOwnBox(static_cast<CGeoBaseNode*>(entered), box, empty);
        if (entered->GetChildNum() != 0) stack.Push({entered, 0, geometry});
    };
    enter(node);
    while (!stack.Empty()) {
        BoxedNode& top = stack.Top();
        if (top.next >= top.node->GetChildNum()) {
            stack.Pop();
            continue;
        }
        const unsigned int index = top.next++;
        if (top.geometry && top.node->IsChildEnable(static_cast<int>(index)) == 0) continue;
        enter(top.node->GetChild(index));
    }
}

// A node being drawn whose children are being gone through, with its result
// so far. A geometry node's result follows Draw's rules, any other node's
// DrawTree's. Every node but the top one is held while it is drawn, so that
// a procedure that takes it out of its parent does not destroy it under the
// walk; so is the top node when someone owns it.
struct DrawnNode {
    CBaseNode* node;
    unsigned int next;
    int result;
    bool geometry;
    // A derived geometry class: its children that are not geometry nodes do not change its result.
    bool derived;
    bool held;
};

// Starts drawing node; false when it is done at once (a hidden geometry node, whose result is 1).
bool EnterDrawn(brell::WalkStack<DrawnNode>& stack, CBaseNode* node, bool derived, bool held, const char* renderer,
                void* context)
{
    if (!IsGeometry(node)) {
        if (held) node->AddRef();
        stack.Push({node, 0, 1, false, false, held});
        return true;
    }
    auto* geometry = static_cast<CGeoBaseNode*>(node);
    if (geometry->IsShow() == 0) return false;
    if (held) node->AddRef();
    const int drawn = geometry->DrawThis(renderer, context);
    stack.Push({node, 0, derived ? drawn : (drawn != 0 ? 1 : 0), true, derived, held});
    return true;
}

// The draw walk of Draw and DrawTree. Geometry children are drawn here as
// their own Draw draws them, with an explicit stack, so that a tree of any
// depth draws.
int DrawWalk(CBaseNode* top, bool derived, const char* renderer, void* context)
{
    brell::WalkStack<DrawnNode> stack;
    if (!EnterDrawn(stack, top, derived, top->RefCount() > 0, renderer, context)) return 1;
    while (true) {
        DrawnNode& parent = stack.Top();
        if (parent.next < parent.node->GetChildNum()) {
            const unsigned int index = parent.next++;
            if (parent.geometry && parent.node->IsChildEnable(static_cast<int>(index)) == 0) continue;
            CBaseNode* child = parent.node->GetChild(index);
            if (child == nullptr) continue;
            const bool childDerived = &child->Type() != &CGeoBaseNode::TypeId();
            EnterDrawn(stack, child, childDerived, true, renderer, context);
            continue;
        }
        const DrawnNode done = parent;
        stack.Pop();
        if (done.geometry) static_cast<CGeoBaseNode*>(done.node)->EndDraw(renderer, context);
        if (done.held) done.node->Release();
        if (stack.Empty()) return done.result;
        DrawnNode& above = stack.Top();
        if (done.result == 0 && (done.geometry || !above.geometry || !above.derived)) above.result = 0;
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
    return DrawWalk(this, derived, renderer, context);
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
    return DrawWalk(node, false, renderer, context);
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
