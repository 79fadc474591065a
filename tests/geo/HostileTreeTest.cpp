#include "support/Held.h"
#include "support/ProcedureRecorder.h"
#include "support/SmallStack.h"

#include <brelldata/core/Tree.h>
#include <brelldata/geo/VertexNodes.h>
#include <brelldata/platform/DApi.h>

#include <gtest/gtest.h>

namespace {

using brell::test::Held;
using brell::test::ProcedureRecorder;

// A chain of geometry nodes, each the only child of the one before, with a
// vertex at (depth, 0, 0) at the bottom.
CGeoBaseNode* GeometryChain(int depth)
{
    auto* top = new CGeoBaseNode;
    CBaseNode* at = top;
    for (int i = 2; i < depth; ++i) {
        auto* next = new CGeoBaseNode;
        at->AppendChild(next);
        at = next;
    }
    auto* bottom = new CGeoVertexNode;
    bottom->AppendVertex(1);
    bottom->GetVertex(0) = {static_cast<double>(depth), 0, 0};
    at->AppendChild(bottom);
    return top;
}

TEST(HostileTrees, DeepOnesAreDrawnAndBoxedAtAnyDepth)
{
    constexpr int kDepth = 20'000;
    ProcedureRecorder recorder;
    recorder.Register("DrawProc", "DrawCGeoVertexNodeByR", 1);
    brell::test::RunOnSmallStack([&] {
        CTree tree(GeometryChain(kDepth));
        double box[6] = {};
        EXPECT_EQ(DrawTree(tree.Root(), "R", &recorder), 0) << "the chain's own nodes have no procedure";
        EXPECT_EQ(recorder.TakeCalls().size(), 1u);
        EXPECT_EQ(EvalBBoxForNode(tree.Root(), box[0], box[1], box[2], box[3], box[4], box[5]), 1);
        EXPECT_EQ(box[0], kDepth);
    });
}

// A draw procedure that takes its node out of its parent, dropping the
// parent's reference.
CBaseNode* parentOfLeaver = nullptr;
int LeaveParent(void* node, void*)
{
    parentOfLeaver->RemoveChild(static_cast<CBaseNode*>(node), 1);
    return 1;
}

TEST(HostileTrees, ADrawProcedureMayTakeItsNodeOutOfItsParent)
{
    GetDApiManager()->Register("DrawProc", "DrawCGeoPointNodeByR", LeaveParent);
    ProcedureRecorder recorder;
    recorder.Register("DrawProc", "EndDrawCGeoPointNodeByR", 1);
    Held<CGeoBaseNode> root;
    parentOfLeaver = root.node;
    for (const char* name : {"p", "q"}) {
        auto* point = new CGeoPointNode;
        point->SetName(name);
        root->AppendChild(point);
    }
    DrawTree(root.node, "R", nullptr);
    EXPECT_EQ(recorder.TakeCalls(), std::vector<std::string>{"EndDrawCGeoPointNodeByR p"})
        << "the node is ended after it left, and its sibling moved into its place";
    EXPECT_EQ(root->GetChildNum(), 1u);
    GetDApiManager()->Unregister("DrawProc", "DrawCGeoPointNodeByR");
}

}  // namespace
