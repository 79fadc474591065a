// The 2-D overlay nodes: members, constructors, ownership, and what drawing,
// boxes and node streams see of them.

#include "support/ProcedureRecorder.h"

#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/geo/OverlayNodes.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

template <class Node, class... Arguments>
Node* Held(Arguments&&... arguments)
{
    auto* node = new Node(std::forward<Arguments>(arguments)...);
    node->AddRef();
    return node;
}

std::vector<std::pair<int, int>> Points(CArrayDataStore<POINT>& store)
{
    std::vector<std::pair<int, int>> points;
    for (int i = 0; i < store.Number(); ++i) points.emplace_back(store.Element(i).x, store.Element(i).y);
    return points;
}

TEST(OverlayNodes, IdentityAndNoBoxForAnyOfTheSix)
{
    const char* types[] = {"CGeoPoint2DNode",     "CGeoLine2DNode",   "CGeoCrossLine2DNode",
                           "CGeoRectangle2DNode", "CGeoRegion2DNode", "CGeoBezier2DNode"};
    auto* root = Held<CGeoBaseNode>();
    for (const char* type : types) {
        SCOPED_TRACE(type);
        EXPECT_EQ(CreateNode(type), nullptr);  // not registered at start-up
    }
    root->AppendChild(CGeoPoint2DNode::Create());
    root->AppendChild(CGeoLine2DNode::Create());
    root->AppendChild(CGeoCrossLine2DNode::Create());
    root->AppendChild(CGeoRectangle2DNode::Create());
    root->AppendChild(CGeoRegion2DNode::Create());
    root->AppendChild(CGeoBezier2DNode::Create());
    for (unsigned int i = 0; i < root->GetChildNum(); ++i) {
        EXPECT_EQ(root->GetChild(i)->Type(), types[i]);
        EXPECT_EQ(root->GetChild(i)->IsKindOf("CGeoBaseNode"), 1);
        EXPECT_EQ(root->GetChild(i)->Comment(), "Attribute: 0[Show]");
    }
    std::vector<double> box(6, 7);
    EXPECT_EQ(EvalBBoxForNode(root, box[0], box[1], box[2], box[3], box[4], box[5]), 0);
    EXPECT_EQ(box, std::vector<double>(6, 7));
    root->Release();
}

TEST(OverlayNodes, ConstructorsStoreTheirFiguresAndDefaults)
{
    const POINT corners[] = {{0, 0}, {10, 0}, {10, 10}};
    auto* closed = Held<CGeoLine2DNode>(corners, 3, 0x0000FFu, 1, 9);
    EXPECT_EQ(Points(closed->points), (std::vector<std::pair<int, int>>{{0, 0}, {10, 0}, {10, 10}, {0, 0}}));
    EXPECT_EQ(closed->lineValue, 9);
    auto* open = Held<CGeoLine2DNode>(corners, 3, 0x0000FFu, 0, 9);
    EXPECT_EQ(open->points.Number(), 3);
    auto* copy = Held<CGeoLine2DNode>(*closed);
    closed->Release();
    EXPECT_EQ(copy->points.Number(), 4);  // its own points outlive the source's
    copy->Release();
    open->Release();

    auto* points = Held<CGeoPoint2DNode>();
    for (int i = 1; i <= 3; ++i) points->Append(POINT{i, -i});
    EXPECT_EQ(Points(points->points), (std::vector<std::pair<int, int>>{{1, -1}, {2, -2}, {3, -3}}));
    points->Clear();
    points->Append(POINT{7, 7});
    EXPECT_EQ(Points(points->points), (std::vector<std::pair<int, int>>{{7, 7}}));
    points->Release();

    auto* cross = Held<CGeoCrossLine2DNode>();
    EXPECT_EQ(cross->crossValue1, 5);
    EXPECT_EQ(cross->color, 0xFFFFFFu);
    cross->Release();

    const RECT rect{1, 2, 3, 4};
    auto* rectangle = Held<CGeoRectangle2DNode>(&rect, 7, 0x0000FFu, 8);
    EXPECT_EQ(rectangle->rectValue1, 7);
    EXPECT_EQ(rectangle->color, 0x0000FFu);
    EXPECT_EQ(rectangle->rectangle.bottom, 4);
    rectangle->Release();

    BEZIER_POINT2D control{};
    auto* plain = Held<CGeoBezier2DNode>();
    auto* chain = Held<CGeoBezier2DNode>(&control, 1, 3, 2, 1);
    EXPECT_EQ(plain->color3, 0x00F6FFu);
    EXPECT_EQ(chain->color3, 0xC8C800u);
    EXPECT_EQ(chain->NumCtrlPoints(), 1);
    plain->SetColor(1, 2, 3);
    EXPECT_EQ(plain->color3, 3u);
    plain->Release();
    chain->Release();
}

