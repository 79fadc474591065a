#include <brelldata/platform/Region.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// A region's rectangles in bands (see Region.h) and the box around them.
struct RegionData {
    std::vector<RECT> rects;
    RECT box{0, 0, 0, 0};
};

struct DeviceContextData {
    struct Figure {
        std::vector<POINT> points;
        bool open;
    };
    std::vector<Figure> figures;
    POINT current{0, 0};
    bool pathOpen = false;
    bool pathClosed = false;
};

namespace {

// One band's spans as a sorted list of x boundaries, left and right in turn;
// no two are equal, so spans never touch.
using Bounds = std::vector<int32_t>;

// Appends bands to a rectangle list, merging each into the band above when
// that one ends where it starts and has the same spans.
class BandBuilder {
public:
    explicit BandBuilder(std::vector<RECT>& rects) : rects_(rects) {}

    void Add(int32_t top, int32_t bottom, const Bounds& bounds)
    {
        if (bounds.empty()) return;
        if (SameAsLast(top, bounds)) {
            for (size_t i = last_; i < rects_.size(); ++i) rects_[i].bottom = bottom;
            return;
        }
        last_ = rects_.size();
        for (size_t i = 0; i < bounds.size(); i += 2) rects_.push_back({bounds[i], top, bounds[i + 1], bottom});
    }

private:
    bool SameAsLast(int32_t top, const Bounds& bounds) const
    {
        if (last_ == rects_.size() || rects_[last_].bottom != top || rects_.size() - last_ != bounds.size() / 2)
            return false;
        for (size_t i = 0; i < bounds.size(); i += 2) {
            const RECT& r = rects_[last_ + i / 2];
            if (r.left != bounds[i] || r.right != bounds[i + 1]) return false;
        }
        return true;
    }

    std::vector<RECT>& rects_;
    size_t last_ = 0;
};

void SetRects(RegionData& region, std::vector<RECT> rects)
{
    region.rects = std::move(rects);
    region.box = {0, 0, 0, 0};
    if (region.rects.empty()) return;
    region.box = {INT32_MAX, region.rects.front().top, INT32_MIN, region.rects.back().bottom};
    for (const RECT& r : region.rects) {
        region.box.left = std::min(region.box.left, r.left);
        region.box.right = std::max(region.box.right, r.right);
    }
}

int Kind(const RegionData& region)
{
    return region.rects.empty() ? NULLREGION : region.rects.size() == 1 ? SIMPLEREGION : COMPLEXREGION;
}

using RectIt = std::vector<RECT>::const_iterator;

// The end of the band that starts at first, found by galloping so that it
// costs the logarithm of the band's size, not of the region's.
RectIt BandEnd(RectIt first, RectIt end)
{
    const int32_t top = first->top;
    RectIt inBand = first;
    ptrdiff_t step = 1;
    for (; end - inBand > step && (inBand + step)->top == top; step *= 2) inBand += step;
    const RectIt limit = end - inBand > step ? inBand + step : end;
    return std::partition_point(inBand, limit, [top](const RECT& r) { return r.top == top; });
}

// The spans of a region on the rows from y down, where no band of it starts
// or ends: [first, last) of the band holding y, or an empty range. first
// moves past the bands above y.
std::pair<RectIt, RectIt> SpansAt(RectIt& first, RectIt end, int32_t y)
{
    while (first != end && first->bottom <= y) first = BandEnd(first, end);
    if (first == end || first->top > y) return {first, first};
    return {first, BandEnd(first, end)};
}

bool Keeps(int mode, bool inA, bool inB)
{
    switch (mode) {
        case RGN_AND:
            return inA && inB;
        case RGN_OR:
            return inA || inB;
        case RGN_XOR:
            return inA != inB;
        default:
            return inA && !inB;  // RGN_DIFF
    }
}

// The spans of a combined with b by mode, found by a sweep over both lists
// of boundaries.
void CombineSpans(std::pair<RectIt, RectIt> a, std::pair<RectIt, RectIt> b, int mode, Bounds& out)
{
    out.clear();
    bool inA = false, inB = false, kept = false;
    const int64_t none = INT64_MAX;
    for (;;) {
        const int64_t nextA = a.first == a.second ? none : inA ? a.first->right : a.first->left;
        const int64_t nextB = b.first == b.second ? none : inB ? b.first->right : b.first->left;
        const int64_t x = std::min(nextA, nextB);
        if (x == none) return;
        if (nextA == x) {
            if (inA) ++a.first;
            inA = !inA;
        }
        if (nextB == x) {
            if (inB) ++b.first;
            inB = !inB;
        }
        if (Keeps(mode, inA, inB) != kept) {
            kept = !kept;
            out.push_back(static_cast<int32_t>(x));
        }
    }
}

std::vector<RECT> Combine(const std::vector<RECT>& a, const std::vector<RECT>& b, int mode)
{
    // Between two neighbouring band edges of either region both have fixed spans.
    std::vector<int32_t> edges;
    for (const auto* rects : {&a, &b})
        for (const RECT& r : *rects) edges.insert(edges.end(), {r.top, r.bottom});
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());

