// The renderer's OpenGL 3.3 core context on EGL's surfaceless platform, its
// off-screen framebuffer and its shader program.

#include "gl/RendererImpl.h"
#include "gl/Shaders.h"

#include <EGL/eglext.h>

#include <cstring>
#include <string>

namespace brell::gl {

namespace {

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

void CheckSize(int width, int height)
{
    if (width <= 0 || height <= 0)
        throw RenderError::At("picture size", "expected a positive width and height, found " + std::to_string(width) +
                                                  "x" + std::to_string(height));
}

}  // namespace

Renderer::Impl::Impl(int width, int height) : width(width), height(height)
{
    CheckSize(width, height);
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
        glGenRenderbuffers(1, &depthBuffer_);
        glGenFramebuffers(1, &framebuffer_);
        StoreFramebuffer();
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colorBuffer_);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depthBuffer_);
        const std::string size = std::to_string(width) + "x" + std::to_string(height);
        if (const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER); status != GL_FRAMEBUFFER_COMPLETE)
            throw RenderError::OfGl("glCheckFramebufferStatus", "the framebuffer of " + size + " is incomplete",
                                    status);
        BuildProgram();
    } catch (...) {
        Release();
        throw;
    }
}

Renderer::Impl::Impl(CurrentWindow, int width, int height) : width(width), height(height)
{
    CheckSize(width, height);
    display_ = eglGetCurrentDisplay();
    context_ = eglGetCurrentContext();
    surface_ = eglGetCurrentSurface(EGL_DRAW);
    ownsContext_ = false;
    if (context_ == EGL_NO_CONTEXT)
        throw RenderError::At("eglGetCurrentContext",
                              "no EGL context is current to draw into a window (make the window's context with EGL)");
    try {
        BuildProgram();
    } catch (...) {
        Release();
        throw;
    }
}

void Renderer::Impl::StoreFramebuffer()
{
    glBindRenderbuffer(GL_RENDERBUFFER, colorBuffer_);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
    glBindRenderbuffer(GL_RENDERBUFFER, depthBuffer_);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, width, height);
    if (const GLenum error = glGetError(); error != GL_NO_ERROR)
        throw RenderError::OfGl("glRenderbufferStorage",
                                "no framebuffer of " + std::to_string(width) + "x" + std::to_string(height) + " pixels",
                                error);
}

void Renderer::Impl::Resize(int newWidth, int newHeight)
{
    CheckSize(newWidth, newHeight);
    MakeCurrent();
    const int oldWidth = width, oldHeight = height;
    width = newWidth;
    height = newHeight;
    if (!ownsContext_) return;
    try {
        StoreFramebuffer();
    } catch (...) {
        width = oldWidth;
        height = oldHeight;
        StoreFramebuffer();
        throw;
    }
}

void Renderer::Impl::BuildProgram()
{
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
    if (!ownsContext_) return;
    eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(display_, context_);
}

void Renderer::Impl::MakeCurrent()
{
    if (eglGetCurrentContext() != context_) eglMakeCurrent(display_, surface_, surface_, context_);
}

}  // namespace brell::gl
