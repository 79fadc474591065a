// brell: scene, scan and camera data files from the command line. Exit
// status 0 on success, 1 when a file fails, 2 for a usage error; each failure
// is one line on standard error.

#include "Commands.h"

#include <brelldata/gl/Renderer.h>
#include <brelldata/io/FileError.h>
#include <brelldata/io/ScanFormats.h>
#include <brelldata/platform/Archive.h>

#include <CLI/CLI.hpp>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <iterator>
#include <map>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

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

// "front", "top", ... or "x,y,z": the direction the view looks along. Empty
// when text gives one, else what was expected instead.
std::string ParseView(const std::string& text, CVector_3<double>& direction)
{
    if (auto named = kViews.find(text); named != kViews.end()) {
        direction = named->second;
        return {};
    }
    std::istringstream in(text);
    char comma1 = 0, comma2 = 0;
    CVector_3<double> d{};
    if (!(in >> d.x >> comma1 >> d.y >> comma2 >> d.z) || comma1 != ',' || comma2 != ',' || !in.eof())
        return "a direction name or x,y,z";
    if (d.x == 0 && d.y == 0 && d.z == 0) return "a direction of some length";
    direction = d;
    return {};
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

// The libraries start, and trace their start, before main, so --verbose runs
// the tool again with SCRIVO_LEVEL set. Setting it any earlier from the tool
// does not hold: the C library's own start-up, which comes after the
// executable's .preinit_array, puts back the environment the process was
// given.
void ShowLibraryTrace(char** argv)
{
    if (const char* level = std::getenv("SCRIVO_LEVEL"); level != nullptr && *level != '\0') return;
    setenv("SCRIVO_LEVEL", std::to_string(std::numeric_limits<int32_t>::max()).c_str(), 1);
    execv("/proc/self/exe", argv);
    // Without a new start, the lines from here on still show.
}

// A usage error unless out ends as the command's files do: in extension, in
// any case, or as a scan file when extension is empty.
void CheckOutputName(const std::string& out, const std::string& extension)
{
    std::string expected = "a file name ending in " + extension;
    if (extension.empty()) {
        try {
            brell::io::FormatOfFileName(out);
            return;
        } catch (const brell::io::FileError& error) {
            expected = error.Expected();
        }
    } else {
        std::string found = std::filesystem::path(out).extension().string();
        for (char& c : found) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (found == extension) return;
    }
    throw CLI::ValidationError("--output", "expected " + expected + ", found \"" + out + "\"");
}

// "x1,y1,x2,y2,...": at least three corners in window pixels.
bool ParseLasso(const std::string& text, std::vector<POINT>& lasso)
{
    std::istringstream in(text);
    std::vector<int32_t> numbers;
    for (int32_t number = 0; in >> number;) {
        numbers.push_back(number);
        char comma = 0;
        if (in >> comma && comma != ',') return false;
    }
    if (!in.eof() || numbers.size() % 2 != 0 || numbers.size() < 6) return false;
    lasso.clear();
    for (size_t i = 0; i < numbers.size(); i += 2) lasso.push_back({numbers[i], numbers[i + 1]});
    return true;
}

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
    bool verbose = false;
    app.add_flag("-q,--quiet", common.quiet, "no progress bar");
    app.add_flag("--progress", common.progress, "show the progress bar from the start, on a terminal or not");
    app.add_flag("--timing", common.timing, "print the time of each step");
    app.add_flag("-v,--verbose", verbose, "show the library's trace lines on standard error");
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

    const std::vector<std::string> procedures(std::begin(brell::gl::kProcedures), std::end(brell::gl::kProcedures));
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

    CutRequest cutting;
    std::string lasso, cutSize = "800x600";
    CLI::App* cut = app.add_subcommand("cut", "cuts the scan data under a lasso away, as brell render frames it");
    cut->add_option("IN", in, "scene or scan file")->required();
    cut->add_option("-o,--output", out, "the scene or scan file to write")->required();
    cut->add_option("--size", cutSize, "window size WxH the lasso is drawn in (default 800x600)");
    cut->add_option("--view", view, "viewing direction: front, back, left, right, top, bottom or x,y,z");
    cut->add_option("--lasso", lasso, "the lasso's corners in window pixels: x1,y1,x2,y2,...")->required();
    cut->add_flag("--keep-inside", cutting.keepInside, "keep what is inside the lasso and cut the rest");

    ViewRequest viewing;
    std::string viewSize = "1024x768";
    CLI::App* viewer = app.add_subcommand("view", "a window on a scene or scan file, for looking and cutting");
    viewer->add_option("FILE", in, "scene or scan file")->required();
    viewer->add_option("-o,--output", out, "where Ctrl+S saves, a scene or scan file (default: FILE)");
    viewer->add_option("--size", viewSize, "window size WxH (default 1024x768)");
    viewer->add_option("--mode", viewing.mode, "geometry of the scan data: " + CLI::detail::join(procedures))
        ->check(CLI::IsMember(procedures));
    viewer->add_option("--replay", viewing.replay, "play the input events of this file, then end");

    try {
        app.parse(argc, argv);
        if (viewer->parsed() && !ParseSize(viewSize, viewing.width, viewing.height))
            throw CLI::ValidationError("--size", "expected WxH between 1x1 and 8192x8192, found \"" + viewSize + "\"");
        if (viewer->parsed() && !out.empty() && std::filesystem::path(out).extension() != ".scene")
            CheckOutputName(out, "");
        if (cut->parsed() && !ParseSize(cutSize, cutting.width, cutting.height))
            throw CLI::ValidationError("--size", "expected WxH between 1x1 and 8192x8192, found \"" + cutSize + "\"");
        if (const std::string wanted = cut->parsed() ? ParseView(view, cutting.direction) : ""; !wanted.empty())
            throw CLI::ValidationError("--view", "expected " + wanted + ", found \"" + view + "\"");
        if (cut->parsed() && !ParseLasso(lasso, cutting.lasso))
            throw CLI::ValidationError("--lasso",
                                       "expected x1,y1,x2,y2,... of three corners or more, found \"" + lasso + "\"");
        if (cut->parsed() && std::filesystem::path(out).extension() != ".scene") CheckOutputName(out, "");
        if (render->parsed() && !ParseSize(size, request.width, request.height))
            throw CLI::ValidationError("--size", "expected WxH between 1x1 and 8192x8192, found \"" + size + "\"");
        if (const std::string wanted = render->parsed() ? ParseView(view, request.direction) : ""; !wanted.empty())
            throw CLI::ValidationError("--view", "expected " + wanted + ", found \"" + view + "\"");
        if (import->parsed() || calc->parsed()) CheckOutputName(out, ".scene");
        if (exporter->parsed()) CheckOutputName(out, "");
        if (render->parsed()) CheckOutputName(out, ".png");
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        const std::vector<std::string> left = app.remaining();
        if (app.get_subcommands().empty() && !left.empty())
            return Fail(kUsage, "unknown subcommand \"" + left.front() +
                                    "\": expected info, list, import, export, calc, render, cut or view");
        return Fail(kUsage, error.what());
    }
    if (verbose) ShowLibraryTrace(argv);
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
        if (viewer->parsed()) {
            viewing.in = in;
            viewing.out = out;
            return View(common, viewing);
        }
        if (cut->parsed()) {
            cutting.in = in;
            cutting.out = out;
            Cut(common, cutting);
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
