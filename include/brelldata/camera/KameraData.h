#pragma once

// Camera data files of the second layout: a 1024-byte header with distortion
// and calibration tables, then the 3-D block and the 2-D block. The library
// reads only the plane fields and the two pitch of pixels floats; every other
// field is carried, byte-swapped with its width. No header listing is written.

#include <brelldata/Export.h>
#include <brelldata/platform/Archive.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

struct K_DISTORTION {
    uint32_t words[5];
};

struct K_CALIBTABLE {
    uint32_t words[32];
};

// Fields the library does not interpret are named after their offsets.
struct KAMERAHEADER {
    uint8_t bytes0[24];
    uint16_t pitchPlaneWidth;
    uint16_t pitchPlaneHeight;
    uint16_t pitchPlaneNumber;
    uint16_t pitchPlanePixelBits;
    uint16_t colorPlaneWidth;
    uint16_t colorPlaneHeight;
    uint16_t colorPlaneNumber;
    uint16_t colorPlanePixelBits;
    uint32_t words40[2];
    uint16_t halves48[4];
    uint32_t words56[13];
    float pitchOfPixels[2];  // read by the plausibility test
    uint32_t words116[9];
    uint16_t halves152[4];
    uint32_t word160;
    uint16_t half164;
    uint8_t bytes166[10];
    uint16_t halves176[5];
    uint8_t bytes186[36];
    uint16_t halves222[2];
    uint8_t bytes226[90];
    K_DISTORTION distortions[4];
    uint8_t bytes396[116];
    K_CALIBTABLE calibTables[4];
};

// The memory image is the file image.
static_assert(sizeof(K_DISTORTION) == 20 && std::is_trivially_copyable_v<K_DISTORTION>);
static_assert(sizeof(K_CALIBTABLE) == 128 && std::is_trivially_copyable_v<K_CALIBTABLE>);
static_assert(sizeof(KAMERAHEADER) == 1024 && std::is_trivially_copyable_v<KAMERAHEADER>);
static_assert(offsetof(KAMERAHEADER, pitchPlaneWidth) == 24 && offsetof(KAMERAHEADER, pitchPlaneHeight) == 26 &&
              offsetof(KAMERAHEADER, pitchPlaneNumber) == 28 && offsetof(KAMERAHEADER, pitchPlanePixelBits) == 30 &&
              offsetof(KAMERAHEADER, colorPlaneWidth) == 32 && offsetof(KAMERAHEADER, colorPlaneHeight) == 34 &&
              offsetof(KAMERAHEADER, colorPlaneNumber) == 36 && offsetof(KAMERAHEADER, colorPlanePixelBits) == 38);
static_assert(offsetof(KAMERAHEADER, words40) == 40 && offsetof(KAMERAHEADER, halves48) == 48 &&
              offsetof(KAMERAHEADER, words56) == 56 && offsetof(KAMERAHEADER, pitchOfPixels) == 108 &&
              offsetof(KAMERAHEADER, words116) == 116 && offsetof(KAMERAHEADER, halves152) == 152 &&
              offsetof(KAMERAHEADER, word160) == 160 && offsetof(KAMERAHEADER, half164) == 164 &&
              offsetof(KAMERAHEADER, bytes166) == 166 && offsetof(KAMERAHEADER, halves176) == 176);
static_assert(offsetof(KAMERAHEADER, bytes186) == 186 && offsetof(KAMERAHEADER, halves222) == 222 &&
              offsetof(KAMERAHEADER, bytes226) == 226 && offsetof(KAMERAHEADER, distortions) == 316 &&
              offsetof(KAMERAHEADER, bytes396) == 396 && offsetof(KAMERAHEADER, calibTables) == 512);

// One shot, as CAMERADATA but for the 3-D array, which is allocated with four
// times its recorded length.
class BRELL_API KAMERADATA {
public:
    KAMERAHEADER header;
    unsigned char* data3D;
    unsigned char* data2D;
    int32_t reserved;  // carried by assignment only
    int32_t length3D;
    int32_t length2D;

    // No arrays, reserved 0; the header is left unset.
    KAMERADATA();
    // Both copy and assignment duplicate the arrays (all four times the 3-D
    // length); an array that cannot be had is left absent.
    KAMERADATA(const KAMERADATA& other);
    KAMERADATA& operator=(const KAMERADATA& other);
    ~KAMERADATA();

    // 0 for n below 1; n below the current length keeps the array. Otherwise
    // the length becomes n rounded up to a multiple of 16 and a new, uncleared
    // array of 4 x that length replaces the old one; 0 when it cannot be had.
    int Allocate3dData_K(int n);
    // As Allocate3dData_K, with an array of exactly the length.
    int Allocate2dData_K(int n);
    void Delete3dData_K();
    void Delete2dData_K();
};

// 1 when the host-order header is plausible, by the rule of CheckCameraHeader. 0 for null.
BRELL_API int CheckKameraHeader(KAMERAHEADER* header);
BRELL_API void ReverseOrder(K_DISTORTION& table);
BRELL_API void ReverseOrder(K_CALIBTABLE& table);
// Every 16- and 32-bit field, then the distortion and calibration tables.
BRELL_API void ReverseOrder(KAMERAHEADER& header);

// Both set diagnostic level 60.
BRELL_API CArchive& operator>>(CArchive& archive, KAMERAHEADER& header);
BRELL_API CArchive& operator<<(CArchive& archive, const KAMERAHEADER& header);
// As for CAMERADATA. The 3-D block is width x height x 9 bytes; the 2-D block
// carries 3840 bytes more than its planes, so it is never empty.
BRELL_API CArchive& operator>>(CArchive& archive, KAMERADATA& data);
// As for CAMERADATA: each block goes out with the size the header gives it
// (KameraBlockSize3d, KameraBlockSize2d) when its array holds that many.
BRELL_API CArchive& operator<<(CArchive& archive, KAMERADATA& data);

namespace brell {

// The 3-D and 2-D block sizes a host-order header describes, in the signed
// 32-bit arithmetic the reader uses; a size below 1 means no block.
BRELL_API int32_t KameraBlockSize3d(const KAMERAHEADER& header);
BRELL_API int32_t KameraBlockSize2d(const KAMERAHEADER& header);

}  // namespace brell
