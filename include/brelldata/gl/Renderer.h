#pragma once

#include <brelldata/data/Records.h>
#include <brelldata/geo/LightCameraNodes.h>
#include <brelldata/gl/Export.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

class CBaseNode;

namespace brell::gl {

// The reference renderer: draw procedures for the renderer name "GL" that
// draw geometry trees with OpenGL 3.3 core (vertex buffers and shaders) into
// an off-screen framebuffer of an EGL context that needs no window or display
// server.

// The one kind of exception the renderer throws: the step that failed, why,
// and the EGL or OpenGL error code when one applies. what() gives all of it
// in one line:
//   "eglInitialize: cannot start EGL's surfaceless platform (EGL error 0x3001)"
class BRELL_GL_API RenderError : public std::runtime_error {
public:
    // Whose error code Code() is.
    enum class Source { none, egl, gl };

    // A failure without an error code: a step of the renderer's own or a file.
    static RenderError At(std::string step, std::string reason);
    // A failure of an EGL call with eglGetError's code.
    static RenderError OfEgl(std::string call, std::string reason, uint32_t code);
    // A failure of an OpenGL call with glGetError's code or a framebuffer status.
    static RenderError OfGl(std::string call, std::string reason, uint32_t code);

    // The call ("eglCreateContext", "glLinkProgram"), the stage ("picture
    // size", "drawing the scene", "calculating geometry") or the file that
    // failed.
    const std::string& Step() const { return step_; }
    const std::string& Reason() const { return reason_; }
    Source CodeSource() const { return source_; }
    // The EGL or OpenGL error code; 0 when none applies.
    uint32_t Code() const { return code_; }

private:
    RenderError(std::string step, std::string reason, Source source, uint32_t code);

    std::string step_;
    std::string reason_;
    Source source_;
    uint32_t code_;
};

// The renderer name the procedures are registered under.
inline constexpr const char* kRendererName = "GL";

// Names of the geometry procedures. Under each, models become point nodes
// and linear line data line nodes. Meshes become points, a closed wireframe,
// or a shaded reference set ("shade" flat, "smooth", "texture" from the
// first image child, whose texture coordinates run from 0 to 1 with v = 0 at
// the image's first row); all share the scan's vertex and polygon stores and
// carry flat and smooth normals. Geometry made from a model or mesh with
// per-vertex colours (the "colors" attribute of scan files) gets a copy of
// that attribute and is white, so the draw procedures show the colours.
inline constexpr const char* kPointsProcedure = "points";
inline constexpr const char* kWireProcedure = "wire";
inline constexpr const char* kShadeProcedure = "shade";
inline constexpr const char* kSmoothProcedure = "smooth";
inline constexpr const char* kTextureProcedure = "texture";
// All of them, in the order above.
inline constexpr const char* kProcedures[] = {kPointsProcedure, kWireProcedure, kShadeProcedure, kSmoothProcedure,
                                              kTextureProcedure};

// The geometry of scan by the procedure named procedure, one of
// kProcedures, under output: scan's own GeoCalc when it is scan data, else
// that of each scan-data child (the elements of a scene's root). Registers
// the procedures first. GeoCalc itself takes any name and quietly builds
// nothing for an unknown one; this throws RenderError instead, naming it, and
// when nothing was calculated (no scan data, or a null scan or output).
BRELL_GL_API void CalculateGeometry(CBaseNode* scan, const std::string& procedure, CBaseNode* output);
// Registers the "DrawProc" procedures of renderer "GL" for every geometry
// class and the "GeoProc" procedures of every scan class under the names
// above, replacing any registered under the same names; 1.
BRELL_GL_API int RegisterProcedures();
// Removes them again.
BRELL_GL_API void UnregisterProcedures();
// The renderer's caches alive in the process, held by CGeoRefNodes.
BRELL_GL_API int CacheCount();

// An OpenGL context with a framebuffer of its own, or a window's. It is the context that
// DrawTree hands the "GL" procedures: between BeginFrame and ReadPixels it
// holds the frame's state (view, projection, lights). A CGeoRefNode drawn
// through it keeps the GPU buffers of its reference's subtree as first drawn,
// so later frames upload nothing for it; release the node's cache after
// changing that subtree. Caches may outlive the renderer (they then free only
// memory). One thread at a time.
class BRELL_GL_API Renderer {
public:
    // Throws RenderError naming the step that failed when EGL's surfaceless
    // platform or an OpenGL 3.3 core context is not available, or when the
    // size is not positive.
    Renderer(int width, int height);
    // Draws into the default framebuffer of the window whose EGL context is
    // current on this thread (GLFW makes one with GLFW_EGL_CONTEXT_API), of
    // width x height pixels, instead of an off-screen one. RenderError when
    // no EGL context is current or the size is not positive.
    struct CurrentWindow {};
    Renderer(CurrentWindow, int width, int height);
    ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    int Width() const;
    int Height() const;
    // The size of the frames to come, after the window was resized; an
    // off-screen framebuffer gets new buffers. RenderError, and the size
    // stays, when it is not positive or there is no memory for it.
    void Resize(int width, int height);
    // GL_RENDERER and GL_VERSION, for reports.
    std::string Description() const;

    // Starts a frame: clears to background, looks from camera.from at
    // camera.to (y up, z when looking along y, rolled by twist degrees)
    // through a perspective of fov vertical degrees or, with perspective 0,
    // the box left, right, bottom, top, between nearClip and farClip; a light
    // at the eye shines until a CGeoLightNode is drawn.
    void BeginFrame(const CAMERA_PARAM& camera, RGBA background);
    // DrawTree(root, "GL", this), then the 2-D overlays it met; the
    // procedures must be registered. DrawTree's result.
    int Draw(CBaseNode* root);
    // The frame's pixels, rows from the top, r, g, b, a (a window's before
    // its buffers are swapped).
    std::vector<RGBA> ReadPixels();

    // Vertex, index and texture uploads since the renderer was made.
    uint64_t Uploads() const;
    uint64_t UploadedBytes() const;

    // The frame state the procedures work on; internal to the renderer.
    class Impl;
    Impl& Get() { return *impl_; }

private:
    std::shared_ptr<Impl> impl_;
};

}  // namespace brell::gl
