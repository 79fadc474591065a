#pragma once

#include <brelldata/geo/LightCameraNodes.h>

// The viewer's camera as the user moves it: a point looked at, a distance
// and two angles, turned into the CAMERA_PARAM of the tree's camera node.

namespace brell::view {

class Orbit {
public:
    // Looks at the box (EvalBBoxForNode's order) as camera, made for it by
    // SceneCamera, does: same centre, distance and direction.
    void Fit(const CAMERA_PARAM& camera, const double box[6]);
    // One of the six views: 0 front, 1 back, 2 left, 3 right, 4 top, 5 bottom.
    void SetView(int view);
    // Turns about the point looked at by the mouse's move in pixels.
    void Turn(double dx, double dy);
    // Moves the point looked at with the mouse, in a window height pixels high.
    void Pan(double dx, double dy, int height);
    // Moves closer (steps above 0) or away, keeping the point under the cursor
    // (x, y in a width x height window) where it is.
    void Zoom(double steps, double x, double y, int width, int height);

    CAMERA_PARAM Camera() const;

private:
    void Axes(CVector_3<double>& right, CVector_3<double>& up) const;

    CVector_3<double> target_{0.0, 0.0, 0.0};
    double distance_ = 1.0;
    double radius_ = 1.0;  // of the scene, for the clipping planes
    double yaw_ = 0.0;     // degrees about y, 0 looking along -z
    double pitch_ = 0.0;   // degrees above the horizon, -90 to 90
    double fov_ = 45.0;
};

}  // namespace brell::view