TEST(OverlayNodes, RegionsAreCopiedInOrTakenFromAPath)
{
    CRgn square;
    square.CreateRectRgn(0, 0, 4, 4);
    auto* copied = Held<CGeoRegion2DNode>(square, 0x00FF00u, 3, 0x0000FFu);
    square.DeleteObject();
    EXPECT_EQ(copied->region.PtInRegion(3, 3), 1);
    EXPECT_EQ(copied->regionValue, 3);
    copied->Release();

    CDC dc;
    dc.BeginPath();
    dc.MoveTo(0, 0);
    dc.LineTo(8, 0);
    dc.LineTo(0, 8);
    dc.CloseFigure();
    dc.EndPath();
    auto* fromPath = Held<CGeoRegion2DNode>(&dc, 0x00FF00u, 0, 0u);
    EXPECT_EQ(fromPath->region.PtInRegion(1, 1), 1);
    EXPECT_EQ(fromPath->region.PtInRegion(7, 7), 0);
    fromPath->Release();

    auto* withoutPath = Held<CGeoRegion2DNode>(&dc, 0x00FF00u, 0, 0u);  // the path was consumed
    EXPECT_EQ(withoutPath->region.m_hObject, nullptr);
    withoutPath->SetRegion(square);
    withoutPath->Release();
}

TEST(OverlayNodes, DrawTheirOwnProcedureThenTheBaseOnesAndStreamOnlyAttributes)
{
    brell::test::ProcedureRecorder recorder;
    for (const char* name :
         {"DrawCGeoRegion2DNodeByR", "DrawCGeoBaseNodeByR", "EndDrawCGeoRegion2DNodeByR", "EndDrawCGeoBaseNodeByR"})
        recorder.Register("DrawProc", name, 0);
    auto* region = Held<CGeoRegion2DNode>();
    region->SetName("r");
    EXPECT_EQ(DrawTree(region, "R", nullptr), 0);
    EXPECT_EQ(recorder.TakeCalls(),
              (std::vector<std::string>{"DrawCGeoRegion2DNodeByR r", "DrawCGeoBaseNodeByR r",
                                        "EndDrawCGeoRegion2DNodeByR r", "EndDrawCGeoBaseNodeByR r"}));
    region->Release();

    RegisterNodeType("CGeoPoint2DNode", &CGeoPoint2DNode::Create);
    CBaseNode* made = CreateNode("CGeoPoint2DNode");
    ASSERT_NE(made, nullptr);
    made->Release();
    const POINT corner{1, 1};
    auto* points = Held<CGeoPoint2DNode>(&corner, 1, 0u);
    points->SetName("marks");
    points->SetAttributeInt("layer", 2);
    std::vector<unsigned char> block(static_cast<size_t>(SizeOfByte(points)));
    WriteNode(block.data(), points);
    CBaseNode* read = ReadNode(block.data());
    ASSERT_NE(read, nullptr);
    read->AddRef();
    EXPECT_EQ(read->Name(), "marks");
    EXPECT_EQ(static_cast<CGeoPoint2DNode*>(read)->Number(), 0);
    int layer = 0;
    EXPECT_EQ(read->QueryAttributeInt("layer", layer), 1);
    read->Release();
    points->Release();
    UnRegisterNodeType("CGeoPoint2DNode");
}

}  // namespace