    std::vector<RECT> result;
    BandBuilder builder(result);
    Bounds bounds;
    RectIt nextA = a.begin(), nextB = b.begin();
    for (size_t i = 0; i + 1 < edges.size(); ++i) {
        CombineSpans(SpansAt(nextA, a.end(), edges[i]), SpansAt(nextB, b.end(), edges[i]), mode, bounds);
        builder.Add(edges[i], edges[i + 1], bounds);
    }
    return result;
}

// A path edge with y0 < y1, on the rows y0 to y1 - 1 (the rows whose centre
// lines it crosses).
struct Edge {
    int64_t x0, y0, dx, dy;
};

// The first pixel whose centre lies after the edge's crossing of row y's
// centre line: ceil(x - 0.5) for the crossing x = x0 + (y + 0.5 - y0) dx / dy,
// in integers so that crossings through pixel centres are exact.
int32_t FirstPixelAfter(const Edge& e, int64_t y)
{
    const int64_t numerator = (2 * (y - e.y0) + 1) * e.dx - e.dy;
    const int64_t denominator = 2 * e.dy;
    int64_t steps = numerator / denominator;
    if (numerator % denominator != 0 && numerator > 0) ++steps;
    return static_cast<int32_t>(e.x0 + steps);
}

std::vector<RECT> FillEvenOdd(const std::vector<DeviceContextData::Figure>& figures)
{
    std::vector<Edge> edges;
    for (const auto& figure : figures) {
        const auto& p = figure.points;
        for (size_t i = 0; i < p.size(); ++i) {
            POINT from = p[i], to = p[(i + 1) % p.size()];
            if (from.y == to.y) continue;
            if (from.y > to.y) std::swap(from, to);
            edges.push_back({from.x, from.y, int64_t{to.x} - from.x, int64_t{to.y} - from.y});
        }
    }
    std::sort(edges.begin(), edges.end(), [](const Edge& l, const Edge& r) { return l.y0 < r.y0; });

    std::vector<RECT> rects;
    BandBuilder builder(rects);
    std::vector<const Edge*> active;
    std::vector<int32_t> starts;
    Bounds bounds;
    size_t next = 0;
    int64_t y = 0;
    while (next < edges.size() || !active.empty()) {
        if (active.empty()) y = edges[next].y0;
        for (; next < edges.size() && edges[next].y0 <= y; ++next) active.push_back(&edges[next]);

        // Every figure is closed, so a row meets an even number of edges;
        // the pixels from an odd-numbered start to the next are inside.
        starts.clear();
        for (const Edge* e : active) starts.push_back(FirstPixelAfter(*e, y));
        std::sort(starts.begin(), starts.end());
        bounds.clear();
        for (size_t i = 0; i + 1 < starts.size(); i += 2) {
            if (starts[i] == starts[i + 1]) continue;
            if (!bounds.empty() && bounds.back() == starts[i])
                bounds.back() = starts[i + 1];
            else
                bounds.insert(bounds.end(), {starts[i], starts[i + 1]});
        }
        // Rows up to the next edge's start or end are alike when every edge
        // on them is vertical, so axis-aligned paths cost no row-by-row scan.
        int64_t alike = y + 1;
        if (std::all_of(active.begin(), active.end(), [](const Edge* e) { return e->dx == 0; })) {
            alike = next < edges.size() ? edges[next].y0 : INT64_MAX;
            for (const Edge* e : active) alike = std::min(alike, e->y0 + e->dy);
        }
        builder.Add(static_cast<int32_t>(y), static_cast<int32_t>(alike), bounds);
        y = alike;
        active.erase(std::remove_if(active.begin(), active.end(), [y](const Edge* e) { return e->y0 + e->dy <= y; }),
                     active.end());
    }
    return rects;
}

constexpr int32_t kPathLimit = (1 << 27) - 1;

POINT PathPoint(int x, int y)
{
    return {std::clamp(x, -kPathLimit, kPathLimit), std::clamp(y, -kPathLimit, kPathLimit)};
}

}  // namespace

HRGN CreateRectRgn(int left, int top, int right, int bottom)
{
    auto* region = new RegionData;
    if (left > right) std::swap(left, right);
    if (top > bottom) std::swap(top, bottom);
    if (left < right && top < bottom) SetRects(*region, {RECT{left, top, right, bottom}});
    return region;
}

