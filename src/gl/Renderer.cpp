#include "gl/RendererImpl.h"
#include "gl/Shaders.h"

#include <EGL/eglext.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace brell::gl {

namespace {

int liveCaches = 0;

[[noreturn]] void FailEgl(const char* call, const std::string& reason)
{
    throw RenderError::OfEgl(call, reason, static_cast<uint32_t>(eglGetError()));
}

bool HasExtension(const char* list, const char* name)
{
    if (list == nullptr) return false;
    const size_t length = std::strlen(name);
    for (const char* at = std::strstr(list, name); at != nullptr; at = std::strstr(at + length, name))
        if ((at == list || at[-1] == ' ') && (at[length] == ' ' || at[length] == '\0')) return true;
    return false;
}

GLuint CompileShader(GLenum kind, const char* source)
{
    const GLuint shader = glCreateShader(kind);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint ok = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
    if (ok == 0) {
        char log[1024] = "";
        glGetShaderInfoLog(shader, sizeof log, nullptr, log);
        glDeleteShader(shader);
        throw RenderError::At("glCompileShader", std::string("the renderer's shader does not compile: ") + log);
    }
    return shader;
}

}  // namespace

// The surfaceless display, initialised on first use and kept for the
// process: terminating it unloads Mesa's driver, which then loses what its
// compiled shaders allocated.
EGLDisplay SurfacelessDisplay()
{
    static const EGLDisplay display = [] {
        if (!HasExtension(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), "EGL_MESA_platform_surfaceless"))
            throw RenderError::At("eglQueryString", "EGL has no surfaceless platform (EGL_MESA_platform_surfaceless)");
        const EGLDisplay opened = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if (opened == EGL_NO_DISPLAY) FailEgl("eglGetPlatformDisplay", "EGL gives no surfaceless display");
        if (eglInitialize(opened, nullptr, nullptr) == EGL_FALSE)
            FailEgl("eglInitialize", "cannot start EGL's surfaceless platform");
        return opened;
    }();
    return display;
}

void Batch::Free()
{
    glDeleteVertexArrays(static_cast<GLsizei>(arrays.size()), arrays.data());
    glDeleteBuffers(static_cast<GLsizei>(buffers.size()), buffers.data());
    glDeleteTextures(static_cast<GLsizei>(textures.size()), textures.data());
    *this = Batch();
}

GlCache::GlCache(std::weak_ptr<Renderer::Impl> owner) : owner_(std::move(owner))
{
    ++liveCaches;
}

GlCache::~GlCache()
{
    --liveCaches;
}

void GlCache::Discard()
{
    if (std::shared_ptr<Renderer::Impl> owner = owner_.lock()) {
        const EGLDisplay display = eglGetCurrentDisplay();
        const EGLContext context = eglGetCurrentContext();
        const EGLSurface draw = eglGetCurrentSurface(EGL_DRAW), read = eglGetCurrentSurface(EGL_READ);
        owner->MakeCurrent();
        batch.Free();
        if (context != EGL_NO_CONTEXT && context != eglGetCurrentContext())
            eglMakeCurrent(display, draw, read, context);
    }
    delete this;
}

int GlCache::Execute(void* context)
{
    std::shared_ptr<Renderer::Impl> owner = owner_.lock();
    if (context == nullptr || owner.get() != &RendererOf(context)) return 0;
    owner->Execute(batch);
    return 1;
}

int CacheCount()
{
    return liveCaches;
}

