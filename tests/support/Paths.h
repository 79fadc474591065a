#pragma once

// Closed figures drawn as a device context's path, and the even-odd rule that
// says which points the region of such a path holds.

#include <brelldata/platform/Region.h>

#include <cstddef>
#include <vector>

namespace brell::test {

using Figure = std::vector<POINT>;

// A ray to the right of the point crosses an odd number of the figures' edges.
inline bool EvenOdd(const std::vector<Figure>& figures, double px, double py)
{
    bool inside = false;
    for (const Figure& f : figures)
        for (std::size_t i = 0, j = f.size() - 1; i < f.size(); j = i++) {
            const double xi = f[i].x, yi = f[i].y, xj = f[j].x, yj = f[j].y;
            if ((yi > py) != (yj > py) && px < (xj - xi) * (py - yi) / (yj - yi) + xi) inside = !inside;
        }
    return inside;
}

inline HRGN RegionOfPath(const std::vector<Figure>& figures)
{
    CDC dc;
    dc.BeginPath();
    for (const Figure& f : figures) {
        dc.MoveTo(f[0].x, f[0].y);
        for (std::size_t i = 1; i < f.size(); ++i) dc.LineTo(f[i].x, f[i].y);
        dc.CloseFigure();
    }
    dc.EndPath();
    return PathToRegion(dc.m_hDC);
}

}  // namespace brell::test
