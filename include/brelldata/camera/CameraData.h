#pragma once

// Camera data files of the first layout: one scanner shot as a 512-byte
// header, then the raw 3-D measurement block, then the raw 2-D colour block,
// with nothing between or around them. Multi-byte fields are big-endian in
// the file and in host order in memory; the stream operators convert.

#include <brelldata/Export.h>
#include <brelldata/platform/Archive.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

// Fourteen 32-bit words that the library only byte-swaps.
struct CALIBTABLE {
    uint32_t words[14];
};

struct CAMERAHEADER {
    uint8_t version[4];  // not reversed
    uint16_t pitchPlaneWidth;
    uint16_t pitchPlaneHeight;
    uint16_t pitchPlaneNumber;
    uint16_t pitchPlanePixelBits;
    uint16_t colorPlaneWidth;
    uint16_t colorPlaneHeight;
    uint16_t colorPlaneNumber;
    uint16_t colorPlanePixelBits;
    uint32_t date;
    float focalLength;
    uint16_t referencePlane;
    uint16_t shootingMode;  // 0 normal, anything else calibration
    float principalPlane;
    float galvanoStart;
    float galvanoSpeed;
    float pitchOfPixels[2];
    float cameraAngle[3];  // X, Y, Z
    float cameraPosition[3];
    float projectionAngle[3];
    float projectionPosition[3];
    float pitchCcdCenter[2];  // u, v
    float colorCcdPitch[2];
    float colorCcdCenter[2];
    uint8_t pitchCcdPeak;
    uint8_t reserved1;
    int16_t fileMode;
    int16_t stageTotal;
    int16_t stageNumber;
    float stageAngle;
    int16_t temperatureData;
    uint8_t gain;
    uint8_t laserPower;
    uint8_t minimumPixel;  // in units of 8 pixels
    uint8_t h8RomVersion[7];
    uint8_t reserved2[108];
    CALIBTABLE calibTables[4];
    uint8_t reserved3[32];
};

// The memory image is the file image.
static_assert(sizeof(CALIBTABLE) == 56 && std::is_trivially_copyable_v<CALIBTABLE>);
static_assert(sizeof(CAMERAHEADER) == 512 && std::is_trivially_copyable_v<CAMERAHEADER>);
static_assert(offsetof(CAMERAHEADER, pitchPlaneWidth) == 4 && offsetof(CAMERAHEADER, pitchPlaneHeight) == 6 &&
              offsetof(CAMERAHEADER, pitchPlaneNumber) == 8 && offsetof(CAMERAHEADER, pitchPlanePixelBits) == 10 &&
              offsetof(CAMERAHEADER, colorPlaneWidth) == 12 && offsetof(CAMERAHEADER, colorPlaneHeight) == 14 &&
              offsetof(CAMERAHEADER, colorPlaneNumber) == 16 && offsetof(CAMERAHEADER, colorPlanePixelBits) == 18);
static_assert(offsetof(CAMERAHEADER, date) == 20 && offsetof(CAMERAHEADER, focalLength) == 24 &&
              offsetof(CAMERAHEADER, referencePlane) == 28 && offsetof(CAMERAHEADER, shootingMode) == 30 &&
              offsetof(CAMERAHEADER, principalPlane) == 32 && offsetof(CAMERAHEADER, galvanoStart) == 36 &&
              offsetof(CAMERAHEADER, galvanoSpeed) == 40 && offsetof(CAMERAHEADER, pitchOfPixels) == 44);
static_assert(offsetof(CAMERAHEADER, cameraAngle) == 52 && offsetof(CAMERAHEADER, cameraPosition) == 64 &&
              offsetof(CAMERAHEADER, projectionAngle) == 76 && offsetof(CAMERAHEADER, projectionPosition) == 88 &&
              offsetof(CAMERAHEADER, pitchCcdCenter) == 100 && offsetof(CAMERAHEADER, colorCcdPitch) == 108 &&
              offsetof(CAMERAHEADER, colorCcdCenter) == 116);
