#include "core/Format.h"

#include <brelldata/geo/LightCameraNodes.h>

#include <algorithm>
#include <cmath>
#include <iterator>

BRELL_NODE_TYPE_DEFINE(CGeoLightNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoLightNode, CGeoBaseNode)
BRELL_NODE_TYPE_DEFINE(CGeoCameraNode, CGeoBaseNode)
BRELL_GEO_DRAW_DEFINE(CGeoCameraNode, CGeoBaseNode)

std::string CGeoLightNode::Comment()
{
    return brell::FormatText("%d lights", Number());
}

int CGeoLightNode::Copy(CBaseNode* source)
{
    auto* other = brell::AsKindOf<CGeoLightNode>(source);
    if (other != nullptr && other != this) lights = other->lights;
    return CGeoBaseNode::Copy(source);
}

LIGHT_PARAM* CGeoLightNode::Light(int i)
{
    if (i >= Number() || lights.empty()) return nullptr;
    return &*std::next(lights.begin(), std::max(i, 0));
}

int CGeoLightNode::Append(const LIGHT_PARAM& light)
{
    lights.push_back(light);
    return Number() - 1;
}

int CGeoLightNode::Delete(int i)
{
    if (lights.empty() || i >= Number()) return 0;
    lights.erase(std::next(lights.begin(), std::max(i, 0)));
    return 1;
}

std::string CGeoCameraNode::Comment()
{
    const CVector_3<double>& from = camera.from;
    const CVector_3<double>& to = camera.to;
    if (camera.perspective != 0) {
        return brell::FormatText("Perspective: %lf, %lf, %f => %lf, %lf, %lf(FOV = %lf)", from.x, from.y, from.z, to.x,
                                 to.y, to.z, camera.fov);
    }
    return brell::FormatText("Ortho: %lf, %lf, %f => %lf, %lf, %lf", from.x, from.y, from.z, to.x, to.y, to.z);
}

int CGeoCameraNode::Copy(CBaseNode* source)
{
    if (auto* other = brell::AsKindOf<CGeoCameraNode>(source)) camera = other->camera;
    return CGeoBaseNode::Copy(source);
}

int EvalViewPoint(double x0, double y0, double z0, double x1, double y1, double z1, double dx, double dy, double dz,
                  double fov, double& ex, double& ey, double& ez)
{
    const double cx = (x0 + x1) * 0.5, cy = (y0 + y1) * 0.5, cz = (z0 + z1) * 0.5;
    const double radius = std::sqrt((x0 - cx) * (x0 - cx) + (y0 - cy) * (y0 - cy) + (z0 - cz) * (z0 - cz));
    const double halfAngle = (std::fabs(fov) < 1e-7 ? 45.0 : fov) * 0.008726646259971648;
    const double distance = radius / std::sin(halfAngle);
    const double unit = 1.0 / std::sqrt(dx * dx + dy * dy + dz * dz);
    ex = cx - distance * unit * dx;
    ey = cy - distance * unit * dy;
    ez = cz - distance * unit * dz;
    return 1;
}
