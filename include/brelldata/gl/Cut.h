#pragma once

#include <brelldata/geo/LightCameraNodes.h>
#include <brelldata/gl/Export.h>
#include <brelldata/platform/Region.h>

#include <cstddef>
#include <deque>
#include <memory>
#include <vector>

class CBaseNode;

namespace brell::gl {

// Where the renderer draws world points in a window of width x height pixels
// (x right, y down from the top-left corner) seen through camera.
class BRELL_GL_API WindowProjection {
public:
    WindowProjection(const CAMERA_PARAM& camera, int width, int height);
    // False, with nothing written, for a point at or behind the eye's plane
    // or one that does not project to a finite place.
    bool Project(double x, double y, double z, double& windowX, double& windowY) const;

private:
    double matrix_[16];
    double width_, height_;
};

// What one cut took out of the models and meshes of a scene: the places (as
// before the cut) and values of the removed vertices and polygons, with their
// per-vertex "normals" and "colors", texture coordinate rows and per-polygon
// "faceColors", so that Undo puts the scene back byte for byte. It costs the
// removed items' bytes, not a copy of the scan, and once undone only their
// places. It holds one reference on each node it changed. Undo and Redo
// expect the nodes as the step left them.
class BRELL_GL_API CutStep {
public:
    CutStep();
    ~CutStep();
    CutStep(CutStep&&) noexcept;
    CutStep& operator=(CutStep&&) noexcept;

    int RemovedVertices() const;
    int RemovedPolygons() const;
    // True when the cut removed nothing.
    bool Empty() const;
    // The bytes the step keeps.
    size_t Bytes() const;
    // The models and meshes the step changed.
    std::vector<CBaseNode*> Nodes() const;

    // Puts back what the cut took; nothing when it is undone already.
    void Undo();
    // Takes it out again; nothing when it is not undone.
    void Redo();

    // What the step holds; made by CutByRegion.
    struct Impl;
    explicit CutStep(std::unique_ptr<Impl> impl);

private:
    std::unique_ptr<Impl> impl_;
};

// Cuts away, from every model and mesh in the tree of scene (level-of-detail
// children left out), each vertex whose projection through camera into a
// window of width x height pixels lands on a pixel of region, and each
// polygon with such a corner; with keepInside, each vertex that does not
// (so vertices outside the window or behind the eye go). Stores shrink in
// place, and the per-vertex and per-polygon attributes and texture rows
// follow. A null scene or region, or a size below 1, cuts nothing. Geometry
// calculated from the scan is stale afterwards: calculate it again and
// release the caches of the CGeoRefNodes that draw it.
BRELL_GL_API CutStep CutByRegion(CBaseNode* scene, const CAMERA_PARAM& camera, int width, int height, HRGN region,
                                 bool keepInside = false);

// The latest cuts, for undo and redo.
class BRELL_GL_API CutHistory {
public:
    // Keeps at most depth steps to undo (at least 1).
    explicit CutHistory(size_t depth = 20);

    // Makes step the latest (dropping the undone ones and the oldest past the
    // depth); an empty step is dropped.
    void Add(CutStep step);
    // Undoes the latest step; the step, or null when there is none to undo.
    const CutStep* Undo();
    // Redoes the step undone last; the step, or null when there is none.
    const CutStep* Redo();
    size_t UndoCount() const { return done_; }
    size_t RedoCount() const { return steps_.size() - done_; }
    // The bytes all steps keep.
    size_t Bytes() const;

private:
    size_t depth_;
    std::deque<CutStep> steps_;
    size_t done_ = 0;
};

}  // namespace brell::gl
