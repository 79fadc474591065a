// libFuzzer target for the camera data operators of one layout, named by
// BRELL_FUZZ_RECORD, reading from memory: any input is survived, and what is
// read never claims more bytes than its arrays were given.
#include <brelldata/camera/CameraData.h>
#include <brelldata/camera/KameraData.h>
#include <brelldata/platform/Archive.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::vector<uint8_t> bytes(data, data + size);
    CMemFile file(bytes.data(), static_cast<unsigned int>(bytes.size()));
    CArchive archive(&file, CArchive::load);
    BRELL_FUZZ_RECORD shot;
    archive >> shot;
    if ((shot.length3D != 0 && shot.data3D == nullptr) || (shot.length2D != 0 && shot.data2D == nullptr)) std::abort();
    return 0;
}
