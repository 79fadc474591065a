// Uploads of geometry to buffers and textures; a store shared by several
// nodes of a batch is uploaded once.

#include "gl/RendererImpl.h"

#include <algorithm>
#include <vector>

namespace brell::gl {

void PositionsAsFloats(const VERTEX* vertices, size_t count, std::vector<float>& out)
{
    out.resize(3 * count);
    for (size_t i = 0; i < count; ++i) {
        out[3 * i] = static_cast<float>(vertices[i].x);
        out[3 * i + 1] = static_cast<float>(vertices[i].y);
        out[3 * i + 2] = static_cast<float>(vertices[i].z);
    }
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
    // Converted a piece at a time, so that a large store needs no float copy of its own.
    const size_t count = static_cast<size_t>(std::max(store.Number(), 0));
    const GLuint buffer = Upload(batch, GL_ARRAY_BUFFER, nullptr, count * 3 * sizeof(float));
    std::vector<float> piece;
    for (size_t first = 0; first < count; first += kPieceVertices) {
        PositionsAsFloats(store.Buffer() + first, std::min(count - first, kPieceVertices), piece);
        glBufferSubData(GL_ARRAY_BUFFER, static_cast<GLintptr>(first * 3 * sizeof(float)),
                        static_cast<GLsizeiptr>(piece.size() * sizeof(float)), piece.data());
    }
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
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, image.width, image.HeldRows(), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 image.Buffer());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    ++uploads;
    uploadedBytes += static_cast<uint64_t>(image.width) * image.height * sizeof(RGBA);
    batch.shared.emplace(&image, texture);
    return texture;
}

}  // namespace brell::gl
