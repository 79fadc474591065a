#include <brelldata/camera/CameraLayout.h>

namespace brell {

namespace {

template <class Header>
int64_t FileBytes(Header header, int (*check)(Header*), int32_t size3d, int32_t size2d)
{
    if (!check(&header) || size3d <= 0) return 0;
    return int64_t{sizeof(Header)} + size3d + (size2d > 0 ? size2d : 0);
}

}  // namespace

int64_t CameraFileBytes(const CAMERAHEADER& header)
{
    return FileBytes(header, CheckCameraHeader, CameraBlockSize3d(header), CameraBlockSize2d(header));
}

int64_t CameraFileBytes(const KAMERAHEADER& header)
{
    return FileBytes(header, CheckKameraHeader, KameraBlockSize3d(header), KameraBlockSize2d(header));
}

CameraFileLayout DetectCameraLayout(const CAMERAHEADER& first, const KAMERAHEADER& second, uint64_t fileBytes)
{
    const auto describes = [fileBytes](int64_t bytes) { return bytes > 0 && static_cast<uint64_t>(bytes) == fileBytes; };
    if (describes(CameraFileBytes(first))) return CameraFileLayout::first;
    if (describes(CameraFileBytes(second))) return CameraFileLayout::second;
    return CameraFileLayout::none;
}

}  // namespace brell
