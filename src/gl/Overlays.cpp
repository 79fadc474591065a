#include "gl/RendererImpl.h"

#include <brelldata/geo/OverlayNodes.h>

#include <algorithm>

// The 2-D overlays, drawn in window pixels (x right, y down from the top-left
// corner) after the 3-D picture. Colours hold red in the low byte, then green
// and blue. Points and lines run through pixel centres.

namespace brell::gl {

namespace {

Style WindowLook(uint32_t color, int size)
{
    Style style;
    style.color[0] = static_cast<float>(color & 0xFF) / 255.0f;
    style.color[1] = static_cast<float>((color >> 8) & 0xFF) / 255.0f;
    style.color[2] = static_cast<float>((color >> 16) & 0xFF) / 255.0f;
    style.size = static_cast<float>(std::max(size, 1));
    style.window = true;
    return style;
}

// Window geometry of one kind and look, added point by point.
class Figure {
public:
    explicit Figure(GLenum mode) { geometry_.mode = mode; }

    void Point(double x, double y) { geometry_.positions.insert(geometry_.positions.end(), {Px(x), Px(y), 0.0f}); }
    void Line(double x0, double y0, double x1, double y1)
    {
        Point(x0, y0);
        Point(x1, y1);
    }
    // The pixels left <= x < right, top <= y < bottom, as two triangles.
    void Fill(const RECT& r, POINT offset)
    {
        const float left = static_cast<float>(r.left + offset.x), right = static_cast<float>(r.right + offset.x);
        const float top = static_cast<float>(r.top + offset.y), bottom = static_cast<float>(r.bottom + offset.y);
        geometry_.positions.insert(geometry_.positions.end(),
                                   {left, top, 0.0f, right, top, 0.0f, right, bottom, 0.0f, left, top, 0.0f, right,
                                    bottom, 0.0f, left, bottom, 0.0f});
    }
    int Draw(void* context, const Style& style) { return RendererOf(context).Add(geometry_, style); }

private:
    static float Px(double v) { return static_cast<float>(v + 0.5); }
    Geometry geometry_;
};

int DrawPoints2D(void* node, void* context)
{
    auto* points = static_cast<CGeoPoint2DNode*>(node);
    Figure figure(GL_POINTS);
    for (int i = 0; i < points->Number(); ++i) figure.Point(points->points.Element(i).x, points->points.Element(i).y);
    return figure.Draw(context, WindowLook(points->color, 3));
}

// lineValue is the width in pixels; a closed line already ends at its start.
int DrawLine2D(void* node, void* context)
{
    auto* line = static_cast<CGeoLine2DNode*>(node);
    Figure figure(GL_LINES);
    for (int i = 0; i + 1 < line->points.Number(); ++i) {
        const POINT& a = line->points.Element(i);
        const POINT& b = line->points.Element(i + 1);
        figure.Line(a.x, a.y, b.x, b.y);
    }
    return figure.Draw(context, WindowLook(line->color, line->lineValue));
}

// A "+" with arms of crossValue1 pixels, crossValue2 pixels wide.
int DrawCross2D(void* node, void* context)
{
    auto* cross = static_cast<CGeoCrossLine2DNode*>(node);
    const POINT p = cross->position;
    const int arm = std::max(cross->crossValue1, 0);
    Figure figure(GL_LINES);
    figure.Line(p.x - arm, p.y, p.x + arm, p.y);
    figure.Line(p.x, p.y - arm, p.x, p.y + arm);
    return figure.Draw(context, WindowLook(cross->color, cross->crossValue2));
}

// Filled when rectValue1 is non-zero, else an outline rectValue2 pixels wide.
int DrawRectangle2D(void* node, void* context)
{
    auto* rectangle = static_cast<CGeoRectangle2DNode*>(node);
    const RECT& r = rectangle->rectangle;
    if (rectangle->rectValue1 != 0) {
        Figure figure(GL_TRIANGLES);
        figure.Fill(r, {0, 0});
        return figure.Draw(context, WindowLook(rectangle->color, 1));
    }
    Figure figure(GL_LINES);
    const int right = r.right - 1, bottom = r.bottom - 1;
    figure.Line(r.left, r.top, right, r.top);
    figure.Line(right, r.top, right, bottom);
    figure.Line(right, bottom, r.left, bottom);
    figure.Line(r.left, bottom, r.left, r.top);
    return figure.Draw(context, WindowLook(rectangle->color, rectangle->rectValue2));
}

// The region's rectangles moved by the offset, filled with the first colour;
// a regionValue from 1 to 254 is its opacity, so that a selection shows what
// it covers.
int DrawRegion2D(void* node, void* context)
{
    auto* region = static_cast<CGeoRegion2DNode*>(node);
    const RECT* rects = nullptr;
    const int count = GetRegionRects(region->region.m_hObject, &rects);
    Figure figure(GL_TRIANGLES);
    for (int i = 0; i < count; ++i) figure.Fill(rects[i], region->offset);
    Style look = WindowLook(region->color, 1);
    if (region->regionValue > 0 && region->regionValue < 255) look.color[3] = region->regionValue / 255.0f;
    return figure.Draw(context, look);
}

// Control points hold an anchor (words 0, 1), the handle into it (2, 3) and
// the handle out of it (4, 5). Each pair of anchors is joined by a cubic
// curve in the first colour, bezierValue2 pixels wide, closed back to the
// first anchor when bezierValue1 is non-zero; handles are drawn in the second
// colour and anchors as squares of bezierValue3 pixels in the third.
int DrawBezier2D(void* node, void* context)
{
    constexpr int kSteps = 32;
    auto* bezier = static_cast<CGeoBezier2DNode*>(node);
    const int count = bezier->NumCtrlPoints();
    const int segments = bezier->bezierValue1 != 0 && count > 2 ? count : count - 1;
    Figure curve(GL_LINES), handles(GL_LINES), anchors(GL_POINTS);
    for (int i = 0; i < segments; ++i) {
        const int32_t* a = bezier->ctrlPoints.Element(i).words;
        const int32_t* b = bezier->ctrlPoints.Element((i + 1) % count).words;
        const double x[4] = {double(a[0]), double(a[4]), double(b[2]), double(b[0])};
        const double y[4] = {double(a[1]), double(a[5]), double(b[3]), double(b[1])};
        double lastX = x[0], lastY = y[0];
        for (int step = 1; step <= kSteps; ++step) {
            const double t = static_cast<double>(step) / kSteps, u = 1.0 - t;
            const double w[4] = {u * u * u, 3.0 * u * u * t, 3.0 * u * t * t, t * t * t};
            const double px = w[0] * x[0] + w[1] * x[1] + w[2] * x[2] + w[3] * x[3];
            const double py = w[0] * y[0] + w[1] * y[1] + w[2] * y[2] + w[3] * y[3];
            curve.Line(lastX, lastY, px, py);
            lastX = px;
            lastY = py;
        }
    }
    for (int i = 0; i < count; ++i) {
        const int32_t* p = bezier->ctrlPoints.Element(i).words;
        handles.Line(p[2], p[3], p[0], p[1]);
        handles.Line(p[0], p[1], p[4], p[5]);
        anchors.Point(p[0], p[1]);
    }
    // Curves first, then handles, then anchors on top.
    int result = curve.Draw(context, WindowLook(bezier->color1, bezier->bezierValue2));
    if (handles.Draw(context, WindowLook(bezier->color2, 1)) == 0) result = 0;
    if (anchors.Draw(context, WindowLook(bezier->color3, bezier->bezierValue3)) == 0) result = 0;
    return result;
}

}  // namespace

std::vector<Procedure> OverlayProcedures()
{
    return {{"CGeoPoint2DNode", DrawPoints2D},    {"CGeoLine2DNode", DrawLine2D},
            {"CGeoCrossLine2DNode", DrawCross2D}, {"CGeoRectangle2DNode", DrawRectangle2D},
            {"CGeoRegion2DNode", DrawRegion2D},   {"CGeoBezier2DNode", DrawBezier2D}};
}

}  // namespace brell::gl
