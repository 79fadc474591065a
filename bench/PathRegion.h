#pragma once

#include <brelldata/platform/Region.h>

// The region inside the closed path through count corners, corner(k) giving
// the k-th, made through a device context's path as a host makes a lasso.
template <class Corner>
HRGN PathRegion(int count, Corner corner)
{
    CDC dc;
    dc.BeginPath();
    for (int k = 0; k < count; ++k) {
        const POINT at = corner(k);
        if (k == 0)
            dc.MoveTo(at.x, at.y);
        else
            dc.LineTo(at.x, at.y);
    }
    dc.CloseFigure();
    dc.EndPath();
    return PathToRegion(dc.m_hDC);
}