static_assert(offsetof(CAMERAHEADER, pitchCcdPeak) == 124 && offsetof(CAMERAHEADER, reserved1) == 125 &&
              offsetof(CAMERAHEADER, fileMode) == 126 && offsetof(CAMERAHEADER, stageTotal) == 128 &&
              offsetof(CAMERAHEADER, stageNumber) == 130 && offsetof(CAMERAHEADER, stageAngle) == 132 &&
              offsetof(CAMERAHEADER, temperatureData) == 136 && offsetof(CAMERAHEADER, gain) == 138 &&
              offsetof(CAMERAHEADER, laserPower) == 139 && offsetof(CAMERAHEADER, minimumPixel) == 140 &&
              offsetof(CAMERAHEADER, h8RomVersion) == 141 && offsetof(CAMERAHEADER, reserved2) == 148 &&
              offsetof(CAMERAHEADER, calibTables) == 256 && offsetof(CAMERAHEADER, reserved3) == 480);

// One shot. The record owns both arrays; a pointer is null exactly when its
// length is 0, and an allocated length is a multiple of 16.
class BRELL_API CAMERADATA {
public:
    CAMERAHEADER header;
    unsigned char* data3D;
    unsigned char* data2D;
    int32_t length3D;
    int32_t length2D;

    // No arrays; the header is left unset.
    CAMERADATA();
    // Both copy and assignment duplicate the arrays; an array that cannot be
    // had is left absent.
    CAMERADATA(const CAMERADATA& other);
    CAMERADATA& operator=(const CAMERADATA& other);
    ~CAMERADATA();

    // 0 for n below 1; n below the current length keeps the array. Otherwise a
    // new, uncleared array of n rounded up to a multiple of 16 bytes replaces
    // the old one; 0 when it cannot be had (the array is then absent).
    int Allocate3dData(int n);
    int Allocate2dData(int n);
    void Delete3dData();
    void Delete2dData();
};

// 1 when the host-order header is plausible: pitch plane at most 2000 x 2000,
// at most 10 planes of at most 64 bits, no pitch of pixels below 0.0. 0 for null.
BRELL_API int CheckCameraHeader(CAMERAHEADER* header);
BRELL_API void ReverseOrder(CALIBTABLE& table);
// Every 16- and 32-bit field and the calibration tables; bytes stay in place.
BRELL_API void ReverseOrder(CAMERAHEADER& header);

// Both set diagnostic level 60 and write the 32-line header listing.
BRELL_API CArchive& operator>>(CArchive& archive, CAMERAHEADER& header);
BRELL_API CArchive& operator<<(CArchive& archive, const CAMERAHEADER& header);
// Reads a shot, sizing the blocks from the header. An implausible header, an
// empty 3-D block, an array that cannot be had, or a block longer than the
// bytes the archive's file knows it has left (a disk file, memory) leave an
// all-zero record and an error line, nothing allocated for that block. Over
// another device a file that ends early leaves the rest of the header zero
// and the rest of each array as allocated. CFileException passes through.
BRELL_API CArchive& operator>>(CArchive& archive, CAMERADATA& data);
// Writes the header, then each block with the size the header gives it
// (CameraBlockSize3d, CameraBlockSize2d), so that every shot read reads back
// byte for byte and no byte of an array's rounding reaches the file. A block
// the header does not size, or sizes past its array, goes out with the
// array's recorded length.
BRELL_API CArchive& operator<<(CArchive& archive, CAMERADATA& data);

namespace brell {

// The 3-D and 2-D block sizes a host-order header describes, in the signed
// 32-bit arithmetic the reader uses; a size below 1 means no block.
BRELL_API int32_t CameraBlockSize3d(const CAMERAHEADER& header);
BRELL_API int32_t CameraBlockSize2d(const CAMERAHEADER& header);

}  // namespace brell
