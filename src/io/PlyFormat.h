#pragma once

// The PLY format as the readers and the writer share it: value types, where
// each property's values go, the elements of a header, and values loaded in
// either byte order.

#include <brelldata/io/ScanFormats.h>

#include "io/FileBytes.h"
#include "io/Geometry.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace brell::io::ply {

enum class Type : uint8_t { int8, uint8, int16, uint16, int32, uint32, float32, float64 };

// The type's first name in headers ("char" for int8 and so on).
const char* TypeNameOf(Type type);

inline size_t SizeOf(Type type)
{
    static const size_t sizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
    return sizes[static_cast<int>(type)];
}

inline bool IsFloat(Type type)
{
    return type == Type::float32 || type == Type::float64;
}

// Where a property's values go.
enum class Slot : uint8_t { none, x, y, z, nx, ny, nz, red, green, blue, alpha, u, v, corners, texcoord, from, to };

inline bool IsPosition(Slot slot)
{
    return slot == Slot::x || slot == Slot::y || slot == Slot::z;
}

// A coordinate that is not finite, as an error names it.
std::string NonFinite(double value);

inline constexpr const char* kFiniteCoordinate = "a finite vertex coordinate";

struct Property {
    std::string name;
    Type type = Type::uint8;
    bool list = false;
    Type countType = Type::uint8;
    Slot slot = Slot::none;
};

struct Element {
    std::string name;
    uint64_t count = 0;
    uint64_t line = 0;
    std::vector<Property> properties;

    bool FixedSize() const
    {
        return std::none_of(properties.begin(), properties.end(), [](const Property& p) { return p.list; });
    }
    const Property* Find(Slot slot) const
    {
        for (const Property& p : properties) {
            if (p.slot == slot) return &p;
        }
        return nullptr;
    }
};

struct Header {
    PlyEncoding encoding = PlyEncoding::ascii;
    std::vector<Element> elements;
    size_t size = 0;  // bytes up to the data
    uint64_t lines = 0;
};

template <class T, bool swap>
T Load(const unsigned char* at)
{
    if constexpr (sizeof(T) == 1) {
        T value;
        std::memcpy(&value, at, 1);
        return value;
    } else {
        using Bits =
            std::conditional_t<sizeof(T) == 2, uint16_t, std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>;
        Bits bits;
        std::memcpy(&bits, at, sizeof bits);
        if constexpr (swap) {
            if constexpr (sizeof(T) == 2) bits = __builtin_bswap16(bits);
            if constexpr (sizeof(T) == 4) bits = __builtin_bswap32(bits);
            if constexpr (sizeof(T) == 8) bits = __builtin_bswap64(bits);
        }
        T value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
}

// Calls with the value type's C++ type as a null pointer, for dispatch on Type.
template <class Visit>
void ForType(Type type, Visit visit)
{
    switch (type) {
        case Type::int8:
            return visit(static_cast<int8_t*>(nullptr));
        case Type::uint8:
            return visit(static_cast<uint8_t*>(nullptr));
        case Type::int16:
            return visit(static_cast<int16_t*>(nullptr));
        case Type::uint16:
            return visit(static_cast<uint16_t*>(nullptr));
        case Type::int32:
            return visit(static_cast<int32_t*>(nullptr));
        case Type::uint32:
            return visit(static_cast<uint32_t*>(nullptr));
        case Type::float32:
            return visit(static_cast<float*>(nullptr));
        case Type::float64:
            return visit(static_cast<double*>(nullptr));
    }
}

// A colour channel: a float of 0 to 1 or an integer of 0 to 255.
inline uint8_t Channel(double value, bool floatColor)
{
    if (floatColor) return detail::UnitToChannel(value);
    return static_cast<uint8_t>(std::clamp(value, 0.0, 255.0));
}

// The header at the start of the window, which grows until it holds the whole
// header; each element's properties given their slots, the elements checked
// for what the reader needs and their counts against the bytes after it.
Header ReadHeader(FileWindow& window, const std::string& name);
// A line for each kind of thing in the file that the geometry has no place for.
std::vector<std::string> DroppedParts(const Header& header);
bool IsEdgeElement(const Element& element);

// The bodies in each encoding, from the header's end.
// With positionStore, the positions go there (see detail::ReadPly).
ScanGeometry ReadAsciiBody(std::string_view bytes, const Header& header, const std::string& name,
                           CArrayDataStore<VERTEX>* positionStore);
ScanGeometry ReadBinaryBody(FileWindow& window, const Header& header, const std::string& name,
                            CArrayDataStore<VERTEX>* positionStore);

}  // namespace brell::io::ply
