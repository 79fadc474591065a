// Reference nodes keep their subtree's GPU buffers between frames.

#include "gl/GlScenes.h"

namespace brell::test {
namespace {

// A reference node standing for a subtree of a red and a textured quad that
// share nothing with the scene.
struct Referenced {
    Referenced()
    {
        Add(subtree.node, Polygon({{-1.0, -1.0, 0.0}, {1.0, -1.0, 0.0}, {1.0, 1.0, 0.0}}, kRed));
        CGeoPolyShadeRefNode* quad = Add(subtree.node, ShadedQuad(-1.0, -1.0, 1.0, 1.0, -0.5, kWhite));
        quad->texture = 1;
        SetPixels(*quad->textureImage, 1, {kBlue});
        reference->SetRefNode(subtree.node);
        Add(scene.node, OrthoCamera());
        Add(scene.node, reference);
    }

    Scene subtree;
    CGeoRefNode* reference = new CGeoRefNode;
    Scene scene;
};

TEST_F(GlTest, ReferencedSubtreesKeepTheirUploadsUntilReleased)
{
    Referenced referenced;
    Render(referenced.scene.node);
    const uint64_t first = renderer->Uploads();
    EXPECT_GT(first, 0u);
    EXPECT_EQ(std::tuple(AtWorld(0.5, -0.5), AtWorld(-0.5, 0.5)), std::tuple(kRed, kBlue));

    Render(referenced.scene.node);
    EXPECT_EQ(std::tuple(renderer->Uploads(), AtWorld(0.5, -0.5), AtWorld(-0.5, 0.5)), std::tuple(first, kRed, kBlue));

    referenced.reference->ReleaseCache();
    Render(referenced.scene.node);
    EXPECT_EQ(std::tuple(renderer->Uploads(), AtWorld(0.5, -0.5)), std::tuple(2 * first, kRed));
}

TEST_F(GlTest, CachesOutliveTheirRendererAndGoWithTheirNodeOnce)
{
    const int before = gl::CacheCount();
    {
        Referenced twice;
        Add(twice.scene.node, new CGeoRefNode)->SetRefNode(twice.subtree.node);
        Render(twice.scene.node);
        EXPECT_EQ(gl::CacheCount(), before + 2);
        renderer.reset();
        EXPECT_EQ(gl::CacheCount(), before + 2);

        // Another renderer cannot use the caches of the first and makes its own.
        renderer = std::make_unique<gl::Renderer>(kSize, kSize);
        Render(twice.scene.node);
        EXPECT_GT(renderer->Uploads(), 0u);
        EXPECT_EQ(std::tuple(AtWorld(0.5, -0.5), gl::CacheCount()), std::tuple(kRed, before + 2));
    }
    EXPECT_EQ(gl::CacheCount(), before);
}

TEST_F(GlTest, NodesOutsideReferencesUploadEveryFrame)
{
    Add(scene.node, Polygon({{-1.0, -1.0, 0.0}, {1.0, -1.0, 0.0}, {1.0, 1.0, 0.0}}, kRed));
    Render(scene.node);
    const uint64_t once = renderer->Uploads();
    Render(scene.node);
    EXPECT_EQ(renderer->Uploads(), 2 * once);
}

}  // namespace
}  // namespace brell::test
