#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// Plain geometric records held by the data stores. Each is copied and
// streamed as its in-memory image; default construction leaves the fields
// unset, value construction ({}) zeroes them.

struct VERTEX {
    double x;
    double y;
    double z;
};

template <class T>
struct CVector_3 {
    T x;
    T y;
    T z;
};

template <class T>
struct CVector_2 {
    T x;
    T y;
};

// One pixel; the channel order is whatever the host and its procedures use.
struct RGBA {
    uint8_t r;
    uint8_t g;
    uint8_t b;
    uint8_t a;
};

// The library only copies these values; their meaning belongs to the host and
// its geometry procedures. The record ends with 4 bytes of padding.
struct BEZIER_POINT3D {
    double values[9];
    int32_t tag;
};

// Stream images depend on these exact layouts.
static_assert(sizeof(VERTEX) == 24 && offsetof(VERTEX, y) == 8 && offsetof(VERTEX, z) == 16);
static_assert(sizeof(CVector_3<double>) == 24 && offsetof(CVector_3<double>, y) == 8 &&
              offsetof(CVector_3<double>, z) == 16);
static_assert(sizeof(CVector_3<float>) == 12 && offsetof(CVector_3<float>, y) == 4 &&
              offsetof(CVector_3<float>, z) == 8);
static_assert(sizeof(CVector_2<float>) == 8 && offsetof(CVector_2<float>, y) == 4);
static_assert(sizeof(RGBA) == 4 && offsetof(RGBA, g) == 1 && offsetof(RGBA, b) == 2 && offsetof(RGBA, a) == 3);
static_assert(sizeof(BEZIER_POINT3D) == 80 && offsetof(BEZIER_POINT3D, tag) == 72);

static_assert(std::is_trivially_copyable_v<VERTEX> && std::is_trivially_copyable_v<CVector_3<double>> &&
              std::is_trivially_copyable_v<CVector_3<float>> && std::is_trivially_copyable_v<CVector_2<float>> &&
              std::is_trivially_copyable_v<RGBA> && std::is_trivially_copyable_v<BEZIER_POINT3D>);
