#include "Commands.h"

#include "CameraImage.h"
#include "Listing.h"
#include "Progress.h"
#include "SceneFiles.h"
#include "Viewer.h"

#include <brelldata/core/Tree.h>
#include <brelldata/core/Walk.h>
#include <brelldata/geo/GeoBaseNode.h>
#include <brelldata/gl/Cut.h>
#include <brelldata/gl/Picture.h>
#include <brelldata/io/Files.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/io/SceneFile.h>
#include <brelldata/scan/ObjectNodes.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

namespace brell::tool {

namespace {

// The name of calc's geometry node, before the procedure's.
constexpr const char* kGeometryPrefix = "geometry: ";

// Whether the file at path begins as a scene file does.
bool HasSceneMagic(const std::string& path)
{
    char magic[8] = {};
    std::ifstream in(path, std::ios::binary);
    return in.read(magic, sizeof magic) && std::memcmp(magic, "BRELSCN", sizeof magic) == 0;
}

// What the file at path is taken for; FileError, before anything opens it,
// unless it is a regular file.
FileKind KindOf(const std::string& path, FileKind asked)
{
    io::RequireRegularFile(path);
    if (asked != FileKind::automatic) return asked;
    try {
        io::FormatOfFileName(path);
        return FileKind::scan;
    } catch (const io::FileError&) {
        if (HasSceneMagic(path) || std::filesystem::path(path).extension() == ".scene") return FileKind::scene;
        return FileKind::camera;
    }
}

const char* KindName(FileKind kind)
{
    switch (kind) {
        case FileKind::scene:
            return "scene file";
        case FileKind::scan:
            return "scan file";
        default:
            return "camera data file";
    }
}

// The scene or scan file at path as a tree holding its root. What a scan
// reader had to drop is said on standard error.
CTree Open(const std::string& path, FileKind kind)
{
    if (kind == FileKind::scan) {
        std::vector<std::string> warnings;
        CTree scan(io::ImportScan(path, &warnings));
        for (const std::string& warning : warnings)
            std::fprintf(stderr, "brell: %s: warning: %s\n", path.c_str(), warning.c_str());
        return scan;
    }
    if (kind == FileKind::scene) return CTree(LoadSceneFile(path));
    throw io::FileError::InFile(path, "a scene or scan file", "a camera data file (see brell info)");
}

// Open, but a camera data file becomes a scene showing its colour block.
CTree OpenForViewing(const std::string& path, FileKind kind)
{
    return kind == FileKind::camera ? CameraImageScene(path) : Open(path, kind);
}

int IsGeometry(CBaseNode* node, int&, void*)
{
    return node->IsKindOf(CGeoBaseNode::TypeId());
}

bool HasGeometry(CBaseNode* root)
{
    int counter = 0;
    return SearchNode(root, IsGeometry, counter, nullptr) != nullptr;
}

bool HasScanData(CBaseNode* root)
{
    if (root->IsKindOf(CObjectNode::TypeId())) return true;
    for (unsigned int i = 0; i < root->GetChildNum(); ++i)
        if (root->GetChild(i)->IsKindOf(CObjectNode::TypeId())) return true;
    return false;
}

bool IsGeometryGroup(CBaseNode* node)
{
    return node->Name().rfind(kGeometryPrefix, 0) == 0;
}

// Takes the geometry of earlier calculations out of root, so that a new one replaces it.
void RemoveGeometry(CBaseNode* root)
{
    for (unsigned int i = root->GetChildNum(); i-- > 0;)
        if (IsGeometryGroup(root->GetChild(i))) root->RemoveChild(i, 1);
}

// The procedure asked for; else the one calc named its geometry after, the
// latest in a file that holds several; else texture when the scene has images
// and smooth when it has none.
std::string RenderMode(CBaseNode* root, const std::string& asked)
{
    if (!asked.empty()) return asked;
    for (unsigned int i = root->GetChildNum(); i-- > 0;)
        if (IsGeometryGroup(root->GetChild(i))) return root->GetChild(i)->Name().substr(std::strlen(kGeometryPrefix));
    return Summarize(root).images > 0 ? gl::kTextureProcedure : gl::kSmoothProcedure;
}

// The geometry the reference procedures build for root (when it is scan
// data) or for its scan-data children, under a new node named after the
// procedure. FileError naming path when there is no scan data.
CTree Calculate(CBaseNode* root, const std::string& procedure, const std::string& path)
{
    gl::RegisterProcedures();
    CTree output(CBaseNode::Create());
    output.Root()->SetName((kGeometryPrefix + procedure).c_str());
    auto calculate = [&](CBaseNode* node) {
        if (auto* object = brell::AsKindOf<CObjectNode>(node)) object->GeoCalc(procedure.c_str(), output.Root());
    };
    calculate(root);
    if (!root->IsKindOf(CObjectNode::TypeId()))
        for (unsigned int i = 0; i < root->GetChildNum(); ++i) calculate(root->GetChild(i));
    if (output.Root()->GetChildNum() == 0) throw io::FileError::InFile(path, "scan data", "none to calculate");
    return output;
}

// Saves root as a scene file or, by out's extension, a scan file.
void SaveAs(CBaseNode* root, const std::string& out)
{
    if (std::filesystem::path(out).extension() == ".scene")
        SaveSceneFile(root, out);
    else
        io::ExportScan(root, out);
}

}  // namespace

void Info(const Common& common, const std::string& path, CameraLayout layout)
{
    const FileKind kind = KindOf(path, common.kind);
    Progress progress(BarWanted(common.quiet, common.progress), common.timing, "brell info", 2);
    progress.Step("reading " + path);
    if (kind == FileKind::camera) {
        progress.Finish();
        CameraInfo(path, layout);
        progress.End();
        return;
    }
    CTree scene = Open(path, kind);
    progress.Step("counting");
    const SceneSummary summary = Summarize(scene.Root());
    progress.Finish();
    std::error_code error;
    const uintmax_t bytes = std::filesystem::file_size(path, error);
    std::printf("%s: %s of %ju bytes\n", path.c_str(), KindName(kind), error ? uintmax_t{0} : bytes);
    std::printf("nodes: %lld\n", static_cast<long long>(summary.nodes));
    for (const auto& [type, count] : summary.nodesByType)
        std::printf("  %s: %lld\n", type.c_str(), static_cast<long long>(count));
    std::printf("vertices: %lld\npolygons: %lld\nimages: %lld (%lld pixels)\n",
                static_cast<long long>(summary.vertices), static_cast<long long>(summary.polygons),
                static_cast<long long>(summary.images), static_cast<long long>(summary.pixels));
    try {
        const io::SceneStreams streams = io::MeasureSceneStreams(scene.Root(), path);
        std::printf("node stream: %llu bytes in %llu stream%s\n", static_cast<unsigned long long>(streams.bytes),
                    static_cast<unsigned long long>(streams.streams), streams.streams == 1 ? "" : "s");
    } catch (const io::FileError& error) {
        std::printf("node stream: none, as no stream holds %s\n", error.Found().c_str());
    }
    double box[6];
    if (io::ScanSceneBox(scene.Root(), box))
        std::printf("box: %g %g %g to %g %g %g\n", box[0], box[1], box[2], box[3], box[4], box[5]);
    progress.End();
}

void List(const Common& common, const std::string& path)
{
    const FileKind kind = KindOf(path, common.kind);
    Progress progress(BarWanted(common.quiet, common.progress), common.timing, "brell list", 1);
    progress.Step("reading " + path);
    CTree scene = Open(path, kind);
    progress.Finish();
    std::fputs(io::SceneListing(scene.Root()).c_str(), stdout);
    progress.End();
}

void Import(const Common& common, const std::string& in, const std::string& out)
{
    const FileKind kind = KindOf(in, common.kind);
    Progress progress(BarWanted(common.quiet, common.progress), common.timing, "brell import", 2);
    progress.Step("reading " + in);
    CTree scene = Open(in, kind);
    progress.Step("writing " + out);
    SaveSceneFile(scene.Root(), out);
    progress.End();
}

void Export(const Common& common, const std::string& in, const std::string& out, bool ascii)
{
    const FileKind kind = KindOf(in, common.kind);
    Progress progress(BarWanted(common.quiet, common.progress), common.timing, "brell export", 2);
    progress.Step("reading " + in);
    CTree scene = Open(in, kind);
    progress.Step("writing " + out);
    io::ExportScan(scene.Root(), out, ascii ? io::PlyEncoding::ascii : io::PlyEncoding::binaryLittleEndian);
    progress.End();
}

void Calc(const Common& common, const std::string& in, const std::string& procedure, const std::string& out)
{
    const FileKind kind = KindOf(in, common.kind);
    Progress progress(BarWanted(common.quiet, common.progress), common.timing, "brell calc", 3);
    progress.Step("reading " + in);
    CTree scene = Open(in, kind);
    progress.Step("calculating " + procedure);
    RemoveGeometry(scene.Root());
    CTree geometry = Calculate(scene.Root(), procedure, in);
    scene.Root()->AppendChild(geometry.Root());
    progress.Step("writing " + out);
    SaveSceneFile(scene.Root(), out);
    progress.End();
}

void Render(const Common& common, const RenderRequest& request)
{
    const FileKind kind = KindOf(request.in, common.kind);
    Progress progress(BarWanted(common.quiet, common.progress), common.timing, "brell render", 5);
    progress.Step("reading " + request.in);
    CTree scene = Open(request.in, kind);

    progress.Step("calculating geometry");
    CTree geometry(scene.Root());
    if (!HasGeometry(scene.Root()) || HasScanData(scene.Root())) {
        const std::string mode = RenderMode(scene.Root(), request.mode);
        // The file's own geometry is not drawn: freed before the new one is made.
        RemoveGeometry(scene.Root());
        geometry = Calculate(scene.Root(), mode, request.in);
    }

    progress.Step("starting the renderer");
    gl::RegisterProcedures();
    gl::Renderer renderer(request.width, request.height);

    progress.Step("drawing");
    gl::RenderOptions options;
    options.width = request.width;
    options.height = request.height;
    options.direction = request.direction;
    gl::RenderScene(renderer, geometry.Root(), options);
    const std::vector<RGBA> pixels = renderer.ReadPixels();

    progress.Step("writing " + request.out);
    gl::WritePng(request.out, request.width, request.height, pixels);
    progress.End();
}

void Cut(const Common& common, const CutRequest& request)
{
    const FileKind kind = KindOf(request.in, common.kind);
    Progress progress(BarWanted(common.quiet, common.progress), common.timing, "brell cut", 3);
    progress.Step("reading " + request.in);
    CTree scene = Open(request.in, kind);
    const SceneSummary before = Summarize(scene.Root());

    progress.Step("cutting");
    // Framed as brell render frames it: its geometry's box, or its camera.
    gl::RenderOptions options;
    options.width = request.width;
    options.height = request.height;
    options.direction = request.direction;
    const std::string mode = RenderMode(scene.Root(), "");
    // The scan's own box frames it, as its geometry's would, without making any.
    double box[6];
    if (!io::ScanSceneBox(scene.Root(), box)) throw io::FileError::InFile(request.in, "scan data", "none to cut");
    const CAMERA_PARAM camera = gl::BoxCamera(box, options);
    CRgn lasso;
    CDC path;
    path.BeginPath();
    path.MoveTo(request.lasso[0].x, request.lasso[0].y);
    for (size_t i = 1; i < request.lasso.size(); ++i) path.LineTo(request.lasso[i].x, request.lasso[i].y);
    path.CloseFigure();
    path.EndPath();
    lasso.Attach(PathToRegion(path.m_hDC));
    const gl::CutStep step =
        gl::CutByRegion(scene.Root(), camera, request.width, request.height, lasso, request.keepInside);
    // Geometry calculated before the cut no longer fits the scan.
    bool hadGeometry = false;
    for (unsigned int i = 0; i < scene.Root()->GetChildNum(); ++i)
        hadGeometry = hadGeometry || IsGeometryGroup(scene.Root()->GetChild(i));
    if (hadGeometry) {
        RemoveGeometry(scene.Root());
        scene.Root()->AppendChild(Calculate(scene.Root(), mode, request.in).Root());
    }

    progress.Step("writing " + request.out);
    SaveAs(scene.Root(), request.out);
    progress.Finish();
    std::printf("%s: %d of %lld vertices and %d of %lld polygons cut\n", request.out.c_str(), step.RemovedVertices(),
                static_cast<long long>(before.vertices), step.RemovedPolygons(),
                static_cast<long long>(before.polygons));
    progress.End();
}

int View(const Common& common, const ViewRequest& request)
{
    const FileKind kind = KindOf(request.in, common.kind);
    view::Settings settings;
    settings.name = std::filesystem::path(request.in).filename().string();
    settings.open = [&request, kind] { return OpenForViewing(request.in, kind); };
    const std::string out = request.out.empty() ? request.in : request.out;
    settings.save = [out](CBaseNode* root) { SaveAs(root, out); };
    settings.width = request.width;
    settings.height = request.height;
    settings.mode = request.mode;
    settings.replay = request.replay;
    settings.timing = common.timing;
    return view::Run(settings);
}

}  // namespace brell::tool
