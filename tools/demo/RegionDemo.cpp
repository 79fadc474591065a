#include "DemoSections.h"

#include <brelldata/platform/Region.h>

#include <cstdio>

void ShowRegions()
{
    // Two overlapping triangles as two figures of one path: under the
    // even-odd rule their overlap is a hole.
    CDC dc;
    dc.BeginPath();
    dc.MoveTo(0, 0);
    dc.LineTo(12, 0);
    dc.LineTo(6, 8);
    dc.CloseFigure();
    dc.MoveTo(6, 2);
    dc.LineTo(16, 8);
    dc.LineTo(2, 8);
    dc.CloseFigure();
    dc.EndPath();
    CRgn region;
    region.Attach(PathToRegion(dc.m_hDC));

    RECT box{};
    region.GetRgnBox(&box);
    for (int y = box.top; y < box.bottom; ++y) {
        std::printf("  ");
        for (int x = box.left; x < box.right; ++x) std::putchar(region.PtInRegion(x, y) ? '#' : '.');
        std::putchar('\n');
    }
    const RECT* rects = nullptr;
    const int count = GetRegionRects(region, &rects);
    std::printf("%d rectangles (left, top, right, bottom):\n", count);
    for (int i = 0; i < count; ++i)
        std::printf("  %d, %d, %d, %d\n", rects[i].left, rects[i].top, rects[i].right, rects[i].bottom);
    std::printf("a second PathToRegion finds the path consumed: %s\n",
                PathToRegion(dc.m_hDC) == nullptr ? "no region" : "a region");
}
