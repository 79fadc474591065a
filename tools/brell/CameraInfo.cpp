#include "Commands.h"

#include <brelldata/camera/CameraData.h>
#include <brelldata/camera/KameraData.h>
#include <brelldata/io/FileError.h>

#include <cstdint>
#include <cstdio>
#include <string>

// Camera data files carry no magic: the layout is the one whose header is
// plausible and whose header and blocks add up to the file's size.

namespace brell::tool {

namespace {

// The second layout's 2-D block carries this much past its planes.
constexpr int64_t kKameraExtra2d = 3840;

int64_t PlaneBytes(int64_t bits, int64_t width, int64_t number, int64_t height)
{
    return bits * width / 8 * number * height;
}

struct Blocks {
    bool plausible = false;
    int64_t header = 0;
    int64_t size3d = 0;
    int64_t size2d = 0;
    int64_t Total() const { return header + size3d + size2d; }
};

template <class Header>
Header ReadHeader(const std::string& path)
{
    CFile file(path.c_str(), CFile::modeRead);
    CArchive archive(&file, CArchive::load);
    Header header;
    archive >> header;
    return header;
}

Blocks FirstLayout(const CAMERAHEADER& h)
{
    CAMERAHEADER copy = h;
    return {CheckCameraHeader(&copy) != 0, 512,
            PlaneBytes(h.pitchPlanePixelBits, h.pitchPlaneWidth, h.pitchPlaneNumber, h.pitchPlaneHeight),
            PlaneBytes(h.colorPlanePixelBits, h.colorPlaneWidth, h.colorPlaneNumber, h.colorPlaneHeight)};
}

Blocks SecondLayout(const KAMERAHEADER& h)
{
    KAMERAHEADER copy = h;
    return {
        CheckKameraHeader(&copy) != 0, 1024, int64_t{h.pitchPlaneWidth} * h.pitchPlaneHeight * 9,
        PlaneBytes(h.colorPlanePixelBits, h.colorPlaneWidth, h.colorPlaneNumber, h.colorPlaneHeight) + kKameraExtra2d};
}

template <class Header>
void PrintPlanes(const Header& h)
{
    std::printf("pitch plane: %u x %u, %u plane(s) of %u bits\n", h.pitchPlaneWidth, h.pitchPlaneHeight,
                h.pitchPlaneNumber, h.pitchPlanePixelBits);
    std::printf("colour plane: %u x %u, %u plane(s) of %u bits\n", h.colorPlaneWidth, h.colorPlaneHeight,
                h.colorPlaneNumber, h.colorPlanePixelBits);
    std::printf("pitch of pixels: %g, %g\n", h.pitchOfPixels[0], h.pitchOfPixels[1]);
}

void PrintFirstHeader(const CAMERAHEADER& h)
{
    std::printf("version: \"%.4s\"\n", reinterpret_cast<const char*>(h.version));
    PrintPlanes(h);
    std::printf("date: %u\nfocal length: %g\nshooting mode: %s\n", h.date, h.focalLength,
                h.shootingMode == 0 ? "normal" : "calibration");
    std::printf("camera angle: %g, %g, %g\ncamera position: %g, %g, %g\n", h.cameraAngle[0], h.cameraAngle[1],
                h.cameraAngle[2], h.cameraPosition[0], h.cameraPosition[1], h.cameraPosition[2]);
    std::printf("stage: %d of %d at %g degrees\ngain: %u, laser power: %u\n", h.stageNumber, h.stageTotal, h.stageAngle,
                h.gain, h.laserPower);
}

}  // namespace

void CameraInfo(const std::string& path, CameraLayout layout)
{
    uint64_t fileBytes = 0;
    {
        CFile file(path.c_str(), CFile::modeRead);
        fileBytes = file.GetLength();
    }
    const CAMERAHEADER first = ReadHeader<CAMERAHEADER>(path);
    const KAMERAHEADER second = ReadHeader<KAMERAHEADER>(path);
    const Blocks firstBlocks = FirstLayout(first), secondBlocks = SecondLayout(second);
    if (layout == CameraLayout::automatic) {
        const auto fits = [fileBytes](const Blocks& b) {
            return b.plausible && b.size3d > 0 && static_cast<uint64_t>(b.Total()) == fileBytes;
        };
        if (fits(firstBlocks))
            layout = CameraLayout::first;
        else if (fits(secondBlocks))
            layout = CameraLayout::second;
        else
            throw io::FileError::InFile(path, "a camera data file whose header and blocks make up its size",
                                        std::to_string(fileBytes) + " bytes that fit neither layout");
    }
    const Blocks& blocks = layout == CameraLayout::first ? firstBlocks : secondBlocks;
    if (!blocks.plausible || blocks.size3d <= 0)
        throw io::FileError::InFile(path, "a plausible camera header", "one that is not");
    if (fileBytes < static_cast<uint64_t>(blocks.Total()))
        throw io::FileError::InFile(path, std::to_string(blocks.Total()) + " bytes as its header describes",
                                    std::to_string(fileBytes) + " bytes");

    std::printf("%s: camera data file of %ju bytes, %s layout (%lld-byte header)\n", path.c_str(),
                static_cast<uintmax_t>(fileBytes), layout == CameraLayout::first ? "first" : "second",
                static_cast<long long>(blocks.header));
    if (layout == CameraLayout::first)
        PrintFirstHeader(first);
    else
        PrintPlanes(second);
    std::printf("3-D block: %lld bytes at %lld\n2-D block: %lld bytes at %lld\n", static_cast<long long>(blocks.size3d),
                static_cast<long long>(blocks.header), static_cast<long long>(blocks.size2d),
                static_cast<long long>(blocks.header + blocks.size3d));
    if (fileBytes > static_cast<uint64_t>(blocks.Total()))
        std::printf("after the blocks: %lld bytes\n", static_cast<long long>(fileBytes - blocks.Total()));
}

}  // namespace brell::tool
