// How a tree without a camera is framed, and trees with nothing to draw.

#include "gl/GlScenes.h"

#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace brell::test {
namespace {

// Points all in one place have a box of no size, near the origin or far out.
TEST_F(GlTest, APointAloneIsSeenWithoutACameraWhereverItIs)
{
    for (const VERTEX& place : {VERTEX{1.0, 2.0, 3.0}, VERTEX{3e7, -2e7, 1e7}}) {
        Scene placed;
        Add(placed.node, Points({place}, 3.0, kRed));
        Render(placed.node);
        EXPECT_EQ(At(kSize / 2, kSize / 2), kRed) << "a point at x " << place.x;
    }
}

TEST_F(GlTest, TheLastOfMillionsOfPointsDrawsToo)
{
    // More points than the renderer uploads at a time: all but the last
    // frame the box from either side, the last alone marks its centre.
    const int count = 1 << 20 | 1;
    auto* points = Points({}, 3.0, kRed);
    points->AppendVertex(count);
    points->Append(count);
    for (int i = 0; i < count; ++i) {
        points->GetVertex(i) = {i + 1 == count ? 0.0 : i % 2 == 0 ? -1.0 : 1.0, 0.0, 0.0};
        points->Index(i) = i;
    }
    Add(scene.node, points);
    Render(scene.node);
    EXPECT_EQ(At(kSize / 2, kSize / 2), kRed);
}

TEST_F(GlTest, TreesWithNothingToDrawAreRefusedWithTheReason)
{
    Scene empty, hidden, scan;
    Add(hidden.node, Points({{0.0, 0.0, 0.0}}, 3.0, kRed))->ShowEnable(0);
    auto* model = Add(Add(scan.node, new CElementNode), new CModelNode);
    model->AppendVertex(1);
    const struct {
        CBaseNode* root;
        const char* reason;
    } cases[] = {
        {nullptr, "nothing to draw: the tree is empty"},
        {empty.node, "nothing to draw: the tree is empty"},
        {hidden.node, "nothing to draw: its geometry is empty or hidden"},
        {scan.node, "nothing to draw: the tree holds scan data but no geometry; calculate its geometry first"},
    };
    for (const auto& c : cases) {
        try {
            gl::RenderScene(*renderer, c.root, {});
            ADD_FAILURE() << c.reason << ": drawn";
        } catch (const gl::RenderError& error) {
            EXPECT_EQ(error.Step(), "drawing the scene");
            EXPECT_THAT(error.Reason(), testing::StartsWith(c.reason));
        }
    }
}

TEST_F(GlTest, RenderToPngWritesNoPictureOfNothing)
{
    const std::string path = ::testing::TempDir() + "brell_gl_nothing.png";
    std::remove(path.c_str());
    EXPECT_THROW(gl::RenderToPng(scene.node, {}, path), gl::RenderError);
    EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace brell::test
