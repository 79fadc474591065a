#include "support/ProcedureRecorder.h"

#include <brelldata/core/Tree.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/VertexNodes.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace {

using brell::test::ProcedureRecorder;
using Calls = std::vector<std::string>;

template <class Node = CGeoBaseNode>
Node* Make(const char* name, CBaseNode* parent = nullptr)
{
    auto* node = new Node;
    node->SetName(name);
    if (parent != nullptr) parent->AppendChild(node);
    return node;
}

// Registers "Draw" and "EndDraw" procedures for renderer R for every class a
// chain of the tests' trees can ask for; results not listed are 0 (missing).
void RegisterAll(ProcedureRecorder& recorder, const std::map<std::string, int>& results)
{
    for (const char* type :
         {"CGeoBaseNode", "CGeoVertexNode", "CGeoPointNode", "CGeoLineNode", "CGeoSwitchNode", "CGeoModeNode"}) {
        for (const char* prefix : {"Draw", "EndDraw"}) {
            const std::string name = prefix + std::string(type) + "ByR";
            auto result = results.find(name);
            recorder.Register("DrawProc", name, result == results.end() ? 0 : result->second);
        }
    }
}

void AddVertex(CGeoVertexNode* node, double x, double y, double z)
{
    node->AppendVertex(1);
    node->GetVertex(node->VertexNumber() - 1) = {x, y, z};
}

TEST(Drawing, AsksEachNodesChainInOrderAndSkipsHiddenAndDisabledNodes)
{
    ProcedureRecorder recorder;
    RegisterAll(recorder, {{"DrawCGeoBaseNodeByR", 1},
                           {"DrawCGeoPointNodeByR", 1},
                           {"DrawCGeoVertexNodeByR", 1},
                           {"DrawCGeoSwitchNodeByR", 1},
                           {"DrawCGeoModeNodeByR", 1},
                           {"EndDrawCGeoPointNodeByR", 1},
                           {"EndDrawCGeoBaseNodeByR", 1}});
    CTree tree(Make("root"));
    CBaseNode* root = tree.Root();
    Make<CGeoPointNode>("p", root);
    Make<CGeoLineNode>("l", Make<CBaseNode>("plain", root));  // its own procedure is missing
    auto* sw = Make<CGeoSwitchNode>("sw", root);
    Make<CGeoPointNode>("q", sw);
    Make<CGeoPointNode>("r", sw);
    sw->Enable(1, 0);
    auto* mode = Make<CGeoModeNode>("mode", root);
    mode->SetPointNode(Make<CGeoPointNode>("mp"));
    mode->SetLineNode(Make<CGeoLineNode>("ml"));
    mode->SetMode(CGeoModeNode::kPoint);
    Make<CGeoPointNode>("h1", Make<CGeoPointNode>("h", root))->ShowEnable(1);
    static_cast<CGeoBaseNode*>(root->GetLastChild())->ShowEnable(0);

    EXPECT_EQ(DrawTree(root, "R", &recorder), 1);
    EXPECT_EQ(recorder.TakeCalls(),
              (Calls{
                  "DrawCGeoBaseNodeByR root",    "DrawCGeoPointNodeByR p",      "EndDrawCGeoPointNodeByR p",
                  "DrawCGeoLineNodeByR l",       "DrawCGeoVertexNodeByR l",     "EndDrawCGeoLineNodeByR l",
                  "EndDrawCGeoVertexNodeByR l",  "EndDrawCGeoBaseNodeByR l",    "DrawCGeoSwitchNodeByR sw",
                  "DrawCGeoPointNodeByR q",      "EndDrawCGeoPointNodeByR q",   "EndDrawCGeoSwitchNodeByR sw",
                  "EndDrawCGeoBaseNodeByR sw",   "DrawCGeoModeNodeByR mode",    "DrawCGeoPointNodeByR mp",
                  "EndDrawCGeoPointNodeByR mp",  "EndDrawCGeoModeNodeByR mode", "EndDrawCGeoBaseNodeByR mode",
                  "EndDrawCGeoBaseNodeByR root",
              }));
    EXPECT_EQ(recorder.lastArgument, &recorder);
}

