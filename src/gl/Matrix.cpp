#include "gl/Matrix.h"

#include <cmath>

namespace brell::gl {

namespace {

struct Vec {
    double x, y, z;
};

Vec Sub(Vec a, Vec b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Vec Cross(Vec a, Vec b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double Dot(Vec a, Vec b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vec Normalized(Vec v)
{
    const double length = std::sqrt(Dot(v, v));
    return length > 0.0 ? Vec{v.x / length, v.y / length, v.z / length} : Vec{0.0, 0.0, -1.0};
}

constexpr double kDegree = 3.14159265358979323846 / 180.0;

}  // namespace

Matrix Identity()
{
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
}

Matrix Multiply(const Matrix& a, const Matrix& b)
{
    Matrix m{};
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row)
            for (int k = 0; k < 4; ++k) m[column * 4 + row] += a[k * 4 + row] * b[column * 4 + k];
    return m;
}

Matrix ViewMatrix(const CAMERA_PARAM& camera)
{
    const Vec from{camera.from.x, camera.from.y, camera.from.z};
    const Vec f = Normalized(Sub({camera.to.x, camera.to.y, camera.to.z}, from));
    const Vec up = std::fabs(f.y) > 0.999 ? Vec{0.0, 0.0, -1.0} : Vec{0.0, 1.0, 0.0};
    Vec s = Normalized(Cross(f, up));
    Vec u = Cross(s, f);
    const double c = std::cos(camera.twist * kDegree), t = std::sin(camera.twist * kDegree);
    const Vec rolledS{c * s.x + t * u.x, c * s.y + t * u.y, c * s.z + t * u.z};
    u = {c * u.x - t * s.x, c * u.y - t * s.y, c * u.z - t * s.z};
    s = rolledS;
    Matrix m = Identity();
    const Vec rows[3] = {s, u, {-f.x, -f.y, -f.z}};
    for (int row = 0; row < 3; ++row) {
        m[0 * 4 + row] = static_cast<float>(rows[row].x);
        m[1 * 4 + row] = static_cast<float>(rows[row].y);
        m[2 * 4 + row] = static_cast<float>(rows[row].z);
        m[3 * 4 + row] = static_cast<float>(-Dot(rows[row], from));
    }
    return m;
}

Matrix ProjectionMatrix(const CAMERA_PARAM& camera, double aspect)
{
    const double n = camera.nearClip, f = camera.farClip;
    Matrix m{};
    if (camera.perspective != 0) {
        const double fov = std::fabs(camera.fov) < 1e-7 ? 45.0 : camera.fov;
        const double scale = 1.0 / std::tan(fov * kDegree * 0.5);
        m[0] = static_cast<float>(scale / aspect);
        m[5] = static_cast<float>(scale);
        m[10] = static_cast<float>((f + n) / (n - f));
        m[11] = -1.0f;
        m[14] = static_cast<float>(2.0 * f * n / (n - f));
        return m;
    }
    const double l = camera.left, r = camera.right, b = camera.bottom, t = camera.top;
    m[0] = static_cast<float>(2.0 / (r - l));
    m[5] = static_cast<float>(2.0 / (t - b));
    m[10] = static_cast<float>(-2.0 / (f - n));
    m[12] = static_cast<float>(-(r + l) / (r - l));
    m[13] = static_cast<float>(-(t + b) / (t - b));
    m[14] = static_cast<float>(-(f + n) / (f - n));
    m[15] = 1.0f;
    return m;
}

Matrix WindowMatrix(int width, int height)
{
    Matrix m = Identity();
    m[0] = 2.0f / static_cast<float>(width);
    m[5] = -2.0f / static_cast<float>(height);
    m[12] = -1.0f;
    m[13] = 1.0f;
    return m;
}

}  // namespace brell::gl
