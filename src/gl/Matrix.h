#pragma once

#include <brelldata/geo/LightCameraNodes.h>

#include <array>

namespace brell::gl {

// A 4x4 matrix in OpenGL's column-major order.
using Matrix = std::array<float, 16>;

Matrix Identity();
Matrix Multiply(const Matrix& a, const Matrix& b);
// The world-to-eye transform of a camera looking from camera.from at
// camera.to, y up (z when looking along y), rolled by camera.twist degrees.
Matrix ViewMatrix(const CAMERA_PARAM& camera);
// Perspective with camera.fov vertical degrees (45 when about 0) for the
// aspect, or the orthographic box left, right, bottom, top; both between
// nearClip and farClip.
Matrix ProjectionMatrix(const CAMERA_PARAM& camera, double aspect);
// Window pixels (x right, y down from the top-left corner) to clip space.
Matrix WindowMatrix(int width, int height);

}  // namespace brell::gl
