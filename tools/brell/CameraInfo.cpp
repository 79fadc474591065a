#include "Commands.h"

#include "CameraImage.h"

#include <brelldata/io/CameraFile.h>
#include <brelldata/io/FileError.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace brell::tool {

namespace {

// What the library reads for a header: its blocks, and the bytes it takes.
struct Blocks {
    int64_t header = 0;
    int32_t size3d = 0;
    int32_t size2d = 0;
    int64_t fileBytes = 0;  // 0 when the reader takes no block
};

Blocks FirstLayout(const CAMERAHEADER& h)
{
    return {sizeof h, CameraBlockSize3d(h), CameraBlockSize2d(h), CameraFileBytes(h)};
}

Blocks SecondLayout(const KAMERAHEADER& h)
{
    return {sizeof h, KameraBlockSize3d(h), KameraBlockSize2d(h), CameraFileBytes(h)};
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
    const CAMERAHEADER first = io::ReadCameraRecord<CAMERAHEADER>(path);
    const KAMERAHEADER second = io::ReadCameraRecord<KAMERAHEADER>(path);
    const Blocks firstBlocks = FirstLayout(first), secondBlocks = SecondLayout(second);
    if (layout == CameraLayout::automatic)
        layout = io::CameraFileLayoutOf(path) == CameraFileLayout::first ? CameraLayout::first : CameraLayout::second;
    const Blocks& blocks = layout == CameraLayout::first ? firstBlocks : secondBlocks;
    if (blocks.fileBytes == 0) throw io::FileError::InFile(path, "a plausible camera header", "one that is not");
    if (fileBytes < static_cast<uint64_t>(blocks.fileBytes))
        throw io::FileError::InFile(path, std::to_string(blocks.fileBytes) + " bytes as its header describes",
                                    std::to_string(fileBytes) + " bytes");

    std::printf("%s: camera data file of %ju bytes, %s layout (%lld-byte header)\n", path.c_str(),
                static_cast<uintmax_t>(fileBytes), layout == CameraLayout::first ? "first" : "second",
                static_cast<long long>(blocks.header));
    if (layout == CameraLayout::first)
        PrintFirstHeader(first);
    else
        PrintPlanes(second);
    const int64_t size2d = blocks.size2d > 0 ? blocks.size2d : 0;
    std::printf("3-D block: %lld bytes at %lld\n2-D block: %lld bytes at %lld\n", static_cast<long long>(blocks.size3d),
                static_cast<long long>(blocks.header), static_cast<long long>(size2d),
                static_cast<long long>(blocks.header + blocks.size3d));
    if (fileBytes > static_cast<uint64_t>(blocks.fileBytes))
        std::printf("after the blocks: %lld bytes\n", static_cast<long long>(fileBytes - blocks.fileBytes));
}

}  // namespace brell::tool
