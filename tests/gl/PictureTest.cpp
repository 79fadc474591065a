// Pictures of small scenes, checked by the colours at chosen pixels.

#include "gl/GlScenes.h"

#include <brelldata/geo/LightCameraNodes.h>
#include <brelldata/geo/OverlayNodes.h>

#include <gmock/gmock.h>
#include <png.h>

#include <cstdio>
#include <functional>
#include <string>
#include <tuple>

namespace brell::test {
namespace {

// The world point at the centre of window pixel (x, y) through OrthoCamera.
VERTEX Centre(int x, int y)
{
    return {-2.0 + (x + 0.5) / 16.0, 2.0 - (y + 0.5) / 16.0, 0.0};
}

// A square outline or face of the given pixel corners, as a reference mesh.
template <class Node>
Node* ReferencedSquare(int left, int top, int right, int bottom, RGBA color)
{
    auto* square = new Node;
    SetVertices(square, {Centre(left, top), Centre(right, top), Centre(right, bottom), Centre(left, bottom)});
    square->polygons->rows.push_back({{0, 1, 2, 3}, 4});
    square->indices->Append(1);
    square->indices->Element(0) = 0;
    square->color = color;
    return square;
}

// The red one comes first: depth, not order, puts it in front.
TEST_F(GlTest, TheFrontTriangleHidesTheBackOneWhateverTheirOrder)
{
    Add(scene.node, OrthoCamera());
    Add(scene.node, Polygon({{-1.5, 0.4, 0.0}, {-0.5, 0.4, 0.0}, {-1.0, 1.4, 0.0}}, kRed));
    Add(scene.node, Polygon({{-1.9, 0.1, -1.0}, {-0.1, 0.1, -1.0}, {-1.0, 1.9, -1.0}}, kBlue));
    Render(scene.node);
    EXPECT_EQ(std::tuple(AtWorld(-1.0, 0.75), AtWorld(-1.0, 0.2), AtWorld(-1.9, 1.9)),
              std::tuple(kRed, kBlue, kBackground));
}

TEST_F(GlTest, OverlaysCoverThePictureWhateverTheirPlaceInTheTree)
{
    Add(scene.node, OrthoCamera());
    Add(scene.node, ShadedQuad(0.2, -1.8, 1.8, -0.2, 0.0, kMagenta));
    const RECT square{46, 46, 51, 51};
    scene.node->InsertChild(0, new CGeoRectangle2DNode(&square, 1, 0xFFFF00, 0));
    CRgn rectangles;
    rectangles.CreateRectRgn(4, 4, 8, 8);
    auto* region = Add(scene.node, new CGeoRegion2DNode(rectangles, 0x0000FF, 0, 0));
    region->SetOffset({2, 0});
    Render(scene.node);
    const RGBA cyan{0, 255, 255, 255};
    ExpectPixels({{48, 48, cyan},
                  {50, 50, cyan},
                  {51, 48, kMagenta},
                  {6, 4, kRed},
                  {9, 7, kRed},
                  {5, 5, kBackground},
                  {10, 5, kBackground}});
}

TEST_F(GlTest, EveryOverlayClassDrawsInWindowPixels)
{
    const POINT point{60, 2}, polyline[] = {{2, 60}, {20, 60}};
    Add(scene.node, new CGeoPoint2DNode(&point, 1, 0xFFFFFF));
    Add(scene.node, new CGeoLine2DNode(polyline, 2, 0xFFFFFF, 0, 1));
    Add(scene.node, new CGeoCrossLine2DNode({32, 32}, 0xFFFFFF, 5, 1));
    // Anchors at (40, 10) and (60, 10) with their handles on the line between.
    const BEZIER_POINT2D curve[] = {{{40, 10, 40, 10, 45, 10, 0}}, {{60, 10, 55, 10, 60, 10, 0}}};
    auto* bezier = Add(scene.node, new CGeoBezier2DNode(curve, 2, 0, 1, 1));
    bezier->SetColor(0x0000FF, 0x0000FF, 0x0000FF);
    Render(scene.node);
    ExpectPixels({{60, 2, kWhite},
                  {10, 60, kWhite},
                  {36, 32, kWhite},
                  {32, 28, kWhite},
                  {34, 34, kBackground},
                  {50, 10, kRed},
                  {50, 12, kBackground}});
}

TEST_F(GlTest, EveryVertexClassDraws)
{
    Add(scene.node, OrthoCamera());
    SetVertices(Add(scene.node, new CGeoVertexNode), {Centre(8, 8)});

    auto* line = Add(scene.node, new CGeoLineNode);
    SetVertices(line, {Centre(2, 20), Centre(14, 20)});
    line->Append(1);
    line->Index(0, 0) = 0;
    line->Index(0, 1) = 1;
    line->color = kRed;

    auto* normals = Add(scene.node, new CGeoNormalNode);
    SetVertices(normals, {Centre(20, 8)});
    normals->Append(1);
    normals->Index(0) = 0;
    normals->Normal(0) = {1.0, 0.0, 0.0};
    normals->size = 0.5;
    normals->color = kGreen;

    auto* vertexNormals = Add(scene.node, new CGeoVertexNormalNode);
    SetVertices(vertexNormals, {Centre(36, 8)});
    vertexNormals->Append(1);
    vertexNormals->Normal(0) = {0.0f, -1.0f, 0.0f};
    vertexNormals->length = 0.5;
    vertexNormals->color = kBlue;

    auto* outline = Polygon({Centre(44, 4), Centre(56, 4), Centre(56, 14), Centre(44, 14)}, kYellow);
    auto* polyWire = Add(scene.node, new CGeoPolyWireNode);
    polyWire->Copy(outline);
    outline->Release();
    Add(scene.node, ReferencedSquare<CGeoPolygonRefNode>(4, 40, 14, 50, kMagenta));
    Add(scene.node, ReferencedSquare<CGeoPolyWireRefNode>(20, 40, 30, 50, kWhite));
    Add(scene.node, ReferencedSquare<CGeoWireFrameNode>(36, 40, 46, 50, kGreen))->closed = 1;

    Render(scene.node);
    ExpectPixels({{8, 8, kWhite},
                  {8, 20, kRed},
                  {24, 8, kGreen},
                  {36, 12, kBlue},
                  {50, 4, kYellow},
                  {50, 9, kBackground},
                  {9, 45, kMagenta},
                  {20, 45, kWhite},
                  {25, 45, kBackground},
                  {36, 45, kGreen},
                  {41, 45, kBackground}});
}

TEST_F(GlTest, WithoutACameraTheBoxFillsTheView)
{
    Add(scene.node, Polygon({{10.0, 10.0, 5.0}, {12.0, 10.0, 5.0}, {12.0, 12.0, 5.0}, {10.0, 12.0, 5.0}}, kRed));
    Render(scene.node);
    EXPECT_EQ(std::tuple(At(kSize / 2, kSize / 2), At(1, 1)), std::tuple(kRed, kBackground));
    // The sphere through the square's corners just fills the view, so its
    // sides reach about two thirds of the way to the picture's edges.
    EXPECT_EQ(At(kSize / 2 + kSize / 4, kSize / 2), kRed);
    EXPECT_EQ(At(kSize - 4, kSize / 2), kBackground);
}

TEST_F(GlTest, SceneLightsReplaceTheLightAtTheEye)
{
    Add(scene.node, OrthoCamera());
    LIGHT_PARAM dim{};
    dim.enabled = 1;
    dim.ambient[0] = dim.ambient[1] = dim.ambient[2] = 0.5;
    auto* lights = Add(scene.node, new CGeoLightNode);
    lights->Append(dim);
    Add(scene.node, ShadedQuad(-1.0, -1.0, 1.0, 1.0, 0.0, kWhite));
    Render(scene.node);
    const RGBA gray = At(kSize / 2, kSize / 2);
    EXPECT_NEAR(gray.r, 128, 1);
    EXPECT_EQ(gray.r, gray.b);
}

TEST_F(GlTest, RenderToPngWritesThePictureAtItsSize)
{
    Add(scene.node, OrthoCamera());
    Add(scene.node, Polygon({{-2.0, -2.0, 0.0}, {2.0, -2.0, 0.0}, {2.0, 2.0, 0.0}}, kBlue));
    const std::string path = ::testing::TempDir() + "brell_gl_picture.png";
    gl::RenderOptions options;
    options.width = 40;
    options.height = 20;
    gl::RenderToPng(scene.node, options, path);

    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0);
    image.format = PNG_FORMAT_RGBA;
    std::vector<RGBA> read(static_cast<size_t>(image.width) * image.height);
    ASSERT_NE(png_image_finish_read(&image, nullptr, read.data(), 0, nullptr), 0);
    std::remove(path.c_str());
    EXPECT_EQ(std::tuple(image.width, image.height, read[19 * 40 + 39], read[0]),
              std::tuple(40u, 20u, kBlue, kBackground));
}

// Each failure names its step, its error code when one applies, and says both in what().
TEST_F(GlTest, RenderErrorsNameTheStepThatFailedAndItsErrorCode)
{
    using Source = gl::RenderError::Source;
    const std::string missing = "/nonexistent/folder/picture.png";
    const struct {
        std::function<void()> fail;
        std::string step;
        Source source;
        uint32_t code;
        std::string message;
    } cases[] = {
        {[] { gl::Renderer(0, 10); }, "picture size", Source::none, 0,
         "picture size: expected a positive width and height, found 0x10"},
        {[] { gl::Renderer(1 << 20, 1); }, "glRenderbufferStorage", Source::gl, 0x0501, "(OpenGL error 0x0501)"},
        {[&] { gl::WritePng(missing, 1, 1, {kRed}); }, missing, Source::none, 0,
         missing + ": expected an existing folder"},
    };
    for (const auto& c : cases) {
        try {
            c.fail();
            ADD_FAILURE() << c.step << " did not fail";
        } catch (const gl::RenderError& error) {
            EXPECT_EQ(error.Step(), c.step);
            EXPECT_EQ(error.CodeSource(), c.source) << c.step;
            EXPECT_EQ(error.Code(), c.code) << c.step;
            EXPECT_THAT(error.what(), testing::HasSubstr(c.message));
        }
    }
}

}  // namespace
}  // namespace brell::test