// The two variants of Draw differ in how a failing non-geometry child counts,
// and in where the result starts.
TEST(Drawing, VariantsCountAFailingPlainChildDifferently)
{
    struct Case {
        const char* title;
        CGeoBaseNode* (*make)();
        int baseProcedure;
        int expected;
    };
    const Case cases[] = {
        {"base node, failing plain child", [] { return new CGeoBaseNode; }, 1, 0},
        {"derived node, failing plain child", [] { return static_cast<CGeoBaseNode*>(new CGeoSwitchNode); }, 1, 1},
        {"derived node, result of the general procedure", [] { return static_cast<CGeoBaseNode*>(new CGeoSwitchNode); },
         7, 7},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.title);
        ProcedureRecorder recorder;
        RegisterAll(recorder, {{"DrawCGeoBaseNodeByR", c.baseProcedure}});
        recorder.FailFor("l");
        CTree tree(c.make());
        Make<CGeoLineNode>("l", Make<CBaseNode>("plain", tree.Root()));
        EXPECT_EQ(static_cast<CGeoBaseNode*>(tree.Root())->Draw("R", nullptr), c.expected);
    }
}

TEST(Drawing, FailsWithoutProceduresAndCallsNothingForHiddenTrees)
{
    CTree tree(Make("root"));
    Make<CGeoSwitchNode>("a", tree.Root());
    Make<CGeoPointNode>("b", tree.Root());
    EXPECT_EQ(DrawTree(tree.Root(), "R", nullptr), 0);
    EXPECT_EQ(DrawTree(nullptr, "R", nullptr), 0);

    ProcedureRecorder recorder;
    RegisterAll(recorder, {});
    EXPECT_EQ(DrawTree(tree.Root(), "R", nullptr), 0);
    EXPECT_EQ(recorder.TakeCalls().size(), 12u);  // every name of each chain, once for Draw and once for EndDraw
    RegisterAll(recorder, {{"DrawCGeoBaseNodeByR", 1}});
    EXPECT_EQ(DrawTree(tree.Root(), "R", nullptr), 1);
    recorder.TakeCalls();
    static_cast<CGeoBaseNode*>(tree.Root())->ShowEnable(0);
    EXPECT_EQ(DrawTree(tree.Root(), "R", nullptr), 1);
    EXPECT_TRUE(recorder.TakeCalls().empty());
}

TEST(BoundingBoxes, CountHiddenNodesAndNormalTipsButNotDisabledChildren)
{
    CTree boxed(Make("root"));
    auto* hidden = Make<CGeoVertexNode>("hidden", boxed.Root());
    AddVertex(hidden, 0, 0, 0);
    AddVertex(hidden, 1, 2, 3);
    hidden->ShowEnable(0);
    auto* sw = Make<CGeoSwitchNode>("sw", Make<CBaseNode>("plain", boxed.Root()));
    AddVertex(Make<CGeoVertexNode>("far", sw), 100, 100, 100);
    sw->EnableAll(0);
    auto* normals = Make<CGeoNormalNode>("normals", boxed.Root());
    AddVertex(normals, -1, 0, 0);
    normals->Append(1);
    normals->Index(0) = 0;
    normals->Normal(0) = {0, 0, -1};
    auto* vertexNormals = Make<CGeoVertexNormalNode>("vertex normals", boxed.Root());
    AddVertex(vertexNormals, 0, 0, 0);
    vertexNormals->Append(1);
    vertexNormals->Normal(0) = {0, 0.5f, 0};

    std::vector<double> box(6, 99);
    ASSERT_EQ(EvalBBox(&boxed, box[0], box[1], box[2], box[3], box[4], box[5]), 1);
    EXPECT_EQ(box, (std::vector<double>{-1, 0, -10, 1, 5, 3}));

    int empty = 0;
    std::vector<double> wider = {-5, -5, -20, 5, 5, 5};
    EXPECT_EQ(static_cast<CGeoBaseNode*>(boxed.Root())
                  ->EvalBBox(wider[0], wider[1], wider[2], wider[3], wider[4], wider[5], empty),
              1);
    EXPECT_EQ(wider, (std::vector<double>{-5, -5, -20, 5, 5, 5}));

    std::vector<double> untouched(6, 99);
    EXPECT_EQ(EvalBBoxForNode(sw, untouched[0], untouched[1], untouched[2], untouched[3], untouched[4], untouched[5]),
              0);
    EXPECT_EQ(untouched, std::vector<double>(6, 99));
    CTree rootless;
    EXPECT_EQ(EvalBBox(&rootless, box[0], box[1], box[2], box[3], box[4], box[5]), 0);
}

}  // namespace
