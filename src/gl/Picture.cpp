#include "gl/RendererImpl.h"

#include <brelldata/core/Walk.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/gl/Picture.h>
#include <brelldata/io/Files.h>
#include <brelldata/scan/ObjectNodes.h>

#include <png.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <string>

namespace brell::gl {

namespace {

// What drawing reaches (shown nodes, enabled children, the subtrees of
// references): the first camera and the nodes references stand for.
struct SceneWalk {
    CGeoCameraNode* camera = nullptr;
    std::vector<CBaseNode*> references;

    void Visit(CBaseNode* node, int depth)
    {
        // References may lead back into their own subtree.
        if (node == nullptr || depth > 64) return;
        CGeoBaseNode* geometry = AsKindOf<CGeoBaseNode>(node);
        if (geometry != nullptr && geometry->IsShow() == 0) return;
        if (camera == nullptr) camera = AsKindOf<CGeoCameraNode>(node);
        if (auto* reference = AsKindOf<CGeoRefNode>(node)) {
            CBaseNode* target = reference->Reference();
            if (target != nullptr) references.push_back(target);
            Visit(target, depth + 1);
        }
        for (unsigned int i = 0; i < node->GetChildNum(); ++i)
            if (geometry == nullptr || node->IsChildEnable(static_cast<int>(i)) != 0)
                Visit(node->GetChild(i), depth + 1);
    }
};

double Diagonal(const double box[6])
{
    return std::hypot(box[3] - box[0], box[4] - box[1], box[5] - box[2]);
}

// Geometry that shows something itself, unlike groups, lights and cameras.
int IsShape(CBaseNode* node, int&, void*)
{
    if (!node->IsKindOf(CGeoBaseNode::TypeId())) return 0;
    for (const std::string* state : {&CGeoBaseNode::TypeId(), &CGeoRefNode::TypeId(), &CGeoSwitchNode::TypeId(),
                                     &CGeoModeNode::TypeId(), &CGeoLightNode::TypeId(), &CGeoCameraNode::TypeId()})
        if (node->Type() == *state) return 0;
    return 1;
}

int IsScanData(CBaseNode* node, int&, void*)
{
    return node->IsKindOf(CObjectNode::TypeId());
}

// Why a tree that drew nothing has nothing to draw.
std::string NothingToDraw(CBaseNode* root)
{
    int counter = 0;
    if (SearchNode(root, IsShape, counter, nullptr) != nullptr)
        return "nothing to draw: its geometry is empty or hidden";
    if (SearchNode(root, IsScanData, counter, nullptr) != nullptr)
        return "nothing to draw: the tree holds scan data but no geometry; calculate its geometry first "
               "(CalculateGeometry with " +
               ProcedureList() + ")";
    return "nothing to draw: the tree is empty";
}

}  // namespace

CAMERA_PARAM SceneCamera(CBaseNode* root, const RenderOptions& options)
{
    SceneWalk walk;
    walk.Visit(root, 0);
    if (walk.camera != nullptr) return walk.camera->camera;

    double box[6] = {-1.0, -1.0, -1.0, 1.0, 1.0, 1.0};
    int found = EvalBBoxForNode(root, box[0], box[1], box[2], box[3], box[4], box[5]);
    for (CBaseNode* target : walk.references) {
        double part[6];
        if (EvalBBoxForNode(target, part[0], part[1], part[2], part[3], part[4], part[5]) == 0) continue;
        for (int i = 0; i < 3; ++i) {
            box[i] = found != 0 ? std::fmin(box[i], part[i]) : part[i];
            box[i + 3] = found != 0 ? std::fmax(box[i + 3], part[i + 3]) : part[i + 3];
        }
        found = 1;
    }
    return BoxCamera(box, options);
}

CAMERA_PARAM BoxCamera(const double (&bounds)[6], const RenderOptions& options)
{
    double box[6];
    std::copy(std::begin(bounds), std::end(bounds), box);
    // A box of no size (one point, or points all in one place) gets one in
    // proportion to where it lies, so that the view has a sphere to look at
    // and single-precision positions still tell it from its surroundings.
    double largest = 1.0;
    for (double bound : box) largest = std::fmax(largest, std::fabs(bound));
    if (Diagonal(box) <= 1e-9 * largest) {
        const double half = std::fmax(1.0, 1e-3 * largest);
        for (int i = 0; i < 3; ++i) box[i] -= half, box[i + 3] += half;
    }
    const CVector_3<double>& d = options.direction;
    CAMERA_PARAM camera{1, -1.0, 1.0, 1.0, -1.0, 0.1, 10.0, options.fov, 0.0, {}, {}};
    camera.to = {(box[0] + box[3]) * 0.5, (box[1] + box[4]) * 0.5, (box[2] + box[5]) * 0.5};
    EvalViewPoint(box[0], box[1], box[2], box[3], box[4], box[5], d.x, d.y, d.z, options.fov, camera.from.x,
                  camera.from.y, camera.from.z);
    const double radius = 0.5 * Diagonal(box);
    const double distance =
        std::hypot(camera.from.x - camera.to.x, camera.from.y - camera.to.y, camera.from.z - camera.to.z);
    camera.nearClip = std::fmax(distance - 1.05 * radius, distance * 1e-3);
    camera.farClip = distance + 1.05 * radius;
    return camera;
}

int RenderScene(Renderer& renderer, CBaseNode* root, const RenderOptions& options)
{
    renderer.BeginFrame(SceneCamera(root, options), options.background);
    const int result = renderer.Draw(root);
    if (renderer.Get().drawnItems == 0) throw RenderError::At("drawing the scene", NothingToDraw(root));
    return result;
}

void RenderToPng(CBaseNode* root, const RenderOptions& options, const std::string& path)
{
    RegisterProcedures();
    Renderer renderer(options.width, options.height);
    RenderScene(renderer, root, options);
    WritePng(path, options.width, options.height, renderer.ReadPixels());
}

void WritePng(const std::string& path, int width, int height, const std::vector<RGBA>& pixels)
{
    if (width <= 0 || height <= 0 || pixels.size() != static_cast<size_t>(width) * height)
        throw RenderError::At(path, "cannot write a PNG file of " + std::to_string(width) + "x" +
                                        std::to_string(height) + " pixels from " + std::to_string(pixels.size()));
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGBA;
    // Room for the largest PNG of the picture, so that it is compressed once.
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    const std::unique_ptr<unsigned char[]> png(new unsigned char[size]);
    if (png_image_write_to_memory(&image, png.get(), &size, 0, pixels.data(), 0, nullptr) == 0) {
        const std::string reason = image.message;
        png_image_free(&image);
        throw RenderError::At(path, "cannot make the PNG image: " + reason);
    }
    // Saved as the io library saves every file, so that its messages are the same too.
    try {
        io::SaveFile(path, png.get(), size);
    } catch (const io::FileError& error) {
        throw RenderError::At(path, "expected " + error.Expected() + ", found " + error.Found());
    }
}

}  // namespace brell::gl
