// The whole road of a range scan: a scan file is imported into a scene, the
// camera image of its shot becomes the mesh's texture, the reference
// procedures calculate its geometry, the reference renderer draws it into a
// PNG file, and the scene is saved, read back and listed.
//
//   brellroad FOLDER [SCAN]
//
// Without SCAN it first makes a scan of its own in FOLDER: a vase as a
// scanner would record it, a PLY mesh with texture coordinates and a camera
// data file whose colour block is the photograph of its painted surface.

#include "CameraImage.h"
#include "SceneFiles.h"

#include <brelldata/camera/CameraData.h>
#include <brelldata/core/Tree.h>
#include <brelldata/gl/Picture.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/ModelNodes.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kImageWidth = 320, kImageHeight = 240;
constexpr int kRings = 160, kAround = 240;

// A small, fixed noise in -1 .. 1, as a scanner's measurements have.
double Noise(int i, int j)
{
    uint32_t h = static_cast<uint32_t>(i) * 73856093u ^ static_cast<uint32_t>(j) * 19349663u;
    h = (h ^ (h >> 13)) * 1274126177u;
    return static_cast<double>(h & 0xffff) / 32767.5 - 1.0;
}

// The vase's radius at height t, 0 at its foot and 1 at its lip.
double Radius(double t)
{
    const double belly = std::exp(-std::pow((t - 0.38) / 0.24, 2.0));
    const double lip = std::exp(-std::pow((t - 1.0) / 0.07, 2.0));
    return 0.16 + 0.34 * belly + 0.1 * lip + 0.04 * (1.0 - t);
}

// Rings of the vase's surface joined into quadrilaterals, each corner with
// its place in the photograph (u around, v down from the lip).
brell::io::ScanGeometry MakeVase()
{
    brell::io::ScanGeometry vase;
    for (int ring = 0; ring < kRings; ++ring) {
        const double t = static_cast<double>(ring) / (kRings - 1);
        for (int step = 0; step < kAround; ++step) {
            const double angle = 2.0 * kPi * step / kAround;
            const double r = Radius(t) + 0.0015 * Noise(ring, step);
            vase.positions.push_back({r * std::sin(angle), 1.6 * t - 0.8, r * std::cos(angle)});
        }
    }
    for (int ring = 0; ring + 1 < kRings; ++ring) {
        const float v0 = 1.0f - static_cast<float>(ring) / (kRings - 1);
        const float v1 = 1.0f - static_cast<float>(ring + 1) / (kRings - 1);
        for (int step = 0; step < kAround; ++step) {
            const int next = (step + 1) % kAround;
            const float u0 = static_cast<float>(step) / kAround, u1 = static_cast<float>(step + 1) / kAround;
            const int a = ring * kAround + step, b = ring * kAround + next;
            vase.faces.push_back({{a, b, b + kAround, a + kAround}, 4});
            vase.texCoords.push_back({{{u0, v0}, {u1, v0}, {u1, v1}, {u0, v1}}, 4});
        }
    }
    return vase;
}

// The painted surface: terracotta with black bands, a wave and a zigzag.
void Paint(unsigned char* pixel, int x, int y)
{
    const double u = static_cast<double>(x) / kImageWidth, v = static_cast<double>(y) / kImageHeight;
    bool black = false;
    for (double band : {0.06, 0.3, 0.64, 0.9}) black = black || (v >= band && v < band + 0.035);
    if (v > 0.1 && v < 0.3) black = black || v > 0.2 + 0.06 * std::sin(u * 2.0 * kPi * 9.0);
    if (v > 0.335 && v < 0.64) {
        const double fraction = u * 14.0 - std::floor(u * 14.0);
        black = black || std::fabs(fraction - 0.5) * 2.0 < (v - 0.335) / 0.305 - 0.15;
    }
    const double light = 0.92 + 0.08 * std::sin(x * 0.21) * std::cos(y * 0.17);
    const double base[3] = {black ? 28.0 : 201.0, black ? 22.0 : 104.0, black ? 20.0 : 54.0};
    for (int c = 0; c < 3; ++c) pixel[c] = static_cast<unsigned char>(std::fmin(base[c] * light, 255.0));
}

