// brell: scene, scan and camera data files from the command line. Exit
// status 0 on success, 1 when a file fails, 2 for a usage error; each failure
// is one line on standard error.

#include "Commands.h"

#include <brelldata/gl/Renderer.h>
#include <brelldata/io/FileError.h>
#include <brelldata/platform/Archive.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <sstream>
#include <string>

using namespace brell::tool;

namespace {

constexpr int kFailedFile = 1;
constexpr int kUsage = 2;

const std::map<std::string, FileKind> kKinds{
    {"auto", FileKind::automatic}, {"scene", FileKind::scene}, {"scan", FileKind::scan}, {"camera", FileKind::camera}};
const std::map<std::string, CameraLayout> kLayouts{
    {"auto", CameraLayout::automatic}, {"first", CameraLayout::first}, {"second", CameraLayout::second}};
const std::map<std::string, CVector_3<double>> kViews{{"front", {0, 0, -1}}, {"back", {0, 0, 1}},
                                                      {"left", {1, 0, 0}},   {"right", {-1, 0, 0}},
                                                      {"top", {0, -1, 0}},   {"bottom", {0, 1, 0}}};

// "front", "top", ... or "x,y,z": the direction the view looks along.
bool ParseView(const std::string& text, CVector_3<double>& direction)
{
    if (auto named = kViews.find(text); named != kViews.end()) {
        direction = named->second;
        return true;
    }
    std::istringstream in(text);
    char comma1 = 0, comma2 = 0;
    CVector_3<double> d{};
    if (!(in >> d.x >> comma1 >> d.y >> comma2 >> d.z) || comma1 != ',' || comma2 != ',' || !in.eof()) return false;
    if (d.x == 0 && d.y == 0 && d.z == 0) return false;
    direction = d;
    return true;
}

// "WxH" with both between 1 and 8192.
bool ParseSize(const std::string& text, int& width, int& height)
{
    std::istringstream in(text);
    char x = 0;
    int w = 0, h = 0;
    if (!(in >> w >> x >> h) || (x != 'x' && x != 'X') || !in.eof()) return false;
    if (w < 1 || h < 1 || w > 8192 || h > 8192) return false;
    width = w;
    height = h;
    return true;
}

// Once installed, the library finds its output library beside it and traces
// to standard error, which belongs to the tool's one-line messages: unless
// SCRIVO_LEVEL says otherwise, only warnings and errors pass. This runs
// before the libraries start, and their start-up already traces.
void QuietLibraryTrace(int, char**, char**)
{
    setenv("SCRIVO_LEVEL", "-1", 0);
}
__attribute__((section(".preinit_array"), used)) void (*const kQuietLibraryTrace)(int, char**,
                                                                                  char**) = QuietLibraryTrace;

int Fail(int status, const std::string& message)
{
    std::fprintf(stderr, "brell: %s\n", message.c_str());
    return status;
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app{"brell: scene, scan and camera data files from the command line", "brell"};
    app.require_subcommand(1);
    // The common options may come after the subcommand too.
    app.fallthrough();
    Common common;
    std::string kind = "auto";
    app.add_flag("-q,--quiet", common.quiet, "no progress bar");
    app.add_option("--type", kind, "what FILE is taken for; auto goes by its name")
        ->check(CLI::IsMember({"auto", "scene", "scan", "camera"}));

    std::string in, out, layout = "auto", procedure, mode, size = "1024x768", view = "front";
    bool ascii = false;
    RenderRequest request;

    CLI::App* info = app.add_subcommand("info", "what a scene, scan or camera data file holds");
    info->add_option("FILE", in, "the file")->required();
    info->add_option("--layout", layout, "camera data file layout; auto goes by the file's size")
        ->check(CLI::IsMember({"auto", "first", "second"}));

    CLI::App* list = app.add_subcommand("list", "the tree of a scene or scan file");
    list->add_option("FILE", in, "the file")->required();

    CLI::App* import = app.add_subcommand("import", "a scan file into a scene file");
    import->add_option("IN", in, "PLY, OFF, OBJ or XYZ file")->required();
    import->add_option("-o,--output", out, "the scene file to write")->required();

    CLI::App* exporter = app.add_subcommand("export", "a scene's models and meshes into a scan file");
    exporter->add_option("IN", in, "scene or scan file")->required();
    exporter->add_option("-o,--output", out, "PLY, OFF, OBJ or XYZ file to write")->required();
    exporter->add_flag("--ascii", ascii, "ASCII rather than binary PLY");

    const std::vector<std::string> procedures{brell::gl::kPointsProcedure, brell::gl::kWireProcedure,
                                              brell::gl::kShadeProcedure, brell::gl::kSmoothProcedure,
                                              brell::gl::kTextureProcedure};
    CLI::App* calc = app.add_subcommand("calc", "geometry of a scene by the reference geometry procedures");
    calc->add_option("IN", in, "scene or scan file")->required();
    calc->add_option("--proc", procedure, "points, wire, shade, smooth or texture")
        ->required()
        ->check(CLI::IsMember(procedures));
    calc->add_option("-o,--output", out, "the scene file to write")->required();

    CLI::App* render = app.add_subcommand("render", "a scene or scan file drawn into a PNG picture");
    render->add_option("IN", in, "scene or scan file")->required();
    render->add_option("-o,--output", out, "the PNG file to write")->required();
    render->add_option("--size", size, "picture size WxH (default 1024x768)");
    render
        ->add_option("--mode", mode,
                     "geometry of the scan data: " + CLI::detail::join(procedures) +
                         " (default: the one calc used, else texture with images, else smooth)")
        ->check(CLI::IsMember(procedures));
    render->add_option("--view", view, "viewing direction: front, back, left, right, top, bottom or x,y,z");
    render->add_flag("--timing", request.timing, "print the time of each step");

    try {
        app.parse(argc, argv);
        if (render->parsed() && !ParseSize(size, request.width, request.height))
            throw CLI::ValidationError("--size", "expected WxH between 1x1 and 8192x8192, found \"" + size + "\"");
        if (render->parsed() && !ParseView(view, request.direction))
            throw CLI::ValidationError("--view", "expected a direction name or x,y,z, found \"" + view + "\"");
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        const std::vector<std::string> left = app.remaining();
        if (app.get_subcommands().empty() && !left.empty())
            return Fail(kUsage, "unknown subcommand \"" + left.front() +
                                    "\": expected info, list, import, export, calc or render");
        return Fail(kUsage, error.what());
    }
    common.kind = kKinds.at(kind);

    try {
        if (info->parsed()) Info(common, in, kLayouts.at(layout));
        if (list->parsed()) List(common, in);
        if (import->parsed()) Import(common, in, out);
        if (exporter->parsed()) Export(common, in, out, ascii);
        if (calc->parsed()) Calc(common, in, procedure, out);
        if (render->parsed()) {
            request.in = in;
            request.out = out;
            request.mode = mode;
            Render(common, request);
        }
    } catch (const brell::io::FileError& error) {
        return Fail(kFailedFile, error.what());
    } catch (const CFileException& error) {
        return Fail(kFailedFile, error.what());
    } catch (const brell::gl::RenderError& error) {
        return Fail(kFailedFile, error.what());
    } catch (const std::bad_alloc&) {
        return Fail(kFailedFile, in + ": not enough memory");
    }
    return 0;
}