Renderer::Impl::Impl(int width, int height) : width(width), height(height)
{
    if (width <= 0 || height <= 0)
        throw RenderError::At("picture size", "expected a positive width and height, found " + std::to_string(width) +
                                                  "x" + std::to_string(height));
    display_ = SurfacelessDisplay();
    const EGLDisplay display = display_;
    if (!HasExtension(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context"))
        throw RenderError::At("eglQueryString",
                              "EGL cannot make a context current without a surface (EGL_KHR_surfaceless_context)");
    if (eglBindAPI(EGL_OPENGL_API) == EGL_FALSE) FailEgl("eglBindAPI", "EGL offers no desktop OpenGL");
    EGLConfig config = EGL_NO_CONFIG_KHR;
    if (!HasExtension(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_no_config_context")) {
        const EGLint wanted[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
        EGLint found = 0;
        if (eglChooseConfig(display, wanted, &config, 1, &found) == EGL_FALSE || found == 0)
            FailEgl("eglChooseConfig", "EGL has no configuration for desktop OpenGL");
    }
    const EGLint attributes[] = {
        EGL_CONTEXT_MAJOR_VERSION,           3,       EGL_CONTEXT_MINOR_VERSION, 3, EGL_CONTEXT_OPENGL_PROFILE_MASK,
        EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
    context_ = eglCreateContext(display, config, EGL_NO_CONTEXT, attributes);
    if (context_ == EGL_NO_CONTEXT) FailEgl("eglCreateContext", "no OpenGL 3.3 core context");
    if (eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context_) == EGL_FALSE) {
        const uint32_t code = static_cast<uint32_t>(eglGetError());
        eglDestroyContext(display, context_);
        throw RenderError::OfEgl("eglMakeCurrent", "cannot make the OpenGL context current", code);
    }
    try {
        glGenRenderbuffers(1, &colorBuffer_);
        glBindRenderbuffer(GL_RENDERBUFFER, colorBuffer_);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
        glGenRenderbuffers(1, &depthBuffer_);
        glBindRenderbuffer(GL_RENDERBUFFER, depthBuffer_);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, width, height);
        glGenFramebuffers(1, &framebuffer_);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colorBuffer_);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depthBuffer_);
        const std::string size = std::to_string(width) + "x" + std::to_string(height);
        if (const GLenum error = glGetError(); error != GL_NO_ERROR)
            throw RenderError::OfGl("glRenderbufferStorage", "no framebuffer of " + size + " pixels", error);
        if (const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER); status != GL_FRAMEBUFFER_COMPLETE)
            throw RenderError::OfGl("glCheckFramebufferStatus", "the framebuffer of " + size + " is incomplete",
                                    status);

        const GLuint vertex = CompileShader(GL_VERTEX_SHADER, kVertexShader);
        const GLuint fragment = CompileShader(GL_FRAGMENT_SHADER, kFragmentShader);
        program_ = glCreateProgram();
        glAttachShader(program_, vertex);
        glAttachShader(program_, fragment);
        glLinkProgram(program_);
        glDeleteShader(vertex);
        glDeleteShader(fragment);
        GLint linked = 0;
        glGetProgramiv(program_, GL_LINK_STATUS, &linked);
        if (linked == 0) {
            char log[1024] = "";
            glGetProgramInfoLog(program_, sizeof log, nullptr, log);
            throw RenderError::At("glLinkProgram", std::string("the renderer's shaders do not link: ") + log);
        }
    } catch (...) {
        Release();
        throw;
    }
    at_ = {glGetUniformLocation(program_, "uModelView"),     glGetUniformLocation(program_, "uProjection"),
           glGetUniformLocation(program_, "uColor"),         glGetUniformLocation(program_, "uPointSize"),
           glGetUniformLocation(program_, "uLit"),           glGetUniformLocation(program_, "uTextured"),
           glGetUniformLocation(program_, "uTexture"),       glGetUniformLocation(program_, "uLightCount"),
           glGetUniformLocation(program_, "uLightPosition"), glGetUniformLocation(program_, "uLightAmbient"),
           glGetUniformLocation(program_, "uLightDiffuse")};
    // Attributes a geometry leaves out keep these values.
    glVertexAttrib3f(1, 0.0f, 0.0f, 1.0f);
    glVertexAttrib2f(2, 0.0f, 0.0f);
    glVertexAttrib4f(3, 1.0f, 1.0f, 1.0f, 1.0f);
}

Renderer::Impl::~Impl()
{
    MakeCurrent();
    Release();
}

void Renderer::Impl::Release()
{
    frame_.Free();
    glDeleteProgram(program_);
    glDeleteFramebuffers(1, &framebuffer_);
    glDeleteRenderbuffers(1, &colorBuffer_);
    glDeleteRenderbuffers(1, &depthBuffer_);
    eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(display_, context_);
}

