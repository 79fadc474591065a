#pragma once

#include <brelldata/Export.h>

#include <cstdint>

// Regions and device-context paths in the platform's shape. A region is a set
// of non-overlapping integer rectangles, each holding the points with
// left <= x < right and top <= y < bottom. Its rectangles are kept in y-x
// bands: sorted top to bottom, the rectangles of one band share top and
// bottom and are sorted left to right without touching, and neighbouring
// bands with the same spans are merged. So a region's rectangles, and their
// number, are the same however it was made.

struct POINT {
    int32_t x, y;
};
struct RECT {
    int32_t left, top, right, bottom;
};
using HRGN = struct RegionData*;
using HDC = struct DeviceContextData*;

enum { RGN_AND = 1, RGN_OR = 2, RGN_XOR = 3, RGN_DIFF = 4, RGN_COPY = 5 };
// Region kinds as CombineRgn and GetRgnBox give them; 0 is the error result.
enum { NULLREGION = 1, SIMPLEREGION = 2, COMPLEXREGION = 3 };

// A new region of one rectangle (swapped edges are put in order; no area
// gives an empty region), to be deleted with DeleteObject.
BRELL_API HRGN CreateRectRgn(int left, int top, int right, int bottom);
// Sets destination to source1 combined with source2 by mode (RGN_COPY uses
// only source1); either source may be destination itself. The kind of the
// result, or 0 with destination unchanged for a null region or unknown mode.
BRELL_API int CombineRgn(HRGN destination, HRGN source1, HRGN source2, int mode);
// Turns the device context's closed path into a new region and discards the
// path. Figures are closed and filled together by the even-odd rule: pixel
// (x, y) belongs to the region when the point (x + 0.5, y + 0.5) has an odd
// number of path edges to its left, where an edge counts on a row when it
// runs across the row's centre line and it is to the left when it crosses
// that line at or before the point. Path coordinates are limited to 27 bits
// (±2^27 - 1; further points are clamped). Null, and nothing changes, for a
// null context or one without a closed path (BeginPath ... EndPath).
BRELL_API HRGN PathToRegion(HDC dc);
// 1 when the region was deleted; 0 for null.
BRELL_API int DeleteObject(HRGN region);
// 1 when the region holds the point; 0 otherwise or for null.
BRELL_API int PtInRegion(HRGN region, int x, int y);
// Writes the smallest rectangle around the region (all 0 when empty) and
// gives its kind; 0 for a null region or box.
BRELL_API int GetRgnBox(HRGN region, RECT* box);
// The number of the region's rectangles, in band order, with a pointer to the
// first written through a non-null rects (null when there are none). The
// rectangles stay valid until the region changes or is deleted. 0 and null
// for a null region.
BRELL_API int GetRegionRects(HRGN region, const RECT** rects);

// Owns the region in m_hObject, if any, and deletes it on destruction.
class BRELL_API CRgn {
public:
    CRgn() = default;
    CRgn(const CRgn&) = delete;
    CRgn& operator=(const CRgn&) = delete;
    ~CRgn();

    // A new rectangle region; 0 when the object already holds a region.
    int CreateRectRgn(int left, int top, int right, int bottom);
    // ::CombineRgn into this object's region; a null source gives 0.
    int CombineRgn(CRgn* source1, CRgn* source2, int mode);
    // Makes this object's region a copy of source's; the kind, or 0.
    int CopyRgn(CRgn* source);
    // Takes region over; 0 for null or when the object already holds one.
    int Attach(HRGN region);
    // Hands the region (or null) to the caller and holds none.
    HRGN Detach();
    // Deletes the region held; 0 when there is none.
    int DeleteObject();
    int PtInRegion(int x, int y) const;
    int GetRgnBox(RECT* box) const;
    operator HRGN() const { return m_hObject; }

    HRGN m_hObject = nullptr;
};

// A memory device context that records paths. MoveTo starts a figure, LineTo
// extends it (or starts one at the current position), CloseFigure ends it;
// outside BeginPath ... EndPath they only move the current position.
class BRELL_API CDC {
public:
    // Makes the context in m_hDC.
    CDC();
    CDC(const CDC&) = delete;
    CDC& operator=(const CDC&) = delete;
    ~CDC();

    // Discards any path and opens a new one; 0 without a context.
    int BeginPath();
    // Moves the current position; the previous position.
    POINT MoveTo(int x, int y);
    int LineTo(int x, int y);
    // Ends the current figure and returns to its start; 0 outside an open path.
    int CloseFigure();
    // Closes the path for PathToRegion; 0 when no path is open.
    int EndPath();

    HDC m_hDC;
};
