#include <brelldata/io/CameraFile.h>

#include <brelldata/io/FileError.h>

#include <cstdint>

namespace brell::io {

CameraFileLayout CameraFileLayoutOf(const std::string& path)
{
    uint64_t fileBytes = 0;
    {
        CFile file(path.c_str(), CFile::modeRead);
        fileBytes = file.GetLength();
    }
    const CameraFileLayout layout =
        DetectCameraLayout(ReadCameraRecord<CAMERAHEADER>(path), ReadCameraRecord<KAMERAHEADER>(path), fileBytes);
    if (layout == CameraFileLayout::none)
        throw FileError::InFile(path, "a camera data file whose header and blocks make up its size",
                                std::to_string(fileBytes) + " bytes that fit neither layout");
    return layout;
}

}  // namespace brell::io
