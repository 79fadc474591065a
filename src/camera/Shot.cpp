#include "camera/Shot.h"

#include <cstdint>
#include <new>

namespace brell::camera {

int32_t Wrap32(int64_t value)
{
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

int32_t PlaneBytes(int32_t pixelBits, int32_t width, int32_t number, int32_t height)
{
    int32_t row = Wrap32(int64_t{pixelBits} * width) / 8;
    return Wrap32(int64_t{Wrap32(int64_t{row} * number)} * height);
}

int AllocateBlock(int n, size_t factor, unsigned char*& data, int32_t& length)
{
    if (n < 1) return 0;
    if (n < length) return 1;
    DeleteBlock(data, length);
    // A length past the 32-bit range cannot be recorded, so it cannot be had.
    int64_t rounded = (int64_t{n} + 15) / 16 * 16;
    if (rounded > INT32_MAX) return 0;
    data = new (std::nothrow) unsigned char[static_cast<size_t>(rounded) * factor];
    if (data != nullptr) length = static_cast<int32_t>(rounded);
    return length != 0;
}

void CopyBlock(const unsigned char* from, int32_t fromLength, size_t factor, unsigned char*& data, int32_t& length)
{
    DeleteBlock(data, length);
    if (from == nullptr || fromLength <= 0) return;
    size_t bytes = static_cast<size_t>(fromLength) * factor;
    data = new (std::nothrow) unsigned char[bytes];
    if (data == nullptr) return;
    std::memcpy(data, from, bytes);
    length = fromLength;
}

void DeleteBlock(unsigned char*& data, int32_t& length)
{
    delete[] data;
    data = nullptr;
    length = 0;
}

}  // namespace brell::camera
