#include <brelldata/camera/KameraData.h>

#include "camera/Shot.h"

#include <cstring>

using namespace brell::camera;

namespace {

// The 3-D array holds four times its recorded length.
constexpr size_t k3dArrayFactor = 4;
// Bytes the 2-D block carries beyond its colour planes.
constexpr int32_t k2dExtraBytes = 3840;

}  // namespace

KAMERADATA::KAMERADATA() : data3D(nullptr), data2D(nullptr), reserved(0), length3D(0), length2D(0) {}

KAMERADATA::KAMERADATA(const KAMERADATA& other) : KAMERADATA()
{
    *this = other;
}

KAMERADATA& KAMERADATA::operator=(const KAMERADATA& other)
{
    if (this == &other) return *this;
    header = other.header;
    reserved = other.reserved;
    CopyBlock(other.data3D, other.length3D, k3dArrayFactor, data3D, length3D);
    CopyBlock(other.data2D, other.length2D, 1, data2D, length2D);
    return *this;
}

KAMERADATA::~KAMERADATA()
{
    Delete3dData_K();
    Delete2dData_K();
}

int KAMERADATA::Allocate3dData_K(int n)
{
    return AllocateBlock(n, k3dArrayFactor, data3D, length3D);
}

int KAMERADATA::Allocate2dData_K(int n)
{
    return AllocateBlock(n, 1, data2D, length2D);
}

void KAMERADATA::Delete3dData_K()
{
    DeleteBlock(data3D, length3D);
}

void KAMERADATA::Delete2dData_K()
{
    DeleteBlock(data2D, length2D);
}

int CheckKameraHeader(KAMERAHEADER* header)
{
    return IsPlausible(header);
}

void ReverseOrder(K_DISTORTION& table)
{
    Reverse(table.words);
}

void ReverseOrder(K_CALIBTABLE& table)
{
    Reverse(table.words);
}

void ReverseOrder(KAMERAHEADER& h)
{
    ReverseEach(h.pitchPlaneWidth, h.pitchPlaneHeight, h.pitchPlaneNumber, h.pitchPlanePixelBits, h.colorPlaneWidth,
                h.colorPlaneHeight, h.colorPlaneNumber, h.colorPlanePixelBits, h.words40, h.halves48, h.words56,
                h.pitchOfPixels, h.words116, h.halves152, h.word160, h.half164, h.halves176, h.halves222);
    for (K_DISTORTION& table : h.distortions) ReverseOrder(table);
    for (K_CALIBTABLE& table : h.calibTables) ReverseOrder(table);
}

int32_t brell::KameraBlockSize3d(const KAMERAHEADER& h)
{
    return Wrap32(int64_t{h.pitchPlaneWidth} * h.pitchPlaneHeight * 9);
}

int32_t brell::KameraBlockSize2d(const KAMERAHEADER& h)
{
    return Wrap32(
        int64_t{PlaneBytes(h.colorPlanePixelBits, h.colorPlaneWidth, h.colorPlaneNumber, h.colorPlaneHeight)} +
        k2dExtraBytes);
}

namespace {

struct KameraLayout {
    static int Check(KAMERAHEADER& h) { return CheckKameraHeader(&h); }
    static int32_t Size3d(const KAMERAHEADER& h) { return brell::KameraBlockSize3d(h); }
    static int32_t Size2d(const KAMERAHEADER& h) { return brell::KameraBlockSize2d(h); }
    static int Allocate3d(KAMERADATA& shot, int n) { return shot.Allocate3dData_K(n); }
    static int Allocate2d(KAMERADATA& shot, int n) { return shot.Allocate2dData_K(n); }
    static void Release(KAMERADATA& shot)
    {
        shot.Delete2dData_K();
        shot.Delete3dData_K();
    }
    static void Empty(KAMERADATA& shot)
    {
        Release(shot);
        std::memset(&shot.header, 0, sizeof shot.header);
        shot.reserved = 0;
    }
};

}  // namespace

CArchive& operator>>(CArchive& archive, KAMERAHEADER& header)
{
    ReadHeader(archive, header);
    return archive;
}

CArchive& operator<<(CArchive& archive, const KAMERAHEADER& header)
{
    brell::diag::SetDebugLevel(kTraceLevel);
    KAMERAHEADER fileOrder = FileOrder(header);
    archive.Write(&fileOrder, sizeof fileOrder);
    return archive;
}

CArchive& operator>>(CArchive& archive, KAMERADATA& data)
{
    return ReadShot<KameraLayout>(archive, data);
}

CArchive& operator<<(CArchive& archive, KAMERADATA& data)
{
    brell::diag::SetDebugLevel(kTraceLevel);
    brell::diag::DebugTrace("Write camera header data:\n");
    brell::diag::SetDebugLevel(kTraceLevel);
    return WriteShot<KameraLayout>(archive, data);
}
