#include "support/Held.h"

#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/core/Tree.h>
#include <brelldata/geo/OverlayNodes.h>

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace {

using brell::test::Held;

std::vector<std::pair<int, int>> Points(CArrayDataStore<POINT>& store)
{
    std::vector<std::pair<int, int>> points;
    for (int i = 0; i < store.Number(); ++i) points.emplace_back(store.Element(i).x, store.Element(i).y);
    return points;
}

TEST(OverlayNodes, AreNotRegisteredAtStartAndHaveNoBox)
{
    const std::pair<const char*, CBaseNode* (*)()> classes[] = {
        {"CGeoPoint2DNode", CGeoPoint2DNode::Create},         {"CGeoLine2DNode", CGeoLine2DNode::Create},
        {"CGeoCrossLine2DNode", CGeoCrossLine2DNode::Create}, {"CGeoRectangle2DNode", CGeoRectangle2DNode::Create},
        {"CGeoRegion2DNode", CGeoRegion2DNode::Create},       {"CGeoBezier2DNode", CGeoBezier2DNode::Create}};
    CTree tree(new CGeoBaseNode);
    for (const auto& [type, create] : classes) {
        EXPECT_EQ(CreateNode(type), nullptr) << type << " is not registered at start-up";
        tree.Root()->AppendChild(create());
    }
    std::vector<double> box(6, 7);
    EXPECT_EQ(EvalBBoxForNode(tree.Root(), box[0], box[1], box[2], box[3], box[4], box[5]), 0);
    EXPECT_EQ(box, std::vector<double>(6, 7));
}

const POINT kCorners[] = {{0, 0}, {10, 0}, {10, 10}};

// A copy made from a closed line holds points of its own, the first repeated.
TEST(OverlayLines, ClosedOnesRepeatTheirFirstPointAndCopiesHoldPointsOfTheirOwn)
{
    Held open(new CGeoLine2DNode(kCorners, 3, 0x0000FFu, 0, 9));
    auto* closed = new CGeoLine2DNode(kCorners, 3, 0x0000FFu, 1, 9);
    closed->AddRef();
    Held copy(new CGeoLine2DNode(*closed));
    closed->Release();
    EXPECT_EQ(open->points.Number(), 3);
    EXPECT_EQ(Points(copy->points), (std::vector<std::pair<int, int>>{{0, 0}, {10, 0}, {10, 10}, {0, 0}}));
}

TEST(OverlayPoints, AppendAfterAClearStartsAfresh)
{
    Held<CGeoPoint2DNode> points;
    for (int i = 1; i <= 3; ++i) points->Append(POINT{i, -i});
    EXPECT_EQ(Points(points->points), (std::vector<std::pair<int, int>>{{1, -1}, {2, -2}, {3, -3}}));
    points->Clear();
    points->Append(POINT{7, 7});
    EXPECT_EQ(Points(points->points), (std::vector<std::pair<int, int>>{{7, 7}}));
}

TEST(OverlayRectangles, TakeTheFirstValueBeforeTheColour)
{
    const RECT rect{1, 2, 3, 4};
    Held rectangle(new CGeoRectangle2DNode(&rect, 7, 0x0000FFu, 8));
    EXPECT_EQ(std::tuple(rectangle->rectValue1, rectangle->color, rectangle->rectValue2, rectangle->rectangle.bottom),
              std::tuple(7, 0x0000FFu, 8, 4));
}

TEST(OverlayRegions, CopyTheContentOfTheGivenRegion)
{
    CRgn square;
    square.CreateRectRgn(0, 0, 4, 4);
    Held copied(new CGeoRegion2DNode(square, 0x00FF00u, 3, 0x0000FFu));
    square.DeleteObject();
    EXPECT_EQ(std::tuple(copied->region.PtInRegion(3, 3), copied->regionValue), std::tuple(1, 3));
}

TEST(OverlayRegions, TakeTheClosedPathOfADeviceContextOnce)
{
    CDC dc;
    dc.BeginPath();
    dc.MoveTo(0, 0);
    dc.LineTo(8, 0);
    dc.LineTo(0, 8);
    dc.CloseFigure();
    dc.EndPath();
    Held fromPath(new CGeoRegion2DNode(&dc, 0x00FF00u, 0, 0u));
    EXPECT_EQ(std::tuple(fromPath->region.PtInRegion(1, 1), fromPath->region.PtInRegion(7, 7)), std::tuple(1, 0));

    Held withoutPath(new CGeoRegion2DNode(&dc, 0x00FF00u, 0, 0u));
    EXPECT_EQ(withoutPath->region.m_hObject, nullptr);
    CRgn square;
    square.CreateRectRgn(0, 0, 4, 4);
    withoutPath->SetRegion(square);
    EXPECT_EQ(withoutPath->region.m_hObject, nullptr);
}

TEST(OverlayNodes, StreamOnlyTheirAttributes)
{
    RegisterNodeType("CGeoPoint2DNode", &CGeoPoint2DNode::Create);
    EXPECT_NE(CTree(CreateNode("CGeoPoint2DNode")).Root(), nullptr);
    const POINT corner{1, 1};
    Held marks(new CGeoPoint2DNode(&corner, 1, 0u));
    marks->SetName("marks");
    marks->SetAttributeInt("layer", 2);
    std::vector<unsigned char> block(static_cast<size_t>(SizeOfByte(marks.node)));
    WriteNode(block.data(), marks.node);
    CTree read(ReadNode(block.data()));
    ASSERT_NE(read.Root(), nullptr);
    EXPECT_EQ(read.Root()->Name(), "marks");
    EXPECT_EQ(static_cast<CGeoPoint2DNode*>(read.Root())->Number(), 0);
    int layer = 0;
    EXPECT_EQ(read.Root()->QueryAttributeInt("layer", layer), 1);
    UnRegisterNodeType("CGeoPoint2DNode");
}

}  // namespace
