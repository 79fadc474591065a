#include "support/Paths.h"

#include <brelldata/platform/Region.h>

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace {

using namespace brell::test;

// The number of the region's rectangles that hold the point.
int Coverage(HRGN region, int x, int y)
{
    const RECT* rects = nullptr;
    const int count = GetRegionRects(region, &rects);
    int covered = 0;
    for (int i = 0; i < count; ++i)
        covered += rects[i].left <= x && x < rects[i].right && rects[i].top <= y && y < rects[i].bottom;
    return covered;
}

// Checks every point of the window against inside, through PtInRegion and
// through the rectangles (each point in at most one).
template <class Inside>
void ExpectPoints(HRGN region, RECT window, Inside inside)
{
    for (int y = window.top; y < window.bottom; ++y)
        for (int x = window.left; x < window.right; ++x) {
            const int expected = inside(x, y) ? 1 : 0;
            ASSERT_EQ(PtInRegion(region, x, y), expected) << "at " << x << ", " << y;
            ASSERT_EQ(Coverage(region, x, y), expected) << "at " << x << ", " << y;
        }
}

TEST(Regions, CombineByEveryMode)
{
    struct Case {
        int mode;
        int kind;
        bool (*keeps)(bool, bool);
    };
    const Case cases[] = {
        {RGN_AND, SIMPLEREGION, [](bool a, bool b) { return a && b; }},
        {RGN_OR, COMPLEXREGION, [](bool a, bool b) { return a || b; }},
        {RGN_XOR, COMPLEXREGION, [](bool a, bool b) { return a != b; }},
        {RGN_DIFF, COMPLEXREGION, [](bool a, bool b) { return a && !b; }},
        {RGN_COPY, SIMPLEREGION, [](bool a, bool) { return a; }},
    };
    const RECT a{0, 0, 6, 6}, b{3, 2, 9, 8};
    auto in = [](const RECT& r, int x, int y) { return r.left <= x && x < r.right && r.top <= y && y < r.bottom; };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        HRGN first = CreateRectRgn(a.left, a.top, a.right, a.bottom);
        HRGN second = CreateRectRgn(b.right, b.bottom, b.left, b.top);  // edges in any order
        HRGN result = CreateRectRgn(0, 0, 0, 0);
        EXPECT_EQ(CombineRgn(result, first, second, c.mode), c.kind);
        ExpectPoints(result, {-1, -1, 10, 10}, [&](int x, int y) { return c.keeps(in(a, x, y), in(b, x, y)); });
        // The destination may be a source.
        EXPECT_EQ(CombineRgn(first, first, second, c.mode), c.kind);
        ExpectPoints(first, {-1, -1, 10, 10}, [&](int x, int y) { return PtInRegion(result, x, y) == 1; });
        for (HRGN r : {first, second, result}) EXPECT_EQ(DeleteObject(r), 1);
    }
}

TEST(Regions, CombinedKeepTheFewestBandsAndBoxes)
{
    HRGN top = CreateRectRgn(0, 0, 4, 2), bottom = CreateRectRgn(0, 2, 4, 5), result = CreateRectRgn(0, 0, 0, 0);
    EXPECT_EQ(CombineRgn(result, top, bottom, RGN_OR), SIMPLEREGION) << "stacked equal bands merge";
    RECT box{};
    EXPECT_EQ(GetRgnBox(result, &box), SIMPLEREGION);
    EXPECT_EQ((std::vector<int>{box.left, box.top, box.right, box.bottom}), (std::vector<int>{0, 0, 4, 5}));
    EXPECT_EQ(CombineRgn(result, top, top, RGN_XOR), NULLREGION);
    EXPECT_EQ(GetRgnBox(result, &box), NULLREGION);
    EXPECT_EQ((std::vector<int>{box.left, box.top, box.right, box.bottom}), (std::vector<int>{0, 0, 0, 0}));
    const RECT* rects = &box;  // not null before the call
    EXPECT_EQ(GetRegionRects(result, &rects), 0);
    EXPECT_EQ(rects, nullptr);
    for (HRGN r : {top, bottom, result}) DeleteObject(r);
}

TEST(Regions, NullRegionsAndUnknownModesAreErrorsThatChangeNothing)
{
    HRGN source = CreateRectRgn(0, 0, 2, 2), destination = CreateRectRgn(5, 5, 6, 6);
    EXPECT_EQ(CombineRgn(nullptr, source, source, RGN_OR), 0);
    EXPECT_EQ(CombineRgn(destination, nullptr, source, RGN_OR), 0);
    EXPECT_EQ(CombineRgn(destination, source, nullptr, RGN_AND), 0);
    EXPECT_EQ(CombineRgn(destination, source, source, 0), 0);
    EXPECT_EQ(CombineRgn(destination, source, source, 6), 0);
    EXPECT_EQ(PtInRegion(destination, 5, 5), 1);
    EXPECT_EQ(CombineRgn(destination, source, nullptr, RGN_COPY), SIMPLEREGION);
    EXPECT_EQ(PtInRegion(nullptr, 0, 0), 0);
    EXPECT_EQ(GetRgnBox(nullptr, nullptr), 0);
    EXPECT_EQ(GetRgnBox(source, nullptr), 0);
    EXPECT_EQ(GetRegionRects(nullptr, nullptr), 0);
    EXPECT_EQ(GetRegionRects(source, nullptr), 1);
    EXPECT_EQ(DeleteObject(nullptr), 0);
    for (HRGN r : {source, destination}) DeleteObject(r);
}

