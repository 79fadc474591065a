// libFuzzer target for the camera data operators of one layout, named by
// BRELL_FUZZ_RECORD, reading from memory: any input is survived, and what is
// read never claims more bytes than its arrays were given. Both layouts hold
// each plane's size as big-endian 16-bit width, height, number and pixel bits.
#include <brelldata/camera/CameraData.h>
#include <brelldata/camera/KameraData.h>
#include <brelldata/platform/Archive.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

using Header = decltype(BRELL_FUZZ_RECORD::header);

// Shots whose plane sizes could ask for more than this are skipped: they take
// the same path as smaller ones, and arrays too large for AddressSanitizer's
// pooled allocator cost it fresh mappings and their shadow on every run.
constexpr uint64_t kLargestArrayTried = uint64_t{64} << 10;

// An upper bound of the arrays a header asks for, from its plane sizes; the
// reader takes the bytes of a short header as zero.
uint64_t LargestArray(const uint8_t* data, size_t size)
{
    const auto byte = [data, size](size_t offset) { return offset < size ? uint64_t{data[offset]} : 0; };
    const auto field = [byte](size_t offset) { return byte(offset) << 8 | byte(offset + 1); };
    uint64_t largest = 0;
    for (const size_t plane : {offsetof(Header, pitchPlaneWidth), offsetof(Header, colorPlaneWidth)}) {
        // The second layout's measurement block takes 9 bytes a pixel, 4 times over.
        const uint64_t bytesPerPixel = std::max<uint64_t>(field(plane + 4) * field(plane + 6) / 8 + 1, 36);
        largest = std::max(largest, field(plane) * field(plane + 2) * bytesPerPixel);
    }
    return largest;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (LargestArray(data, size) > kLargestArrayTried) return -1;
    std::vector<uint8_t> bytes(data, data + size);
    CMemFile file(bytes.data(), static_cast<unsigned int>(bytes.size()));
    CArchive archive(&file, CArchive::load);
    BRELL_FUZZ_RECORD shot;
    archive >> shot;
    if ((shot.length3D != 0 && shot.data3D == nullptr) || (shot.length2D != 0 && shot.data2D == nullptr)) std::abort();
    return 0;
}
