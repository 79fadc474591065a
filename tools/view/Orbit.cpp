#include "Orbit.h"

#include <algorithm>
#include <cmath>

namespace brell::view {

namespace {

constexpr double kDegree = 3.14159265358979323846 / 180.0;

CVector_3<double> Cross(const CVector_3<double>& a, const CVector_3<double>& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

CVector_3<double> Unit(const CVector_3<double>& v)
{
    const double length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    return length > 0.0 ? CVector_3<double>{v.x / length, v.y / length, v.z / length} : CVector_3<double>{1, 0, 0};
}

// From the point looked at towards the eye.
CVector_3<double> Backwards(double yaw, double pitch)
{
    return {std::cos(pitch * kDegree) * std::sin(yaw * kDegree), std::sin(pitch * kDegree),
            std::cos(pitch * kDegree) * std::cos(yaw * kDegree)};
}

}  // namespace

void Orbit::Fit(const CAMERA_PARAM& camera, const double box[6])
{
    target_ = camera.to;
    const CVector_3<double> back{camera.from.x - camera.to.x, camera.from.y - camera.to.y, camera.from.z - camera.to.z};
    distance_ = std::sqrt(back.x * back.x + back.y * back.y + back.z * back.z);
    if (!(distance_ > 0.0)) distance_ = 1.0;
    const CVector_3<double> unit = Unit(back);
    yaw_ = std::atan2(unit.x, unit.z) / kDegree;
    pitch_ = std::asin(std::clamp(unit.y, -1.0, 1.0)) / kDegree;
    fov_ = camera.fov;
    radius_ = 0.5 * std::sqrt((box[3] - box[0]) * (box[3] - box[0]) + (box[4] - box[1]) * (box[4] - box[1]) +
                              (box[5] - box[2]) * (box[5] - box[2]));
    if (!(radius_ > 0.0)) radius_ = distance_;
}

void Orbit::SetView(int view)
{
    constexpr double kViews[6][2] = {{0, 0}, {180, 0}, {-90, 0}, {90, 0}, {0, 90}, {0, -90}};
    yaw_ = kViews[std::clamp(view, 0, 5)][0];
    pitch_ = kViews[std::clamp(view, 0, 5)][1];
}

void Orbit::Turn(double dx, double dy)
{
    yaw_ = std::remainder(yaw_ - 0.4 * dx, 360.0);
    // Short of the poles, where the view's up direction flips.
    pitch_ = std::clamp(pitch_ + 0.4 * dy, -89.5, 89.5);
}

void Orbit::Pan(double dx, double dy, int height)
{
    CVector_3<double> right, up;
    Axes(right, up);
    const double scale = 2.0 * distance_ * std::tan(0.5 * fov_ * kDegree) / std::max(height, 1);
    target_ = {target_.x + (up.x * dy - right.x * dx) * scale, target_.y + (up.y * dy - right.y * dx) * scale,
               target_.z + (up.z * dy - right.z * dx) * scale};
}

void Orbit::Zoom(double steps, double x, double y, int width, int height)
{
    const double factor = std::pow(0.85, steps);
    CVector_3<double> right, up;
    Axes(right, up);
    const double scale = 2.0 * distance_ * std::tan(0.5 * fov_ * kDegree) / std::max(height, 1);
    const double across = (x - 0.5 * width) * scale, upwards = (0.5 * height - y) * scale;
    // The point under the cursor in the plane of the point looked at stays put.
    const double move = 1.0 - factor;
    target_ = {target_.x + (right.x * across + up.x * upwards) * move,
               target_.y + (right.y * across + up.y * upwards) * move,
               target_.z + (right.z * across + up.z * upwards) * move};
    distance_ *= factor;
}

CAMERA_PARAM Orbit::Camera() const
{
    const CVector_3<double> back = Backwards(yaw_, pitch_);
    CAMERA_PARAM camera{1, -1.0, 1.0, 1.0, -1.0, 0.1, 10.0, fov_, 0.0, {}, target_};
    camera.from = {target_.x + back.x * distance_, target_.y + back.y * distance_, target_.z + back.z * distance_};
    camera.nearClip = std::max(distance_ - 2.0 * radius_, distance_ * 1e-3);
    camera.farClip = distance_ + 2.0 * radius_;
    return camera;
}

// The window's right and up directions in the world, as the renderer's view has them.
void Orbit::Axes(CVector_3<double>& right, CVector_3<double>& up) const
{
    const CVector_3<double> back = Backwards(yaw_, pitch_);
    const CVector_3<double> forward{-back.x, -back.y, -back.z};
    const CVector_3<double> worldUp =
        std::fabs(forward.y) > 0.999 ? CVector_3<double>{0, 0, -1} : CVector_3<double>{0, 1, 0};
    right = Unit(Cross(forward, worldUp));
    up = Cross(right, forward);
}

}  // namespace brell::view
