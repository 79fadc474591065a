#pragma once

#include <brelldata/data/Records.h>
#include <brelldata/geo/LightCameraNodes.h>
#include <brelldata/gl/Export.h>
#include <brelldata/gl/Renderer.h>

#include <string>
#include <vector>

class CBaseNode;

namespace brell::gl {

// How a tree becomes a picture.
struct RenderOptions {
    int width = 800;
    int height = 600;
    // Dark slate grey: black and dark geometry still show against it.
    RGBA background{34, 38, 46, 255};
    // The viewing direction and full vertical field of view in degrees used
    // when the scene holds no CGeoCameraNode.
    CVector_3<double> direction{0.0, 0.0, -1.0};
    double fov = 45.0;
};

// The camera of the first shown CGeoCameraNode of the tree (references of
// CGeoRefNodes included); without one, a perspective view along
// options.direction from EvalViewPoint, so that the box of the tree and of
// the references under it fills the field of view. A box of no size is
// widened in proportion to where it lies.
BRELL_GL_API CAMERA_PARAM SceneCamera(CBaseNode* root, const RenderOptions& options);
// SceneCamera's view of a box (minimum x, y, z, then maximum) without a tree.
BRELL_GL_API CAMERA_PARAM BoxCamera(const double (&box)[6], const RenderOptions& options);
// BeginFrame with SceneCamera and the background, then Draw; Draw's result.
// RenderError when the tree draws nothing (empty, hidden, or scan data whose
// geometry was not calculated).
BRELL_GL_API int RenderScene(Renderer& renderer, CBaseNode* root, const RenderOptions& options);
// Registers the procedures, renders root with a new renderer of the options'
// size and writes the picture to path as an 8-bit RGBA PNG. RenderError, and
// no file, when it cannot or when the tree draws nothing.
BRELL_GL_API void RenderToPng(CBaseNode* root, const RenderOptions& options, const std::string& path);
// Writes width x height pixels, rows from the top, saved as the io library
// saves files (brelldata/io/Files.h); throws RenderError naming the file when
// it cannot be written.
BRELL_GL_API void WritePng(const std::string& path, int width, int height, const std::vector<RGBA>& pixels);

}  // namespace brell::gl