// A shot of the first layout: range values in the 3-D block and the
// photograph, three bytes a pixel, in the 2-D block.
void WriteShot(const std::string& path)
{
    CAMERADATA shot;
    std::memset(&shot.header, 0, sizeof shot.header);
    std::memcpy(shot.header.version, "VASE", 4);
    shot.header.pitchPlaneWidth = shot.header.colorPlaneWidth = kImageWidth;
    shot.header.pitchPlaneHeight = shot.header.colorPlaneHeight = kImageHeight;
    shot.header.pitchPlaneNumber = shot.header.colorPlaneNumber = 1;
    shot.header.pitchPlanePixelBits = 16;
    shot.header.colorPlanePixelBits = 24;
    shot.header.pitchOfPixels[0] = shot.header.pitchOfPixels[1] = 0.25f;
    shot.Allocate3dData(kImageWidth * kImageHeight * 2);
    shot.Allocate2dData(kImageWidth * kImageHeight * 3);
    for (int y = 0; y < kImageHeight; ++y)
        for (int x = 0; x < kImageWidth; ++x) {
            const double range = 1000.0 * (1.0 - Radius(1.0 - static_cast<double>(y) / kImageHeight));
            const uint16_t value = static_cast<uint16_t>(range);
            std::memcpy(shot.data3D + (y * kImageWidth + x) * 2, &value, 2);
            Paint(shot.data2D + (y * kImageWidth + x) * 3, x, y);
        }
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive archive(&file, CArchive::store);
    archive << shot;
    archive.Close();
    file.Close();
}

// The first mesh of the scene's first element; null when there is none.
CMeshNode* FirstMesh(CTree& scene)
{
    CElementNode* element = GetElement(0, &scene);
    return element != nullptr && element->MeshNumber() > 0 ? element->GetMesh(0) : nullptr;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: brellroad FOLDER [SCAN]\n");
        return 2;
    }
    const std::filesystem::path folder = std::filesystem::absolute(argv[1]);
    try {
        std::filesystem::create_directories(folder);
        std::string scan = argc == 3 ? argv[2] : (folder / "vase.ply").string();
        const std::string shot = (folder / "vase.cam").string();
        if (argc == 2) {
            brell::io::WriteScanFile(MakeVase(), scan);
            WriteShot(shot);
            std::printf("made a scan:     %s and its camera shot %s\n", scan.c_str(), shot.c_str());
        }

        CTree scene(brell::io::ImportScan(scan));
        CMeshNode* mesh = FirstMesh(scene);
        if (argc == 2 && mesh != nullptr) {
            CRefData<CMatrixDataStore<RGBA>> photograph = brell::tool::ReadCameraImage(shot);
            mesh->AppendImage(photograph);
        }
        const bool textured = mesh != nullptr && mesh->ImageNumber() > 0;
        std::printf("imported:        %s\n", scan.c_str());

        CBaseNode* geometry = CBaseNode::Create();
        geometry->SetName(textured ? "geometry: texture" : "geometry: smooth");
        scene.Root()->AppendChild(geometry);
        brell::gl::CalculateGeometry(scene.Root(),
                                     textured ? brell::gl::kTextureProcedure : brell::gl::kSmoothProcedure, geometry);
        std::printf("geometry:        %s by the reference procedures\n", textured ? "textured" : "smooth shaded");

        const std::string picture = (folder / "scan.png").string();
        brell::gl::RenderOptions options;
        options.width = 1024;
        options.height = 768;
        options.direction = {0.0, -0.4, -1.0};
        brell::gl::RenderToPng(geometry, options, picture);

        const std::string saved = (folder / "scan.scene").string();
        brell::tool::SaveSceneFile(scene.Root(), saved);
        CTree loaded(brell::tool::LoadSceneFile(saved));
        std::printf("scene saved:     %s, read back:\n", saved.c_str());
        std::fputs(brell::io::SceneListing(loaded.Root()).c_str(), stdout);
        std::printf("\nThe picture is %s\n", picture.c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "brellroad: %s\n", error.what());
        return 1;
    }
    return 0;
}