void Renderer::Impl::MakeCurrent()
{
    if (eglGetCurrentContext() != context_) eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_);
}

void Renderer::Impl::BeginFrame(const CAMERA_PARAM& camera, RGBA background)
{
    MakeCurrent();
    FreeFrame();
    overlays_.clear();
    recording = nullptr;
    drawnItems = 0;
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    glViewport(0, 0, width, height);
    glClearColor(background.r / 255.0f, background.g / 255.0f, background.b / 255.0f, background.a / 255.0f);
    glClearDepth(1.0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glEnable(GL_PROGRAM_POINT_SIZE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    // Lines drawn over faces at the same depth stay in front.
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(1.0f, 1.0f);
    glUseProgram(program_);
    glUniform1i(at_.texture, 0);
    SetCamera(camera);
    LIGHT_PARAM eye{};
    eye.enabled = 1;
    eye.ambient[0] = eye.ambient[1] = eye.ambient[2] = 0.2;
    eye.diffuse[0] = eye.diffuse[1] = eye.diffuse[2] = 0.8;
    eye.position[0] = camera.from.x - camera.to.x;
    eye.position[1] = camera.from.y - camera.to.y;
    eye.position[2] = camera.from.z - camera.to.z;
    SetLights({eye});
}

void Renderer::Impl::FreeFrame()
{
    frame_.Free();
}

void Renderer::Impl::SetCamera(const CAMERA_PARAM& camera)
{
    view_ = ViewMatrix(camera);
    projection_ = ProjectionMatrix(camera, static_cast<double>(width) / height);
}

// Lights are fixed in eye space when they are set, as the view is then.
void Renderer::Impl::SetLights(const std::vector<LIGHT_PARAM>& lights)
{
    constexpr int kMaxLights = 8;
    float positions[4 * kMaxLights], ambient[3 * kMaxLights], diffuse[3 * kMaxLights];
    int count = 0;
    for (const LIGHT_PARAM& light : lights) {
        if (light.enabled == 0 || count == kMaxLights) continue;
        const float w = light.type == 0 ? 0.0f : 1.0f;
        const double p[3] = {light.position[0], light.position[1], light.position[2]};
        for (int row = 0; row < 3; ++row) {
            positions[4 * count + row] = static_cast<float>(view_[row] * p[0] + view_[4 + row] * p[1] +
                                                            view_[8 + row] * p[2] + view_[12 + row] * w);
            ambient[3 * count + row] = static_cast<float>(light.ambient[row]);
            diffuse[3 * count + row] = static_cast<float>(light.diffuse[row]);
        }
        positions[4 * count + 3] = w;
        ++count;
    }
    glUniform1i(at_.lightCount, count);
    if (count == 0) return;
    glUniform4fv(at_.lightPosition, count, positions);
    glUniform3fv(at_.lightAmbient, count, ambient);
    glUniform3fv(at_.lightDiffuse, count, diffuse);
}

void Renderer::Impl::Uniform(GLint location, const Matrix& matrix)
{
    glUniformMatrix4fv(location, 1, GL_FALSE, matrix.data());
}

GLuint Renderer::Impl::Upload(Batch& batch, GLenum target, const void* data, size_t bytes)
{
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    batch.buffers.push_back(buffer);
    glBindBuffer(target, buffer);
    glBufferData(target, static_cast<GLsizeiptr>(bytes), data, GL_STATIC_DRAW);
    ++uploads;
    uploadedBytes += bytes;
    return buffer;
}

GLuint Renderer::Impl::SharedPositions(Batch& batch, CArrayDataStore<VERTEX>& store)
{
    auto found = batch.shared.find(&store);
    if (found != batch.shared.end()) return found->second;
    std::vector<float> positions(3 * static_cast<size_t>(store.Number()));
    const VERTEX* vertices = store.Buffer();
    for (size_t i = 0; i < positions.size() / 3; ++i) {
        positions[3 * i] = static_cast<float>(vertices[i].x);
        positions[3 * i + 1] = static_cast<float>(vertices[i].y);
        positions[3 * i + 2] = static_cast<float>(vertices[i].z);
    }
    const GLuint buffer = Upload(batch, GL_ARRAY_BUFFER, positions.data(), positions.size() * sizeof(float));
    batch.shared.emplace(&store, buffer);
    return buffer;
}

GLuint Renderer::Impl::SharedNormals(Batch& batch, CArrayDataStore<CVector_3<float>>& store)
{
    auto found = batch.shared.find(&store);
    if (found != batch.shared.end()) return found->second;
    const GLuint buffer = Upload(batch, GL_ARRAY_BUFFER, store.Buffer(), store.Number() * sizeof(CVector_3<float>));
    batch.shared.emplace(&store, buffer);
    return buffer;
}

GLuint Renderer::Impl::SharedColors(Batch& batch, const RGBA* colors, int count)
{
    auto found = batch.shared.find(colors);
    if (found != batch.shared.end()) return found->second;
    const GLuint buffer = Upload(batch, GL_ARRAY_BUFFER, colors, static_cast<size_t>(count) * sizeof(RGBA));
    batch.shared.emplace(colors, buffer);
    return buffer;
}

// Row 0 of the image is texture coordinate v = 0.
GLuint Renderer::Impl::SharedTexture(Batch& batch, CMatrixDataStore<RGBA>& image)
{
    auto found = batch.shared.find(&image);
    if (found != batch.shared.end()) return found->second;
    GLuint texture = 0;
    glGenTextures(1, &texture);
    batch.textures.push_back(texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, image.width, image.HeldRows(), 0, GL_RGBA, GL_UNSIGNED_BYTE, image.Buffer());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    ++uploads;
    uploadedBytes += static_cast<uint64_t>(image.width) * image.height * sizeof(RGBA);
    batch.shared.emplace(&image, texture);
    return texture;
}

int Renderer::Impl::Add(Geometry& geometry, const Style& style)
{
    Batch& batch = recording != nullptr ? *recording : frame_;
    Item item;
    item.style = style;
    item.mode = geometry.mode;
    item.indexed = !geometry.elements.empty();
    const size_t count = item.indexed                      ? geometry.elements.size()
                         : geometry.vertexStore != nullptr ? static_cast<size_t>(geometry.vertexStore->Number())
                                                           : geometry.positions.size() / 3;
    if (count == 0) return 1;
    item.count = static_cast<GLsizei>(count);
    glGenVertexArrays(1, &item.vertexArray);
    batch.arrays.push_back(item.vertexArray);
    glBindVertexArray(item.vertexArray);
    const auto attribute = [](GLuint location, GLint size, GLuint buffer, GLenum type = GL_FLOAT) {
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        // Colour bytes reach the shader as 0 to 1.
        glVertexAttribPointer(location, size, type, type == GL_FLOAT ? GL_FALSE : GL_TRUE, 0, nullptr);
        glEnableVertexAttribArray(location);
    };
    const auto floats = [&](const std::vector<float>& values) {
        return Upload(batch, GL_ARRAY_BUFFER, values.data(), values.size() * sizeof(float));
    };
    attribute(
        0, 3,
        geometry.vertexStore != nullptr ? SharedPositions(batch, *geometry.vertexStore) : floats(geometry.positions));
    if (geometry.normalStore != nullptr || !geometry.normals.empty())
        attribute(
            1, 3,
            geometry.normalStore != nullptr ? SharedNormals(batch, *geometry.normalStore) : floats(geometry.normals));
    if (!geometry.texCoords.empty()) attribute(2, 2, floats(geometry.texCoords));
    if (geometry.vertexColors != nullptr && geometry.vertexStore != nullptr)
        attribute(3, 4, SharedColors(batch, geometry.vertexColors, geometry.vertexStore->Number()), GL_UNSIGNED_BYTE);
    else if (!geometry.colors.empty())
        attribute(3, 4, Upload(batch, GL_ARRAY_BUFFER, geometry.colors.data(), geometry.colors.size() * sizeof(RGBA)),
                  GL_UNSIGNED_BYTE);
    if (item.indexed)
        Upload(batch, GL_ELEMENT_ARRAY_BUFFER, geometry.elements.data(), geometry.elements.size() * sizeof(GLuint));
    if (geometry.textureImage != nullptr) item.texture = SharedTexture(batch, *geometry.textureImage);
    glBindVertexArray(0);
    if (glGetError() == GL_OUT_OF_MEMORY) return 0;
    batch.items.push_back(item);
    Execute(item);
    return 1;
}

int Renderer::Impl::AddState(Item item)
{
    if (recording != nullptr) recording->items.push_back(item);
    Execute(item);
    return 1;
}

void Renderer::Impl::Execute(const Batch& batch)
{
    for (const Item& item : batch.items) Execute(item);
}

void Renderer::Impl::DrawOverlays()
{
    glDisable(GL_DEPTH_TEST);
    for (const Item& item : overlays_) Execute(item, true);
    glEnable(GL_DEPTH_TEST);
    overlays_.clear();
}

void Renderer::Impl::Execute(const Item& item, bool overlay)
{
    if (item.style.window && !overlay) {
        overlays_.push_back(item);
        return;
    }
    if (item.kind == Item::kCamera) {
        SetCamera(item.camera);
        return;
    }
    if (item.kind == Item::kLights) {
        SetLights(item.lights);
        return;
    }
    const Style& style = item.style;
    Uniform(at_.modelView, style.window ? Identity() : view_);
    Uniform(at_.projection, style.window ? WindowMatrix(width, height) : projection_);
    glUniform4fv(at_.color, 1, style.color);
    glUniform1f(at_.pointSize, style.size);
    glUniform1i(at_.lit, style.lit ? 1 : 0);
    glUniform1i(at_.textured, item.texture != 0 ? 1 : 0);
    if (item.mode == GL_LINES) glLineWidth(std::clamp(style.size, 1.0f, 64.0f));
    if (item.texture != 0) glBindTexture(GL_TEXTURE_2D, item.texture);
    ++drawnItems;
    glBindVertexArray(item.vertexArray);
    if (item.indexed)
        glDrawElements(item.mode, item.count, GL_UNSIGNED_INT, nullptr);
    else
        glDrawArrays(item.mode, 0, item.count);
    glBindVertexArray(0);
}

Renderer::Renderer(int width, int height) : impl_(std::make_shared<Impl>(width, height)) {}

Renderer::~Renderer() = default;

int Renderer::Width() const
{
    return impl_->width;
}

int Renderer::Height() const
{
    return impl_->height;
}

std::string Renderer::Description() const
{
    impl_->MakeCurrent();
    return std::string(reinterpret_cast<const char*>(glGetString(GL_RENDERER))) + ", OpenGL " +
           reinterpret_cast<const char*>(glGetString(GL_VERSION));
}

void Renderer::BeginFrame(const CAMERA_PARAM& camera, RGBA background)
{
    impl_->BeginFrame(camera, background);
}

int Renderer::Draw(CBaseNode* root)
{
    impl_->MakeCurrent();
    const int result = DrawTree(root, kRendererName, this);
    impl_->DrawOverlays();
    impl_->FreeFrame();
    return result;
}

std::vector<RGBA> Renderer::ReadPixels()
{
    impl_->MakeCurrent();
    const size_t rowLength = static_cast<size_t>(impl_->width);
    std::vector<RGBA> pixels(rowLength * impl_->height);
    glBindFramebuffer(GL_FRAMEBUFFER, impl_->framebuffer_);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, impl_->width, impl_->height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    // GL's rows run from the bottom.
    for (size_t top = 0, bottom = pixels.size() / rowLength - 1; top < bottom; ++top, --bottom)
        std::swap_ranges(pixels.begin() + top * rowLength, pixels.begin() + (top + 1) * rowLength,
                         pixels.begin() + bottom * rowLength);
    return pixels;
}

uint64_t Renderer::Uploads() const
{
    return impl_->uploads;
}

uint64_t Renderer::UploadedBytes() const
{
    return impl_->uploadedBytes;
}

}  // namespace brell::gl
