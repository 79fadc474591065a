// Batches of GPU objects, and the caches that keep a reference node's batch
// from frame to frame.

#include "gl/RendererImpl.h"

namespace brell::gl {

namespace {

int liveCaches = 0;

}  // namespace

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

}  // namespace brell::gl
