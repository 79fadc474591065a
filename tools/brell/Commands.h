#pragma once

#include <brelldata/data/Records.h>
#include <brelldata/platform/Region.h>

#include <string>
#include <vector>

// The brell tool's subcommands. Each returns normally on success and throws
// brell::io::FileError, CFileException or brell::gl::RenderError for a file
// it cannot read, understand or write.

namespace brell::tool {

// What a file is taken for: automatic goes by its name and first bytes (.ply,
// .off, .obj and .xyz are scans; .scene, or a scene file's magic, a scene;
// anything else a camera data file).
enum class FileKind { automatic, scene, scan, camera };
// Camera data file layouts: automatic goes by the file's size.
enum class CameraLayout { automatic, first, second };

struct Common {
    FileKind kind = FileKind::automatic;
    bool quiet = false;
    // The bar from the start, whether standard error is a terminal or not.
    bool progress = false;
    // A table of the time each step took, after the command's output.
    bool timing = false;
};

void Info(const Common& common, const std::string& path, CameraLayout layout);
void List(const Common& common, const std::string& path);
void Import(const Common& common, const std::string& in, const std::string& out);
void Export(const Common& common, const std::string& in, const std::string& out, bool ascii);
void Calc(const Common& common, const std::string& in, const std::string& procedure, const std::string& out);

struct RenderRequest {
    std::string in;
    std::string out;
    int width = 1024;
    int height = 768;
    // The geometry procedure that draws the scene's scan data; empty for the
    // one calc used, else texture when the scene has images, else smooth. A
    // scene of geometry alone is drawn as it is.
    std::string mode;
    CVector_3<double> direction{0.0, 0.0, -1.0};
};
void Render(const Common& common, const RenderRequest& request);

struct CutRequest {
    std::string in;
    std::string out;
    int width = 800;
    int height = 600;
    CVector_3<double> direction{0.0, 0.0, -1.0};
    // Window pixels of the lasso's corners, as brell render frames the scene.
    std::vector<POINT> lasso;
    bool keepInside = false;
};
// Cuts the scan data under the lasso (or, with keepInside, outside it) and
// saves the rest as a scene or scan file, by out's extension.
void Cut(const Common& common, const CutRequest& request);

struct ViewRequest {
    std::string in;
    // Where Ctrl+S saves, as a scene or scan file by its extension; in by default.
    std::string out;
    int width = 1024;
    int height = 768;
    std::string mode;
    std::string replay;
};
// Opens the viewer's window on a scene or scan file; its exit status.
int View(const Common& common, const ViewRequest& request);

// The camera data file at path, a regular file, described on standard output.
void CameraInfo(const std::string& path, CameraLayout layout);

}  // namespace brell::tool
