#include "Commands.h"

#include "Listing.h"
#include "Progress.h"
#include "SceneFiles.h"

#include <brelldata/core/Tree.h>
#include <brelldata/core/Walk.h>
#include <brelldata/geo/GeoBaseNode.h>
#include <brelldata/gl/Picture.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/ObjectNodes.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

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

FileKind KindOf(const std::string& path, FileKind asked)
{
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

// The scene or scan file at path as a tree holding its root.
CTree Open(const std::string& path, FileKind kind)
{
    if (kind == FileKind::scan) return CTree(io::ImportScan(path));
    if (kind == FileKind::scene) return CTree(LoadSceneFile(path));
    throw io::FileError::InFile(path, "a scene or scan file", "a camera data file (see brell info)");
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

// The procedure asked for; else the one calc named its geometry after; else
// texture when the scene has images and smooth when it has none.
std::string RenderMode(CBaseNode* root, const std::string& asked)
{
    if (!asked.empty()) return asked;
    const std::string prefix = kGeometryPrefix;
    for (unsigned int i = 0; i < root->GetChildNum(); ++i) {
        const std::string& name = root->GetChild(i)->Name();
        if (name.compare(0, prefix.size(), prefix) == 0) return name.substr(prefix.size());
    }
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
        if (node->IsKindOf(CObjectNode::TypeId()))
            static_cast<CObjectNode*>(node)->GeoCalc(procedure.c_str(), output.Root());
    };
    calculate(root);
    if (!root->IsKindOf(CObjectNode::TypeId()))
        for (unsigned int i = 0; i < root->GetChildNum(); ++i) calculate(root->GetChild(i));
    if (output.Root()->GetChildNum() == 0) throw io::FileError::InFile(path, "scan data", "none to calculate");
    return output;
}

using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point& start)
{
    const Clock::time_point now = Clock::now();
    const double ms = std::chrono::duration<double, std::milli>(now - start).count();
    start = now;
    return ms;
}

}  // namespace

void Info(const Common& common, const std::string& path, CameraLayout layout)
{
    const FileKind kind = KindOf(path, common.kind);
    if (kind == FileKind::camera) return CameraInfo(path, layout);
    CTree scene = Open(path, kind);
    const SceneSummary summary = Summarize(scene.Root());
    std::error_code error;
    const uintmax_t bytes = std::filesystem::file_size(path, error);
    std::printf("%s: %s of %ju bytes\n", path.c_str(), KindName(kind), error ? uintmax_t{0} : bytes);
    std::printf("nodes: %lld\n", static_cast<long long>(summary.nodes));
    for (const auto& [type, count] : summary.nodesByType)
        std::printf("  %s: %lld\n", type.c_str(), static_cast<long long>(count));
    std::printf("vertices: %lld\npolygons: %lld\nimages: %lld (%lld pixels)\nnode stream: %lld bytes\n",
                static_cast<long long>(summary.vertices), static_cast<long long>(summary.polygons),
                static_cast<long long>(summary.images), static_cast<long long>(summary.pixels),
                static_cast<long long>(summary.streamBytes));
    double box[6];
    if (io::ScanSceneBox(scene.Root(), box))
        std::printf("box: %g %g %g to %g %g %g\n", box[0], box[1], box[2], box[3], box[4], box[5]);
}

void List(const Common& common, const std::string& path)
{
    CTree scene = Open(path, KindOf(path, common.kind));
    ListTree(scene.Root(), stdout);
}

void Import(const Common& common, const std::string& in, const std::string& out)
{
    Progress progress(ProgressWanted(common.quiet), "brell import", 2);
    progress.Step("reading " + in);
    CTree scene = Open(in, KindOf(in, common.kind));
    progress.Step("writing " + out);
    SaveSceneFile(scene.Root(), out);
}

void Export(const Common& common, const std::string& in, const std::string& out, bool ascii)
{
    Progress progress(ProgressWanted(common.quiet), "brell export", 2);
    progress.Step("reading " + in);
    CTree scene = Open(in, KindOf(in, common.kind));
    progress.Step("writing " + out);
    io::ExportScan(scene.Root(), out, ascii ? io::PlyEncoding::ascii : io::PlyEncoding::binaryLittleEndian);
}

void Calc(const Common& common, const std::string& in, const std::string& procedure, const std::string& out)
{
    Progress progress(ProgressWanted(common.quiet), "brell calc", 3);
    progress.Step("reading " + in);
    CTree scene = Open(in, KindOf(in, common.kind));
    progress.Step("calculating " + procedure);
    CTree geometry = Calculate(scene.Root(), procedure, in);
    scene.Root()->AppendChild(geometry.Root());
    progress.Step("writing " + out);
    SaveSceneFile(scene.Root(), out);
}

void Render(const Common& common, const RenderRequest& request)
{
    Progress progress(ProgressWanted(common.quiet), "brell render", 5);
    Clock::time_point start = Clock::now();
    progress.Step("reading " + request.in);
    CTree scene = Open(request.in, KindOf(request.in, common.kind));
    const double readMs = MillisecondsSince(start);

    progress.Step("calculating geometry");
    CTree geometry(scene.Root());
    if (!HasGeometry(scene.Root()) || HasScanData(scene.Root()))
        geometry = Calculate(scene.Root(), RenderMode(scene.Root(), request.mode), request.in);
    const double calcMs = MillisecondsSince(start);

    progress.Step("starting the renderer");
    gl::RegisterProcedures();
    gl::Renderer renderer(request.width, request.height);
    const double contextMs = MillisecondsSince(start);

    progress.Step("drawing");
    gl::RenderOptions options;
    options.width = request.width;
    options.height = request.height;
    options.direction = request.direction;
    gl::RenderScene(renderer, geometry.Root(), options);
    const std::vector<RGBA> pixels = renderer.ReadPixels();
    const double drawMs = MillisecondsSince(start);

    progress.Step("writing " + request.out);
    gl::WritePng(request.out, request.width, request.height, pixels);
    const double pngMs = MillisecondsSince(start);

    if (request.timing) {
        std::printf("import        %9.1f ms\ngeometry      %9.1f ms\nrenderer      %9.1f ms\n", readMs, calcMs,
                    contextMs);
        std::printf("drawing       %9.1f ms\npng           %9.1f ms\ntotal         %9.1f ms\n", drawMs, pngMs,
                    readMs + calcMs + contextMs + drawMs + pngMs);
    }
}

}  // namespace brell::tool
