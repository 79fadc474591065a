#pragma once

#include <brelldata/data/Records.h>
#include <brelldata/geo/GeoBaseNode.h>

#include <list>

// Lights and the view of a scene, set up by the draw procedures when the walk
// reaches them. The library stores, copies and describes these records and
// never reads their numbers; what they mean is agreed between the host and
// its procedures. Neither record is part of a node stream.

struct LIGHT_PARAM {
    int32_t type;
    int32_t enabled;
    double ambient[4];
    double diffuse[4];
    int32_t options[3];
    double position[3];
};
static_assert(sizeof(LIGHT_PARAM) == 112 && offsetof(LIGHT_PARAM, ambient) == 8 &&
              offsetof(LIGHT_PARAM, options) == 72 && offsetof(LIGHT_PARAM, position) == 88);

struct CAMERA_PARAM {
    int perspective;  // 0 for an orthographic camera
    double left;
    double right;
    double top;
    double bottom;
    double nearClip;
    double farClip;
    double fov;
    double twist;
    CVector_3<double> from;
    CVector_3<double> to;
};

// An ordered list of lights, each a copy owned by the node.
class BRELL_API CGeoLightNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoLightNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoLightNode, CGeoBaseNode)

public:
    CGeoLightNode() = default;

    // "%d lights".
    std::string Comment() override;
    // Takes a copy of another light node's lights, then down the chain of bases.
    int Copy(CBaseNode* source) override;

    int Number() { return static_cast<int>(lights.size()); }
    // The light at i, changeable in place; i of 0 or less means the first;
    // null when i is not below the number of lights. The pointer lives as
    // long as that light: other lights appended or deleted leave it valid.
    LIGHT_PARAM* Light(int i);
    // Appends a copy; its position.
    int Append(const LIGHT_PARAM& light);
    // Removes the light at i (0 or less: the first); 0 when there is none.
    int Delete(int i);

    // Each light in an allocation of its own, so that pointers to it outlive
    // edits of the others.
    std::list<LIGHT_PARAM> lights;
};

class BRELL_API CGeoCameraNode : public CGeoBaseNode {
    BRELL_NODE_TYPE(CGeoCameraNode, CGeoBaseNode)
    BRELL_GEO_DRAW(CGeoCameraNode, CGeoBaseNode)

public:
    CGeoCameraNode() = default;

    // "Perspective: from => to(FOV = fov)" or "Ortho: from => to", six decimals.
    std::string Comment() override;
    // Takes a camera node's whole camera record, then down the chain of bases.
    int Copy(CBaseNode* source) override;

    CAMERA_PARAM camera{
        1, -100.0, 100.0, 100.0, -100.0, 500.0, 5000.0, 45.0, 0.0, {0.0, 0.0, 0.0}, {0.0, 0.0, -1000.0}};
};

// The point from which a sphere around the box (x0, y0, z0)-(x1, y1, z1) just
// fills a full field of view of fov degrees (45 when fov is about 0), looking
// along (dx, dy, dz), which must not be zero; 1.
BRELL_API int EvalViewPoint(double x0, double y0, double z0, double x1, double y1, double z1, double dx, double dy,
                            double dz, double fov, double& ex, double& ey, double& ez);
