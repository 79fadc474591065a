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

TEST_F(GlTest, AnUnchangedSceneUploadsNothingAgainUntilItsCacheIsReleased)
{
    Referenced referenced;
    Render(referenced.scene.node);
    const uint64_t first = renderer->Uploads();
    EXPECT_GT(first, 0u);
    EXPECT_NE(referenced.reference->GetCache(), nullptr);
    EXPECT_EQ(AtWorld(0.5, -0.5), kRed);
    EXPECT_EQ(AtWorld(-0.5, 0.5), kBlue);

    Render(referenced.scene.node);
    EXPECT_EQ(renderer->Uploads(), first);
    EXPECT_EQ(AtWorld(0.5, -0.5), kRed);
    EXPECT_EQ(AtWorld(-0.5, 0.5), kBlue);

    referenced.reference->ReleaseCache();
    Render(referenced.scene.node);
    EXPECT_EQ(renderer->Uploads(), 2 * first);
    EXPECT_EQ(AtWorld(0.5, -0.5), kRed);
}

TEST_F(GlTest, NodesOutsideReferencesUploadEveryFrame)
{
    Scene scene;
    Add(scene.node, Polygon({{-1.0, -1.0, 0.0}, {1.0, -1.0, 0.0}, {1.0, 1.0, 0.0}}, kRed));
    Render(scene.node);
    const uint64_t first = renderer->Uploads();
    Render(scene.node);
    EXPECT_EQ(renderer->Uploads(), 2 * first);
}

TEST_F(GlTest, EachCacheOutlivesItsRendererAndGoesWithItsNodeOnce)
{
    const int before = GlCacheCount();
    {
        Referenced referenced;
        Add(referenced.scene.node, new CGeoRefNode)->SetRefNode(referenced.subtree.node);
        Render(referenced.scene.node);
        EXPECT_EQ(GlCacheCount(), before + 2);
        renderer.reset();
        EXPECT_EQ(GlCacheCount(), before + 2);

        // Another renderer cannot use the caches of the first and makes its own.
        renderer = std::make_unique<CGlRenderer>(kSize, kSize);
        Render(referenced.scene.node);
        EXPECT_GT(renderer->Uploads(), 0u);
        EXPECT_EQ(AtWorld(0.5, -0.5), kRed);
        EXPECT_EQ(GlCacheCount(), before + 2);
    }
    EXPECT_EQ(GlCacheCount(), before);
}

}  // namespace
}  // namespace brell::test