int CombineRgn(HRGN destination, HRGN source1, HRGN source2, int mode)
{
    if (destination == nullptr || source1 == nullptr || mode < RGN_AND || mode > RGN_COPY) return 0;
    if (mode == RGN_COPY) {
        SetRects(*destination, source1->rects);
    } else {
        if (source2 == nullptr) return 0;
        SetRects(*destination, Combine(source1->rects, source2->rects, mode));
    }
    return Kind(*destination);
}

HRGN PathToRegion(HDC dc)
{
    if (dc == nullptr || !dc->pathClosed) return nullptr;
    auto* region = new RegionData;
    SetRects(*region, FillEvenOdd(dc->figures));
    dc->figures.clear();
    dc->pathClosed = false;
    return region;
}

int DeleteObject(HRGN region)
{
    if (region == nullptr) return 0;
    delete region;
    return 1;
}

int PtInRegion(HRGN region, int x, int y)
{
    if (region == nullptr) return 0;
    const RECT& box = region->box;
    if (x < box.left || x >= box.right || y < box.top || y >= box.bottom) return 0;
    // Bottoms and tops both rise monotonically through the bands.
    const auto& rects = region->rects;
    auto band = std::partition_point(rects.begin(), rects.end(), [y](const RECT& r) { return r.bottom <= y; });
    if (band->top > y) return 0;
    const auto bandEnd = BandEnd(band, rects.end());
    auto hit = std::partition_point(band, bandEnd, [x](const RECT& r) { return r.right <= x; });
    return hit != bandEnd && hit->left <= x ? 1 : 0;
}

int GetRgnBox(HRGN region, RECT* box)
{
    if (region == nullptr || box == nullptr) return 0;
    *box = region->box;
    return Kind(*region);
}

int GetRegionRects(HRGN region, const RECT** rects)
{
    const bool any = region != nullptr && !region->rects.empty();
    if (rects != nullptr) *rects = any ? region->rects.data() : nullptr;
    return any ? static_cast<int>(region->rects.size()) : 0;
}

CRgn::~CRgn()
{
    DeleteObject();
}

int CRgn::CreateRectRgn(int left, int top, int right, int bottom)
{
    if (m_hObject != nullptr) return 0;
    m_hObject = ::CreateRectRgn(left, top, right, bottom);
    return 1;
}

int CRgn::CombineRgn(CRgn* source1, CRgn* source2, int mode)
{
    if (source1 == nullptr) return 0;
    return ::CombineRgn(m_hObject, source1->m_hObject, source2 == nullptr ? nullptr : source2->m_hObject, mode);
}

int CRgn::CopyRgn(CRgn* source)
{
    return CombineRgn(source, nullptr, RGN_COPY);
}

int CRgn::Attach(HRGN region)
{
    if (region == nullptr || m_hObject != nullptr) return 0;
    m_hObject = region;
    return 1;
}

HRGN CRgn::Detach()
{
    return std::exchange(m_hObject, nullptr);
}

int CRgn::DeleteObject()
{
    return ::DeleteObject(Detach());
}

int CRgn::PtInRegion(int x, int y) const
{
    return ::PtInRegion(m_hObject, x, y);
}

int CRgn::GetRgnBox(RECT* box) const
{
    return ::GetRgnBox(m_hObject, box);
}

CDC::CDC() : m_hDC(new DeviceContextData) {}

CDC::~CDC()
{
    delete m_hDC;
}

int CDC::BeginPath()
{
    if (m_hDC == nullptr) return 0;
    m_hDC->figures.clear();
    m_hDC->pathOpen = true;
    m_hDC->pathClosed = false;
    return 1;
}

POINT CDC::MoveTo(int x, int y)
{
    if (m_hDC == nullptr) return {0, 0};
    const POINT previous = m_hDC->current;
    m_hDC->current = PathPoint(x, y);
    if (m_hDC->pathOpen) m_hDC->figures.push_back({{m_hDC->current}, true});
    return previous;
}

int CDC::LineTo(int x, int y)
{
    if (m_hDC == nullptr) return 0;
    DeviceContextData& dc = *m_hDC;
    if (dc.pathOpen && (dc.figures.empty() || !dc.figures.back().open)) dc.figures.push_back({{dc.current}, true});
    dc.current = PathPoint(x, y);
    if (dc.pathOpen) dc.figures.back().points.push_back(dc.current);
    return 1;
}

int CDC::CloseFigure()
{
    if (m_hDC == nullptr || !m_hDC->pathOpen || m_hDC->figures.empty() || !m_hDC->figures.back().open) return 0;
    m_hDC->figures.back().open = false;
    m_hDC->current = m_hDC->figures.back().points.front();
    return 1;
}

int CDC::EndPath()
{
    if (m_hDC == nullptr || !m_hDC->pathOpen) return 0;
    m_hDC->pathOpen = false;
    m_hDC->pathClosed = true;
    return 1;
}
