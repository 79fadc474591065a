#include <brelldata/geo/OverlayNodes.h>

BRELL_NODE_TYPE_DEFINE(CGeoPoint2DNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoPoint2DNode, CGeoBaseNode)
BRELL_NODE_TYPE_DEFINE(CGeoLine2DNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoLine2DNode, CGeoBaseNode)
BRELL_NODE_TYPE_DEFINE(CGeoCrossLine2DNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoCrossLine2DNode, CGeoBaseNode)
BRELL_NODE_TYPE_DEFINE(CGeoRectangle2DNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoRectangle2DNode, CGeoBaseNode)
BRELL_NODE_TYPE_DEFINE(CGeoRegion2DNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoRegion2DNode, CGeoBaseNode)
BRELL_NODE_TYPE_DEFINE(CGeoBezier2DNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoBezier2DNode, CGeoBaseNode)

namespace {

// The store takes the count items in order; a count below 1 leaves it empty.
// When the store cannot grow the items go to its spare element.
template <class T>
void Fill(CArrayDataStore<T>& store, const T* items, int count)
{
    if (count < 1 || items == nullptr) return;
    if (store.Reserve(count) != 0) store.Number() = count;
    for (int i = 0; i < count; ++i) store.Element(i) = items[i];
}

// When the store cannot grow the item overwrites its last element (or the spare one).
template <class T>
void AppendItem(CArrayDataStore<T>& store, const T& item)
{
    if (store.Reserve(store.Number() + 1) != 0) ++store.Number();
    store.Element(store.Number() - 1) = item;
}

// An overlay's own figure and look, which copy construction and assignment
// both take after the base node's part.
void CopyOwn(CGeoPoint2DNode& to, const CGeoPoint2DNode& from)
{
    to.points.Assign(from.points);
    to.color = from.color;
}

void CopyOwn(CGeoLine2DNode& to, const CGeoLine2DNode& from)
{
    to.points.Assign(from.points);
    to.color = from.color;
    to.closed = from.closed;
    to.lineValue = from.lineValue;
}

void CopyOwn(CGeoBezier2DNode& to, const CGeoBezier2DNode& from)
{
    to.ctrlPoints.Assign(from.ctrlPoints);
    to.SetColor(from.color1, from.color2, from.color3);
    to.bezierValue1 = from.bezierValue1;
    to.bezierValue2 = from.bezierValue2;
    to.bezierValue3 = from.bezierValue3;
}

}  // namespace

CGeoPoint2DNode::CGeoPoint2DNode(const POINT* points, int count, uint32_t color) : color(color)
{
    Fill(this->points, points, count);
}

CGeoPoint2DNode::CGeoPoint2DNode(const CGeoPoint2DNode& other) : CGeoBaseNode(other)
{
    CopyOwn(*this, other);
}

CGeoPoint2DNode& CGeoPoint2DNode::operator=(const CGeoPoint2DNode& other)
{
    CGeoBaseNode::operator=(other);
    CopyOwn(*this, other);
    return *this;
}

CGeoPoint2DNode::~CGeoPoint2DNode() = default;

void CGeoPoint2DNode::Append(const POINT& point)
{
    AppendItem(points, point);
}

CGeoLine2DNode::CGeoLine2DNode(const POINT* points, int count, uint32_t color, int closed, int lineValue)
    : color(color), closed(closed), lineValue(lineValue)
{
    Fill(this->points, points, count);
    if (closed != 0 && count > 0 && points != nullptr) AppendItem(this->points, points[0]);
}

CGeoLine2DNode::CGeoLine2DNode(const CGeoLine2DNode& other) : CGeoBaseNode(other)
{
    CopyOwn(*this, other);
}

CGeoLine2DNode& CGeoLine2DNode::operator=(const CGeoLine2DNode& other)
{
    CGeoBaseNode::operator=(other);
    CopyOwn(*this, other);
    return *this;
}

CGeoLine2DNode::~CGeoLine2DNode() = default;

CGeoCrossLine2DNode::CGeoCrossLine2DNode(POINT position, uint32_t color, int crossValue1, int crossValue2)
    : position(position), color(color), crossValue1(crossValue1), crossValue2(crossValue2)
{
}

CGeoCrossLine2DNode::~CGeoCrossLine2DNode() = default;

CGeoRectangle2DNode::CGeoRectangle2DNode(const RECT* rectangle, int rectValue1, uint32_t color, int rectValue2)
    : color(color), rectValue1(rectValue1), rectValue2(rectValue2)
{
    SetRectangle(rectangle);
}

CGeoRectangle2DNode::~CGeoRectangle2DNode() = default;

void CGeoRectangle2DNode::SetRectangle(const RECT* rect)
{
    if (rect != nullptr) rectangle = *rect;
}

CGeoRegion2DNode::CGeoRegion2DNode()
{
    region.Attach(::CreateRectRgn(0, 0, 0, 0));
}

CGeoRegion2DNode::CGeoRegion2DNode(CRgn& source, uint32_t color, int regionValue, uint32_t color2) : CGeoRegion2DNode()
{
    SetRegion(source);
    this->color = color;
    this->regionValue = regionValue;
    this->color2 = color2;
}

CGeoRegion2DNode::CGeoRegion2DNode(CDC* dc, uint32_t color, int regionValue, uint32_t color2)
    : color(color), regionValue(regionValue), color2(color2)
{
    if (dc != nullptr) region.Attach(::PathToRegion(dc->m_hDC));
}

// The region object deletes the region it holds.
CGeoRegion2DNode::~CGeoRegion2DNode() = default;

void CGeoRegion2DNode::SetRegion(CRgn& source)
{
    ::CombineRgn(region.m_hObject, source.m_hObject, nullptr, RGN_COPY);
}

CGeoBezier2DNode::CGeoBezier2DNode(const BEZIER_POINT2D* points, int count, int value1, int value2, int value3)
    : color3(0xC8C800), bezierValue1(value1), bezierValue2(value2), bezierValue3(value3)
{
    Fill(ctrlPoints, points, count);
}

CGeoBezier2DNode::CGeoBezier2DNode(const CGeoBezier2DNode& other) : CGeoBaseNode(other)
{
    CopyOwn(*this, other);
}

CGeoBezier2DNode& CGeoBezier2DNode::operator=(const CGeoBezier2DNode& other)
{
    CGeoBaseNode::operator=(other);
    CopyOwn(*this, other);
    return *this;
}

CGeoBezier2DNode::~CGeoBezier2DNode() = default;

void CGeoBezier2DNode::SetColor(uint32_t first, uint32_t second, uint32_t third)
{
    color1 = first;
    color2 = second;
    color3 = third;
}
