#pragma once

// Renderers that skip a test when this machine has no EGL or OpenGL, and
// small scenes built from a few geometry nodes.

#include "support/Held.h"

#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/MeshNodes.h>
#include <brelldata/gl/Picture.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <vector>

// Pixels compare and print in the global namespace, where RGBA is.
inline bool operator==(const RGBA& a, const RGBA& b)
{
    return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a;
}

inline std::ostream& operator<<(std::ostream& out, const RGBA& c)
{
    return out << "(" << int{c.r} << ", " << int{c.g} << ", " << int{c.b} << ", " << int{c.a} << ")";
}

namespace brell::test {

// What RenderOptions clears to.
constexpr RGBA kBackground{34, 38, 46, 255};
constexpr RGBA kRed{255, 0, 0, 255};
constexpr RGBA kGreen{0, 255, 0, 255};
constexpr RGBA kBlue{0, 0, 255, 255};
constexpr RGBA kWhite{255, 255, 255, 255};
constexpr RGBA kYellow{255, 255, 0, 255};
constexpr RGBA kMagenta{255, 0, 255, 255};

// Registers the procedures and makes a renderer, or skips the test with the
// renderer's reason.
class GlTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        gl::RegisterProcedures();
        try {
            renderer = std::make_unique<gl::Renderer>(kSize, kSize);
        } catch (const gl::RenderError& error) {
            GTEST_SKIP() << error.what();
        }
    }
    void TearDown() override
    {
        renderer.reset();
        gl::UnregisterProcedures();
    }

    // Renders root and keeps its pixels.
    void Render(CBaseNode* root)
    {
        gl::RenderScene(*renderer, root, {});
        pixels = renderer->ReadPixels();
    }
    // The pixel at window column x and row y from the top.
    RGBA At(int x, int y) const { return pixels[static_cast<size_t>(y) * kSize + x]; }
    struct Pixel {
        int x, y;
        RGBA color;
    };
    // Each pixel has its colour.
    void ExpectPixels(std::initializer_list<Pixel> expected) const
    {
        for (const Pixel& p : expected) EXPECT_EQ(At(p.x, p.y), p.color) << "at " << p.x << ", " << p.y;
    }
    // The pixel showing world point (x, y) through OrthoCamera.
    RGBA AtWorld(double x, double y) const
    {
        return At(static_cast<int>((x + 2.0) / 4.0 * kSize), static_cast<int>((2.0 - y) / 4.0 * kSize));
    }

    static constexpr int kSize = 64;
    std::unique_ptr<gl::Renderer> renderer;
    std::vector<RGBA> pixels;
    // The test's scene, held for the test and released at its end.
    Held<CGeoBaseNode> scene;
};

// Another scene of the test's.
using Scene = Held<CGeoBaseNode>;

template <class Node>
Node* Add(CBaseNode* parent, Node* node)
{
    parent->AppendChild(node);
    return node;
}

// A camera looking down -z at the square -2 .. 2 in x and y.
inline CGeoCameraNode* OrthoCamera()
{
    auto* camera = new CGeoCameraNode;
    camera->camera = {0, -2.0, 2.0, 2.0, -2.0, 1.0, 100.0, 45.0, 0.0, {0.0, 0.0, 10.0}, {0.0, 0.0, 0.0}};
    return camera;
}

// Gives image rows of width pixels, top row first.
inline void SetPixels(CMatrixDataStore<RGBA>& image, int width, std::initializer_list<RGBA> pixels)
{
    image.width = width;
    image.AppendRows(static_cast<int>(pixels.size()) / width);
    std::copy(pixels.begin(), pixels.end(), image.Buffer());
}

template <class Node>
void SetVertices(Node* node, std::initializer_list<VERTEX> vertices)
{
    node->ClearVertex();
    for (const VERTEX& v : vertices) {
        node->AppendVertex(1);
        node->GetVertex(node->VertexNumber() - 1) = v;
    }
}

// Points of the given size and colour at the given places.
inline CGeoPointNode* Points(std::initializer_list<VERTEX> places, double size, RGBA color)
{
    auto* points = new CGeoPointNode;
    SetVertices(points, places);
    points->Append(static_cast<int>(places.size()));
    for (int i = 0; i < points->Number(); ++i) points->Index(i) = i;
    points->size = size;
    points->color = color;
    return points;
}

// One polygon of the given corners.
inline CGeoPolygonNode* Polygon(std::initializer_list<VERTEX> corners, RGBA color)
{
    auto* polygon = new CGeoPolygonNode;
    SetVertices(polygon, corners);
    polygon->Segment() = static_cast<int>(corners.size());
    polygon->Append(1);
    for (int j = 0; j < polygon->Segment(); ++j) polygon->Index(0, j) = j;
    polygon->color = color;
    return polygon;
}

// A shaded quad facing +z from (x0, y0) to (x1, y1) at depth z, one polygon
// with texture coordinates from the image's top-left corner.
inline CGeoPolyShadeRefNode* ShadedQuad(double x0, double y0, double x1, double y1, double z, RGBA color)
{
    auto* quad = new CGeoPolyShadeRefNode;
    SetVertices(quad, {{x0, y1, z}, {x1, y1, z}, {x1, y0, z}, {x0, y0, z}});
    quad->polygons->rows.push_back({{0, 1, 2, 3}, 4});
    quad->indices->Append(1);
    quad->indices->Element(0) = 0;
    quad->textureCoords->rows.push_back({{{0.0f, 0.0f}, {1.0f, 0.0f}, {1.0f, 1.0f}, {0.0f, 1.0f}}, 4});
    quad->hasTextureCoords = 1;
    quad->color = color;
    return quad;
}

}  // namespace brell::test
