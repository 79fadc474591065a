#pragma once

// What both camera data layouts share: field byte-swapping, block sizes,
// owned arrays, and the reading and writing of a whole shot. Internal.

#include "diag/Diagnostic.h"

#include <brelldata/platform/Archive.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace brell::camera {

// Every camera operator sets this level for its trace lines and leaves it set.
constexpr int32_t kTraceLevel = 60;

template <class Field>
void Reverse(Field& field)
{
    static_assert(sizeof(Field) == 2 || sizeof(Field) == 4);
    if constexpr (sizeof(Field) == 2) {
        uint16_t bits;
        std::memcpy(&bits, &field, 2);
        bits = __builtin_bswap16(bits);
        std::memcpy(&field, &bits, 2);
    } else {
        uint32_t bits;
        std::memcpy(&bits, &field, 4);
        bits = __builtin_bswap32(bits);
        std::memcpy(&field, &bits, 4);
    }
}

template <class Field, size_t N>
void Reverse(Field (&fields)[N])
{
    for (Field& field : fields) Reverse(field);
}

template <class... Fields>
void ReverseEach(Fields&... fields)
{
    (Reverse(fields), ...);
}

// The plausibility test of both headers; 0 for null.
template <class Header>
int IsPlausible(const Header* h)
{
    return h != nullptr && h->pitchPlaneWidth <= 2000 && h->pitchPlaneHeight <= 2000 && h->pitchPlaneNumber <= 10 &&
           h->pitchPlanePixelBits <= 64 && !(h->pitchOfPixels[0] < 0.0f) && !(h->pitchOfPixels[1] < 0.0f);
}

// (pixel bits x width / 8) x number x height, wrapping as 32-bit arithmetic does.
int32_t PlaneBytes(int32_t pixelBits, int32_t width, int32_t number, int32_t height);
int32_t Wrap32(int64_t value);

// The array operations of both records; factor is the array's size in lengths.
int AllocateBlock(int n, size_t factor, unsigned char*& data, int32_t& length);
void CopyBlock(const unsigned char* from, int32_t fromLength, size_t factor, unsigned char*& data, int32_t& length);
void DeleteBlock(unsigned char*& data, int32_t& length);

template <class Header>
void ReadHeader(CArchive& archive, Header& header)
{
    diag::SetDebugLevel(kTraceLevel);
    std::memset(&header, 0, sizeof header);
    archive.Read(&header, sizeof header);
    ReverseOrder(header);
}

template <class Header>
Header FileOrder(const Header& header)
{
    Header copy = header;
    ReverseOrder(copy);
    return copy;
}

// False when the archive's file knows it has fewer than size bytes left, so
// that a header promising more than the file holds allocates nothing.
inline bool FileHolds(CArchive& archive, int32_t size)
{
    uint64_t remaining = 0;
    return !archive.GetRemaining(remaining) || remaining >= static_cast<uint64_t>(size);
}

// Layout supplies Check, Size3d, Size2d, Allocate3d, Allocate2d, Release and
// Empty (all zeros) for its record type. False after an error line.
template <class Layout, class Shot>
bool ReadBlocks(CArchive& archive, Shot& shot)
{
    if (!Layout::Check(shot.header)) {
        diag::DebugError("Error: The camera header data is error.\n");
        return false;
    }
    int32_t size3d = Layout::Size3d(shot.header);
    if (size3d <= 0) {
        diag::DebugError("Error: No 3D data in camera data.\n");
        return false;
    }
    diag::DebugTrace("Read 3D data in camera data( %d bytes )\n", size3d);
    if (!FileHolds(archive, size3d)) {
        diag::DebugError("Error: The file ends before the 3D data in camera data( %d bytes ).\n", size3d);
        return false;
    }
    if (!Layout::Allocate3d(shot, size3d)) {
        diag::DebugError("Error: No memory for 3D data in camera data( %d bytes ).\n", size3d);
        return false;
    }
    archive.Read(shot.data3D, static_cast<unsigned int>(size3d));
    int32_t size2d = Layout::Size2d(shot.header);
    if (size2d < 1) return true;
    diag::DebugTrace("Read 2D data in camera data( %d bytes )\n", size2d);
    if (!FileHolds(archive, size2d)) {
        diag::DebugError("Error: The file ends before the 2D data in camera data( %d bytes ).\n", size2d);
        return false;
    }
    if (!Layout::Allocate2d(shot, size2d)) {
        diag::DebugError("Error: No memory for 2D data in camera data( %d bytes ).\n", size2d);
        return false;
    }
    archive.Read(shot.data2D, static_cast<unsigned int>(size2d));
    return true;
}

template <class Layout, class Shot>
CArchive& ReadShot(CArchive& archive, Shot& shot)
{
    diag::SetDebugLevel(kTraceLevel);
    diag::DebugTrace("Clear 3d data and 2d data in Camera data.\n");
    Layout::Release(shot);
    diag::DebugTrace("Read camera header data:\n");
    archive >> shot.header;
    if (!ReadBlocks<Layout>(archive, shot)) Layout::Empty(shot);
    return archive;
}

// The bytes of a block to write: the size the header gives it when the array
// holds that many, else the array's recorded length.
inline int32_t BytesToWrite(int32_t headerSize, int32_t length)
{
    return headerSize > 0 && headerSize <= length ? headerSize : length;
}

// The blocks go out with the sizes the header gives them (Layout supplies
// Size3d and Size2d), so that a shot read writes back byte for byte and the
// bytes past a block in its rounded array never reach a file.
template <class Layout, class Shot>
CArchive& WriteShot(CArchive& archive, Shot& shot)
{
    archive << shot.header;
    if (shot.length3D > 0) {
        const int32_t bytes = BytesToWrite(Layout::Size3d(shot.header), shot.length3D);
        diag::DebugTrace("Write 3D data( %d bytes )\n", bytes);
        archive.Write(shot.data3D, static_cast<unsigned int>(bytes));
    }
    if (shot.length2D > 0) {
        const int32_t bytes = BytesToWrite(Layout::Size2d(shot.header), shot.length2D);
        diag::DebugTrace("Write 2D data( %d bytes )\n", bytes);
        archive.Write(shot.data2D, static_cast<unsigned int>(bytes));
    }
    return archive;
}

}  // namespace brell::camera
