#pragma once

#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/geo/GeoBaseNode.h>
#include <brelldata/platform/Region.h>

#include <cstdint>

// Two-dimensional figures in window coordinates, drawn over the 3-D picture.
// The library only keeps them: the draw procedures read the members directly.
// They have no bounding box, and neither a node stream nor Copy carries their
// figures. Their types are not registered at start-up; a caller that wants to
// create them by name registers them. Colours travel to the draw procedures
// unchanged.

// A control point; its meaning belongs to the draw procedures.
struct BEZIER_POINT2D {
    int32_t words[7];
};
static_assert(sizeof(BEZIER_POINT2D) == 28);

class BRELL_API CGeoPoint2DNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoPoint2DNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoPoint2DNode, CGeoBaseNode)

public:
    CGeoPoint2DNode() = default;
    CGeoPoint2DNode(const POINT* points, int count, uint32_t color);
    // Copies hold points of their own.
    CGeoPoint2DNode(const CGeoPoint2DNode& other);
    CGeoPoint2DNode& operator=(const CGeoPoint2DNode& other);
    ~CGeoPoint2DNode() override;

    void Append(const POINT& point);
    int Number() { return points.Number(); }
    // Count 0; the buffer stays.
    void Clear() { points.Number() = 0; }

    CArrayDataStore<POINT> points;
    uint32_t color = 0xFFFFFF;
};

class BRELL_API CGeoLine2DNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoLine2DNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoLine2DNode, CGeoBaseNode)

public:
    CGeoLine2DNode() = default;
    // A polyline through the points; closed non-zero appends the first point
    // once more (nothing to append without points).
    CGeoLine2DNode(const POINT* points, int count, uint32_t color, int closed, int lineValue);
    // Copies hold points of their own.
    CGeoLine2DNode(const CGeoLine2DNode& other);
    CGeoLine2DNode& operator=(const CGeoLine2DNode& other);
    ~CGeoLine2DNode() override;

    // Count 0; the buffer stays.
    void Clear() { points.Number() = 0; }

    CArrayDataStore<POINT> points;
    uint32_t color = 0xFFFFFF;
    int closed = 0;
    int lineValue = 0;
};

class BRELL_API CGeoCrossLine2DNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoCrossLine2DNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoCrossLine2DNode, CGeoBaseNode)

public:
    CGeoCrossLine2DNode() = default;
    CGeoCrossLine2DNode(POINT position, uint32_t color, int crossValue1, int crossValue2);
    ~CGeoCrossLine2DNode() override;

    void SetPosition(const POINT& point) { position = point; }

    POINT position{0, 0};
    uint32_t color = 0xFFFFFF;
    int crossValue1 = 5;
    int crossValue2 = 0;
};

class BRELL_API CGeoRectangle2DNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoRectangle2DNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoRectangle2DNode, CGeoBaseNode)

public:
    CGeoRectangle2DNode() = default;
    // Note the order: the first value comes before the colour. A null
    // rectangle leaves the default.
    CGeoRectangle2DNode(const RECT* rectangle, int rectValue1, uint32_t color, int rectValue2);
    ~CGeoRectangle2DNode() override;

    // Nothing for a null rectangle.
    void SetRectangle(const RECT* rect);

    RECT rectangle{0, 0, 0, 0};
    uint32_t color = 0xFFFFFF;
    int rectValue1 = 0;
    int rectValue2 = 0;
};

// Owns its region, which it deletes when it goes; cannot be copied.
class BRELL_API CGeoRegion2DNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoRegion2DNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoRegion2DNode, CGeoBaseNode)

public:
    // An empty region.
    CGeoRegion2DNode();
    // A copy of the given region's content.
    CGeoRegion2DNode(CRgn& source, uint32_t color, int regionValue, uint32_t color2);
    // The region of the device context's closed path, which is consumed; no
    // region at all without a closed path (or a device context).
    CGeoRegion2DNode(CDC* dc, uint32_t color, int regionValue, uint32_t color2);
    CGeoRegion2DNode(const CGeoRegion2DNode&) = delete;
    CGeoRegion2DNode& operator=(const CGeoRegion2DNode&) = delete;
    ~CGeoRegion2DNode() override;

    // Copies the source's content into the node's region (nothing when the
    // node holds no region).
    void SetRegion(CRgn& source);
    void SetOffset(const POINT& point) { offset = point; }

    CRgn region;
    uint32_t color = 0xFFFFFF;
    int regionValue = 0;
    uint32_t color2 = 0;
    POINT offset{0, 0};
};

class BRELL_API CGeoBezier2DNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoBezier2DNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoBezier2DNode, CGeoBaseNode)

public:
    CGeoBezier2DNode() = default;
    // The third colour becomes 0xC8C800.
    CGeoBezier2DNode(const BEZIER_POINT2D* points, int count, int value1, int value2, int value3);
    // Copies hold control points of their own.
    CGeoBezier2DNode(const CGeoBezier2DNode& other);
    CGeoBezier2DNode& operator=(const CGeoBezier2DNode& other);
    ~CGeoBezier2DNode() override;

    int NumCtrlPoints() { return ctrlPoints.Number(); }
    // Count 0; the buffer stays.
    void Clear() { ctrlPoints.Number() = 0; }
    void SetColor(uint32_t first, uint32_t second, uint32_t third);

    CArrayDataStore<BEZIER_POINT2D> ctrlPoints;
    uint32_t color1 = 0xFFFFFF;
    uint32_t color2 = 0xFFFFFF;
    uint32_t color3 = 0x00F6FF;
    int bezierValue1 = 0;
    int bezierValue2 = 1;
    int bezierValue3 = 4;
};
