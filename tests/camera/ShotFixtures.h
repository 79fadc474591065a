#pragma once

// Camera files built byte by byte, the two layouts as test parameters, and
// reading and writing shots through archives over memory.

#include "diag/Recording.h"
#include "support/Bytes.h"

#include <brelldata/camera/CameraData.h>
#include <brelldata/camera/KameraData.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace brell::test {

using Buffer = std::vector<uint8_t>;

struct Planes {
    uint16_t width, height, number, pixelBits;
};

// Bytes that ReverseOrder swaps in units of width: {offset, bytes, width}.
struct Run {
    size_t offset, bytes, width;
};

struct FirstLayout {
    using Shot = CAMERADATA;
    using Header = CAMERAHEADER;
    static constexpr size_t kHeaderBytes = 512, kPitchPlane = 4, kColorPlane = 12, kPitchOfPixels = 44;
    static constexpr size_t k3dArrayFactor = 1, kListingLines = 32;
    // Bytes up to the last one that the 3-D size depends on (pixel bits below 256).
    static constexpr size_t kSizeFieldsEnd = 12;
    // Block sizes of SmallFile and the length of its 3-D array; a 2-D block
    // without colour planes; planes giving no 3-D block; colour planes whose
    // 2-D block cannot be had.
    static constexpr int32_t kSmall3d = 40, kSmall3dArray = 48, kSmall2d = 16, kEmpty2d = 0;
    static constexpr Planes kNo3d = {1, 4, 2, 4}, kHuge2d = {51491, 20853, 2, 8};
    static constexpr int32_t kHuge2dBytes = 2147483646;
    static constexpr Run kRuns[] = {{4, 16, 2},  {20, 8, 4},  {28, 4, 2},  {32, 92, 4},
                                    {126, 6, 2}, {132, 4, 4}, {136, 2, 2}, {256, 224, 4}};
    static int Check(Header* header) { return CheckCameraHeader(header); }
    static int Allocate3d(Shot& shot, int n) { return shot.Allocate3dData(n); }
    static int Allocate2d(Shot& shot, int n) { return shot.Allocate2dData(n); }
    static int32_t Reserved(const Shot&) { return 0; }
};

struct SecondLayout {
    using Shot = KAMERADATA;
    using Header = KAMERAHEADER;
    static constexpr size_t kHeaderBytes = 1024, kPitchPlane = 24, kColorPlane = 32, kPitchOfPixels = 108;
    static constexpr size_t k3dArrayFactor = 4, kListingLines = 0;
    static constexpr size_t kSizeFieldsEnd = 28;
    static constexpr int32_t kSmall3d = 135, kSmall3dArray = 144, kSmall2d = 3856, kEmpty2d = 3840;
    static constexpr Planes kNo3d = {0, 4, 2, 16}, kHuge2d = {15313, 12749, 11, 8};
    static constexpr int32_t kHuge2dBytes = 2147483647;
    static constexpr Run kRuns[] = {{24, 16, 2}, {40, 8, 4},   {48, 8, 2},  {56, 96, 4},  {152, 8, 2},  {160, 4, 4},
                                    {164, 2, 2}, {176, 10, 2}, {222, 4, 2}, {316, 80, 4}, {512, 512, 4}};
    static int Check(Header* header) { return CheckKameraHeader(header); }
    static int Allocate3d(Shot& shot, int n) { return shot.Allocate3dData_K(n); }
    static int Allocate2d(Shot& shot, int n) { return shot.Allocate2dData_K(n); }
    static int32_t Reserved(const Shot& shot) { return shot.reserved; }
};

// Bytes that differ from their neighbours and from their offsets' low bytes.
inline Buffer Pattern(size_t size, uint8_t seed)
{
    Buffer bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + seed);
    return bytes;
}

inline void Put(Buffer& file, size_t offset, const Bytes& field)
{
    std::memcpy(file.data() + offset, field.Data().data(), field.Data().size());
}

// A file header of the layout: patterned, with these planes and pitch of pixels values.
template <class Layout>
Buffer HeaderBytes(Planes pitch, Planes color, float pitchOfPixels1 = 0.25f, float pitchOfPixels2 = 0.5f)
{
    Buffer header = Pattern(Layout::kHeaderBytes, 1);
    for (auto [offset, p] : {std::pair{Layout::kPitchPlane, pitch}, std::pair{Layout::kColorPlane, color}})
        Put(header, offset, Bytes().Be16(p.width).Be16(p.height).Be16(p.number).Be16(p.pixelBits));
    Put(header, Layout::kPitchOfPixels, Bytes().BeF32(pitchOfPixels1).BeF32(pitchOfPixels2));
    return header;
}

// Pitch 3 x 5, two planes of 12 bits, whose 3-D block is no multiple of 16 bytes
// in either layout; colour 4 x 4, one plane of 8 bits.
constexpr Planes kSmallPitch = {3, 5, 2, 12}, kSmallColor = {4, 4, 1, 8};

inline Buffer Join(std::initializer_list<Buffer> parts)
{
    Buffer joined;
    for (const Buffer& part : parts) joined.insert(joined.end(), part.begin(), part.end());
    return joined;
}

template <class Layout>
Buffer SmallFile()
{
    return Join(
        {HeaderBytes<Layout>(kSmallPitch, kSmallColor), Pattern(Layout::kSmall3d, 5), Pattern(Layout::kSmall2d, 9)});
}

template <class Record>
Buffer ImageOf(const Record& record)
{
    const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
    return Buffer(bytes, bytes + sizeof record);
}

// A device that, like a pipe, does not know how many bytes it has left.
class StreamFile : public CFile {
public:
    explicit StreamFile(const Buffer& bytes) : bytes_(bytes) {}
    unsigned int Read(void* buffer, unsigned int count) override
    {
        const auto n = static_cast<unsigned int>(std::min<size_t>(count, bytes_.size() - position_));
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(position_), n, static_cast<uint8_t*>(buffer));
        position_ += n;
        return n;
    }

private:
    const Buffer& bytes_;
    size_t position_ = 0;
};

// Where ReadShot reads from: memory, whose length the reader may ask, or a stream.
enum class Device { memory, stream };

// Reads a shot or a header from exactly the file's bytes, so that a read past them is caught.
template <class Shot>
void ReadShot(const Buffer& file, Shot& shot, Device device = Device::memory)
{
    Buffer bytes(file);
    CMemFile memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
    StreamFile stream(bytes);
    CArchive archive(device == Device::memory ? static_cast<CFile*>(&memory) : &stream, CArchive::load);
    archive >> shot;
}

template <class Shot>
Buffer WriteShot(Shot& shot)
{
    CMemFile memory;
    CArchive archive(&memory, CArchive::store);
    archive << shot;
    archive.Close();
    auto size = static_cast<size_t>(memory.GetLength());
    uint8_t* bytes = memory.Detach();
    Buffer file(bytes, bytes + size);
    std::free(bytes);
    return file;
}

template <class Layout>
void ExpectEmpty(const typename Layout::Shot& shot)
{
    EXPECT_EQ(std::tuple(ImageOf(shot.header), shot.data3D, shot.data2D),
              std::tuple(Buffer(Layout::kHeaderBytes, 0), nullptr, nullptr));
    EXPECT_EQ(shot.length3D + shot.length2D + Layout::Reserved(shot), 0);
}

}  // namespace brell::test
