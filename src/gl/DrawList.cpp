// A frame: its camera and lights, the items the draw procedures add, and the
// window overlays drawn after the 3-D picture.

#include "gl/RendererImpl.h"

#include <algorithm>
#include <vector>

namespace brell::gl {

namespace {

void Attribute(GLuint location, GLint size, GLuint buffer, GLenum type = GL_FLOAT)
{
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    // Colour bytes reach the shader as 0 to 1.
    glVertexAttribPointer(location, size, type, type == GL_FLOAT ? GL_FALSE : GL_TRUE, 0, nullptr);
    glEnableVertexAttribArray(location);
}

}  // namespace

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
    // Nothing keeps an uncached frame's store geometry after its draw, so a
    // large one need not be on the GPU whole.
    if (recording == nullptr && count > kPieceVertices && geometry.mode == GL_POINTS && !item.indexed &&
        geometry.vertexStore != nullptr && geometry.normalStore == nullptr && geometry.normals.empty() && geometry.texCoords.empty() &&
        geometry.colors.empty() && !style.window)
        return AddInPieces(geometry, style);
    item.count = static_cast<GLsizei>(count);
    glGenVertexArrays(1, &item.vertexArray);
    batch.arrays.push_back(item.vertexArray);
    glBindVertexArray(item.vertexArray);
    const auto floats = [&](const std::vector<float>& values) {
        return Upload(batch, GL_ARRAY_BUFFER, values.data(), values.size() * sizeof(float));
    };
    Attribute(
        0, 3,
        geometry.vertexStore != nullptr ? SharedPositions(batch, *geometry.vertexStore) : floats(geometry.positions));
    if (geometry.normalStore != nullptr || !geometry.normals.empty())
        Attribute(
            1, 3,
            geometry.normalStore != nullptr ? SharedNormals(batch, *geometry.normalStore) : floats(geometry.normals));
    if (!geometry.texCoords.empty()) Attribute(2, 2, floats(geometry.texCoords));
    if (geometry.vertexColors != nullptr && geometry.vertexStore != nullptr)
        Attribute(3, 4, SharedColors(batch, geometry.vertexColors, geometry.vertexStore->Number()), GL_UNSIGNED_BYTE);
    else if (!geometry.colors.empty())
        Attribute(3, 4, Upload(batch, GL_ARRAY_BUFFER, geometry.colors.data(), geometry.colors.size() * sizeof(RGBA)),
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

int Renderer::Impl::AddInPieces(const Geometry& geometry, const Style& style)
{
    const size_t count = static_cast<size_t>(geometry.vertexStore->Number());
    const size_t piece = kPieceVertices;
    Batch buffers;
    Item item;
    item.style = style;
    item.mode = GL_POINTS;
    glGenVertexArrays(1, &item.vertexArray);
    buffers.arrays.push_back(item.vertexArray);
    glBindVertexArray(item.vertexArray);
    // Sized for one piece and filled for each; uploadedBytes counts the fills.
    const auto allocate = [&](GLuint location, GLint size, size_t bytes, GLenum type = GL_FLOAT) {
        GLuint buffer = 0;
        glGenBuffers(1, &buffer);
        buffers.buffers.push_back(buffer);
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(bytes), nullptr, GL_STREAM_DRAW);
        Attribute(location, size, buffer, type);
        ++uploads;
        return buffer;
    };
    const GLuint positions = allocate(0, 3, piece * 3 * sizeof(float));
    const GLuint colors =
        geometry.vertexColors != nullptr ? allocate(3, 4, piece * sizeof(RGBA), GL_UNSIGNED_BYTE) : 0;
    glBindVertexArray(0);
    const auto fill = [&](GLuint buffer, const void* data, size_t bytes) {
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        glBufferSubData(GL_ARRAY_BUFFER, 0, static_cast<GLsizeiptr>(bytes), data);
        uploadedBytes += bytes;
    };
    std::vector<float> floats;
    int drawn = 1;
    for (size_t first = 0; first < count; first += piece) {
        const size_t n = std::min(count - first, piece);
        PositionsAsFloats(geometry.vertexStore->Buffer() + first, n, floats);
        fill(positions, floats.data(), floats.size() * sizeof(float));
        if (colors != 0) fill(colors, geometry.vertexColors + first, n * sizeof(RGBA));
        if (glGetError() == GL_OUT_OF_MEMORY) {
            drawn = 0;
            break;
        }
        item.count = static_cast<GLsizei>(n);
        // One item however many pieces it takes.
        if (first == 0) {
            Execute(item);
        } else {
            glBindVertexArray(item.vertexArray);
            glDrawArrays(GL_POINTS, 0, item.count);
            glBindVertexArray(0);
        }
        // Lets the driver finish with this piece's data before the next one
        // replaces it, rather than keep every piece's copy until the frame ends.
        glFinish();
    }
    buffers.Free();
    return drawn;
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

}  // namespace brell::gl
