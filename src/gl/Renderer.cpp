// The public renderer: a context, frames drawn through the draw procedures,
// and the picture read back.

#include "gl/RendererImpl.h"

#include <algorithm>
#include <string>
#include <vector>

namespace brell::gl {

Renderer::Renderer(int width, int height) : impl_(std::make_shared<Impl>(width, height)) {}

Renderer::Renderer(CurrentWindow window, int width, int height) : impl_(std::make_shared<Impl>(window, width, height))
{
}

Renderer::~Renderer() = default;

void Renderer::Resize(int width, int height)
{
    impl_->Resize(width, height);
}

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
