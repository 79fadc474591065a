#pragma once

#define GL_GLEXT_PROTOTYPES 1
#include <EGL/egl.h>
#include <GL/glcorearb.h>

#include "gl/Matrix.h"

#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/MatrixDataStore.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/gl/Renderer.h>
#include <brelldata/procedures/DApi.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <unordered_map>
#include <vector>

namespace brell::gl {

// How one piece of geometry looks.
struct Style {
    float color[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    float size = 1.0f;  // point size or line width in pixels
    bool lit = false;
    bool window = false;  // positions are window pixels, drawn at the end over the 3-D picture
};

// One draw's geometry on the CPU side. Positions come from a shared vertex
// store (uploaded once per batch, indexed by elements or drawn whole) or
// from positions; normals and colours likewise per vertex or per position.
struct Geometry {
    GLenum mode = GL_POINTS;
    CArrayDataStore<VERTEX>* vertexStore = nullptr;
    CArrayDataStore<CVector_3<float>>* normalStore = nullptr;
    const RGBA* vertexColors = nullptr;  // one per vertex of the store
    CMatrixDataStore<RGBA>* textureImage = nullptr;
    std::vector<float> positions;
    std::vector<float> normals;
    std::vector<RGBA> colors;
    std::vector<float> texCoords;
    std::vector<GLuint> elements;
};

// Uploaded geometry, or a change of the frame's lights or camera.
struct Item {
    enum Kind { kGeometry, kLights, kCamera };
    Kind kind = kGeometry;
    Style style;
    GLenum mode = GL_POINTS;
    GLuint vertexArray = 0;
    GLuint texture = 0;
    GLsizei count = 0;
    bool indexed = false;
    std::vector<LIGHT_PARAM> lights;
    CAMERA_PARAM camera{};
};

// Items in drawing order and the GL objects they use.
struct Batch {
    std::vector<Item> items;
    std::unordered_map<const void*, GLuint> shared;  // store -> its buffer or texture
    std::vector<GLuint> buffers;
    std::vector<GLuint> textures;
    std::vector<GLuint> arrays;
    // Deletes the GL objects; the owner's context must be current.
    void Free();
};

using CurrentWindow = Renderer::CurrentWindow;

// Vertices converted and uploaded at a time from a large store: bounds the
// staging memory, and the GPU-side memory of geometry drawn straight away.
constexpr size_t kPieceVertices = size_t{1} << 17;

// The first count vertices as x, y, z floats in out.
void PositionsAsFloats(const VERTEX* vertices, size_t count, std::vector<float>& out);

class Renderer::Impl : public std::enable_shared_from_this<Renderer::Impl> {
public:
    Impl(int width, int height);
    Impl(CurrentWindow, int width, int height);
    ~Impl();

    void MakeCurrent();
    void Resize(int width, int height);
    void BeginFrame(const CAMERA_PARAM& camera, RGBA background);
    // Uploads geometry into the cache being recorded (else the frame's
    // batch) and draws it; 0 when GL ran out of memory.
    int Add(Geometry& geometry, const Style& style);
    // Lights and camera changes, recorded like geometry.
    int AddState(Item item);
    // Draws the items of a cache made by this renderer.
    void Execute(const Batch& batch);
    // Draws the window items held back so far over everything else.
    void DrawOverlays();
    void FreeFrame();

    int width;
    int height;
    Batch* recording = nullptr;
    uint64_t uploads = 0;
    uint64_t uploadedBytes = 0;
    // Geometry drawn since BeginFrame, cached or not.
    uint64_t drawnItems = 0;

private:
    // Frees the GL objects and the context, which must be current.
    void Release();
    // Gives the off-screen framebuffer's buffers the renderer's size.
    void StoreFramebuffer();
    void BuildProgram();
    // Window items wait for DrawOverlays unless overlay is set.
    void Execute(const Item& item, bool overlay = false);
    void SetCamera(const CAMERA_PARAM& camera);
    void SetLights(const std::vector<LIGHT_PARAM>& lights);
    // Draws a whole vertex store's points, coloured or not, a piece at a time
    // through buffers of one piece, freed on return.
    int AddInPieces(const Geometry& geometry, const Style& style);
    GLuint Upload(Batch& batch, GLenum target, const void* data, size_t bytes);
    GLuint SharedPositions(Batch& batch, CArrayDataStore<VERTEX>& store);
    GLuint SharedNormals(Batch& batch, CArrayDataStore<CVector_3<float>>& store);
    GLuint SharedColors(Batch& batch, const RGBA* colors, int count);
    GLuint SharedTexture(Batch& batch, CMatrixDataStore<RGBA>& image);
    void Uniform(GLint location, const Matrix& matrix);

    EGLDisplay display_ = EGL_NO_DISPLAY;
    EGLContext context_ = EGL_NO_CONTEXT;
    // The window's, when drawing into one; else none.
    EGLSurface surface_ = EGL_NO_SURFACE;
    bool ownsContext_ = true;
    GLuint framebuffer_ = 0;
    GLuint colorBuffer_ = 0;
    GLuint depthBuffer_ = 0;
    GLuint program_ = 0;
    Batch frame_;
    std::vector<Item> overlays_;
    Matrix view_{};
    Matrix projection_{};
    struct Locations {
        GLint modelView, projection, color, pointSize, lit, textured, texture, lightCount, lightPosition, lightAmbient,
            lightDiffuse;
    } at_{};

    friend class Renderer;
};

struct Procedure {
    const char* type;
    DAPI_PROC draw;
};
// The draw procedures of the 2-D overlay classes.
std::vector<Procedure> OverlayProcedures();
// The "GeoProc" procedures by name.
std::vector<std::pair<std::string, DAPI_PROC>> GeometryProcedures();
// "points, wire, shade, smooth or texture", for messages.
std::string ProcedureList();

// The renderer's cache of a CGeoRefNode: the reference's subtree as uploaded
// on its first frame.
class GlCache final : public CGeoCache {
public:
    explicit GlCache(std::weak_ptr<Renderer::Impl> owner);
    // Frees the GL objects while the renderer lives, then the cache.
    void Discard() override;
    // Draws the cache when context (a Renderer*) made it; else 0.
    int Execute(void* context) override;

    Batch batch;

private:
    ~GlCache();
    std::weak_ptr<Renderer::Impl> owner_;
};

// The renderer behind a procedure's context.
inline Renderer::Impl& RendererOf(void* context)
{
    return static_cast<Renderer*>(context)->Get();
}

}  // namespace brell::gl