TEST(Paths, FillByTheEvenOddRule)
{
    const Figure concave{{2, 2}, {30, 5}, {14, 14}, {31, 27}, {3, 30}, {9, 15}};
    const Figure pentagram{{50, 10}, {74, 82}, {12, 38}, {88, 38}, {26, 82}};
    const Figure triangle{{0, 0}, {20, 40}, {35, 3}};
    const Figure notch{{40, 0}, {60, 0}, {60, 30}, {54, 30}, {54, 8}, {46, 8}, {46, 30}, {40, 30}};
    const Figure square{{0, 0}, {10, 0}, {10, 10}, {0, 10}};
    const std::vector<std::vector<Figure>> paths{{concave}, {pentagram}, {concave, triangle},
                                                 {notch},   {square},    {notch, pentagram}};
    for (const auto& figures : paths) {
        HRGN region = RegionOfPath(figures);
        ASSERT_NE(region, nullptr);
        ExpectPoints(region, {-2, -2, 92, 86}, [&](int x, int y) { return EvenOdd(figures, x + 0.5, y + 0.5); });
        DeleteObject(region);
    }
    EXPECT_FALSE(EvenOdd({pentagram}, 50.5, 50.5)) << "the centre is crossed twice";
    EXPECT_TRUE(EvenOdd({pentagram}, 50.5, 20.5));

    const int far = 1 << 30, limit = (1 << 27) - 1;
    RECT box{};
    HRGN huge = RegionOfPath({{{-far, -far}, {far, -far}, {far, far}, {-far, far}}});
    EXPECT_EQ(GetRgnBox(huge, &box), SIMPLEREGION);
    EXPECT_EQ((std::vector<int>{box.left, box.top, box.right, box.bottom}),
              (std::vector<int>{-limit, -limit, limit, limit}));
    DeleteObject(huge);
}

TEST(Paths, GiveARegionOnlyWhenClosedAndOnlyOnce)
{
    CDC open;
    EXPECT_EQ(PathToRegion(open.m_hDC), nullptr) << "no path";
    EXPECT_EQ(open.EndPath(), 0);
    EXPECT_EQ(open.CloseFigure(), 0);
    open.BeginPath();
    open.MoveTo(0, 0);
    open.LineTo(4, 0);
    open.LineTo(4, 4);
    EXPECT_EQ(PathToRegion(open.m_hDC), nullptr) << "the path is still open";
    EXPECT_EQ(open.EndPath(), 1);
    HRGN region = PathToRegion(open.m_hDC);
    ASSERT_NE(region, nullptr);
    EXPECT_EQ(std::tuple(PtInRegion(region, 3, 1), PtInRegion(region, 1, 3)), std::tuple(1, 0));
    EXPECT_EQ(PathToRegion(open.m_hDC), nullptr) << "consumed";
    EXPECT_EQ(PathToRegion(nullptr), nullptr);
    DeleteObject(region);

    CRgn none;
    EXPECT_EQ(none.Attach(PathToRegion(open.m_hDC)), 0);
    EXPECT_EQ(none.m_hObject, nullptr);
    CRgn rectangle;
    rectangle.CreateRectRgn(0, 0, 2, 2);
    EXPECT_EQ(none.CopyRgn(&rectangle), 0) << "nothing to copy into";
    EXPECT_EQ(none.DeleteObject(), 0);
}

TEST(RegionObjects, HoldOneRegionAndDeleteWhatTheyStillHold)
{
    RECT box{};
    CRgn ra, rb, c;
    EXPECT_EQ(ra.CreateRectRgn(0, 0, 4, 4), 1);
    EXPECT_EQ(ra.CreateRectRgn(0, 0, 1, 1), 0);
    rb.CreateRectRgn(2, 2, 6, 6);
    c.CreateRectRgn(0, 0, 0, 0);
    EXPECT_EQ(c.CombineRgn(&ra, &rb, RGN_AND), SIMPLEREGION);
    EXPECT_EQ(c.CombineRgn(nullptr, &rb, RGN_AND), 0);
    EXPECT_EQ(c.GetRgnBox(&box), SIMPLEREGION);
    EXPECT_EQ(box.left, 2);
    EXPECT_EQ(c.CopyRgn(&ra), SIMPLEREGION);
    EXPECT_EQ(c.PtInRegion(1, 1), 1);

    HRGN taken = ra.Detach();
    EXPECT_EQ(static_cast<HRGN>(ra), nullptr);
    EXPECT_EQ(ra.Attach(taken), 1);
    EXPECT_EQ(ra.Attach(taken), 0);
    EXPECT_EQ(rb.DeleteObject(), 1);
    EXPECT_EQ(rb.m_hObject, nullptr);
}

}  // namespace
