#include "DemoSections.h"

#include <brelldata/camera/CameraData.h>
#include <brelldata/camera/KameraData.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

constexpr int kWidth = 320, kHeight = 240;

// Every pixel's bytes rise from 0 at the left edge to 255 at the right.
void FillRamp(unsigned char* block, int bytesPerPixel)
{
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            std::memset(block + (y * kWidth + x) * bytesPerPixel, x * 255 / (kWidth - 1), bytesPerPixel);
}

// Red and white squares of 40 pixels, three bytes a pixel.
void FillCheckers(unsigned char* image)
{
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            bool white = (x / 40 + y / 40) % 2 != 0;
            unsigned char* pixel = image + (y * kWidth + x) * 3;
            pixel[0] = 255;
            pixel[1] = pixel[2] = white ? 255 : 40;
        }
}

template <class Header>
void SetPlanes(Header& header, int pitchBits)
{
    std::memset(&header, 0, sizeof header);
    header.pitchPlaneWidth = header.colorPlaneWidth = kWidth;
    header.pitchPlaneHeight = header.colorPlaneHeight = kHeight;
    header.pitchPlaneNumber = header.colorPlaneNumber = 1;
    header.pitchPlanePixelBits = static_cast<uint16_t>(pitchBits);
    header.colorPlanePixelBits = 24;
    header.pitchOfPixels[0] = header.pitchOfPixels[1] = 0.25f;
}

template <class Shot>
void WriteAndReadBack(const char* layout, const std::string& path, Shot& shot)
{
    std::printf("%s: writing %s, then reading it back\n", layout, path.c_str());
    std::fflush(stdout);
    CFile out(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive store(&out, CArchive::store);
    store << shot;
    store.Close();
    out.Close();

    Shot copy;
    CFile in(path.c_str(), CFile::modeRead);
    CArchive load(&in, CArchive::load);
    load >> copy;
    bool same = copy.length3D == shot.length3D && copy.length2D == shot.length2D &&
                std::memcmp(copy.data3D, shot.data3D, static_cast<size_t>(shot.length3D)) == 0 &&
                std::memcmp(copy.data2D, shot.data2D, static_cast<size_t>(shot.length2D)) == 0;
    std::printf("  file of %llu bytes: header, 3-D block of %d, 2-D block of %d; blocks read back the same: %s\n",
                static_cast<unsigned long long>(in.GetLength()), copy.length3D, copy.length2D, same ? "yes" : "NO");
    std::fflush(stdout);
}

}  // namespace

void ShowCameraFiles()
{
    char folder[] = "/tmp/brelldemo-XXXXXX";
    if (mkdtemp(folder) == nullptr) {
        std::perror("no temporary folder for the camera files");
        return;
    }
    const std::string first = std::string(folder) + "/shot.cam", second = std::string(folder) + "/shot.kam";

    CAMERADATA shot;
    SetPlanes(shot.header, 16);
    std::memcpy(shot.header.version, "DEMO", 4);
    shot.header.focalLength = 12.5f;
    shot.Allocate3dData(kWidth * kHeight * 2);
    shot.Allocate2dData(kWidth * kHeight * 3);
    FillRamp(shot.data3D, 2);
    FillCheckers(shot.data2D);
    std::puts("the first layout lists its header on the diagnostic output (stderr) when written and read:");
    WriteAndReadBack("first layout", first, shot);

    // Nine bytes a pitch pixel; the 2-D block carries 3840 bytes past its image.
    KAMERADATA kamera;
    SetPlanes(kamera.header, 16);
    kamera.Allocate3dData_K(kWidth * kHeight * 9);
    kamera.Allocate2dData_K(kWidth * kHeight * 3 + 3840);
    FillRamp(kamera.data3D, 9);
    std::memset(kamera.data2D, 0, static_cast<size_t>(kamera.length2D));
    FillCheckers(kamera.data2D);
    WriteAndReadBack("second layout", second, kamera);

    std::remove(first.c_str());
    std::remove(second.c_str());
    rmdir(folder);
}
