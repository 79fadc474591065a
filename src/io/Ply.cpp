#include <brelldata/io/ScanFormats.h>

#include "io/FileBytes.h"
#include "io/Geometry.h"
#include "io/Text.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

namespace brell::io {

namespace {

using detail::TextCursor;

enum class Type : uint8_t { int8, uint8, int16, uint16, int32, uint32, float32, float64 };

struct TypeName {
    const char* name;
    Type type;
};

const TypeName typeNames[] = {
    {"char", Type::int8},     {"int8", Type::int8},       {"uchar", Type::uint8},    {"uint8", Type::uint8},
    {"short", Type::int16},   {"int16", Type::int16},     {"ushort", Type::uint16},  {"uint16", Type::uint16},
    {"int", Type::int32},     {"int32", Type::int32},     {"uint", Type::uint32},    {"uint32", Type::uint32},
    {"float", Type::float32}, {"float32", Type::float32}, {"double", Type::float64}, {"float64", Type::float64},
};

size_t SizeOf(Type type)
{
    static const size_t sizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
    return sizes[static_cast<int>(type)];
}

bool IsFloat(Type type)
{
    return type == Type::float32 || type == Type::float64;
}

// Where a property's values go.
enum class Slot : uint8_t { none, x, y, z, nx, ny, nz, red, green, blue, alpha, u, v, corners, texcoord, from, to };

bool IsPosition(Slot slot)
{
    return slot == Slot::x || slot == Slot::y || slot == Slot::z;
}

// A coordinate that is not finite, as an error names it.
std::string NonFinite(double value)
{
    return std::isnan(value) ? "NaN" : value > 0 ? "infinity" : "minus infinity";
}

const char* kFiniteCoordinate = "a finite vertex coordinate";

struct SlotName {
    const char* name;
    Slot slot;
};

const SlotName vertexSlots[] = {
    {"x", Slot::x},         {"y", Slot::y},         {"z", Slot::z},         {"nx", Slot::nx},
    {"ny", Slot::ny},       {"nz", Slot::nz},       {"red", Slot::red},     {"green", Slot::green},
    {"blue", Slot::blue},   {"alpha", Slot::alpha}, {"s", Slot::u},         {"t", Slot::v},
    {"u", Slot::u},         {"v", Slot::v},         {"texture_u", Slot::u}, {"texture_v", Slot::v},
    {"texture_s", Slot::u}, {"texture_t", Slot::v},
};

const SlotName colorSlots[] = {
    {"red", Slot::red}, {"green", Slot::green}, {"blue", Slot::blue}, {"alpha", Slot::alpha},
};

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

bool ParseType(std::string_view word, Type& type)
{
    for (const TypeName& entry : typeNames) {
        if (word == entry.name) {
            type = entry.type;
            return true;
        }
    }
    return false;
}

const char* typeList = "a property type (char, uchar, short, ushort, int, uint, float, double)";

Header ParseHeader(std::string_view bytes, const std::string& name)
{
    Header header;
    TextCursor text(bytes, name);
    if (text.Token() != "ply" || !text.AtLineEnd()) text.FailAt(bytes.data(), "\"ply\" as the first line");
    text.SkipLine();
    bool formatSeen = false;
    for (;;) {
        text.SkipBlanks();
        // A header line cut by the end of the file is a header cut short,
        // whatever word the cut left.
        const std::string_view rest = text.Rest();
        if (rest.find('\n') == std::string_view::npos && rest.substr(0, rest.find_last_not_of(" \t\r") + 1) != "end_header")
            text.Fail("end_header", "the end of the file");
        const std::string_view keyword = text.Token();
        if (keyword.empty()) {
            text.SkipLine();
            continue;
        }
        if (keyword == "comment" || keyword == "obj_info") {
            text.SkipLine();
            continue;
        }
        if (keyword == "end_header") {
            if (!text.AtLineEnd() || text.AtEnd()) text.Fail("a line break after end_header");
            if (!formatSeen) text.Fail("a format line before end_header", "end_header");
            text.SkipLine();
            header.size = bytes.size() - text.Left();
            header.lines = text.Line();
            return header;
        }
        text.SkipBlanks();
        if (keyword == "format") {
            const std::string_view format = text.Token();
            if (format == "ascii") {
                header.encoding = PlyEncoding::ascii;
            } else if (format == "binary_little_endian") {
                header.encoding = PlyEncoding::binaryLittleEndian;
            } else if (format == "binary_big_endian") {
                header.encoding = PlyEncoding::binaryBigEndian;
            } else {
                text.Fail("ascii, binary_little_endian or binary_big_endian", detail::Quote(format));
            }
            text.SkipBlanks();
            if (text.Token() != "1.0") text.Fail("format version 1.0");
            formatSeen = true;
        } else if (keyword == "element") {
            Element element;
            element.name = std::string(text.Token());
            element.line = text.Line();
            if (element.name.empty()) text.Fail("an element name");
            text.SkipBlanks();
            element.count = text.Number<uint64_t>("an element count");
            for (const Element& other : header.elements) {
                if (other.name == element.name) text.Fail("one element " + element.name, "a second one");
            }
            header.elements.push_back(std::move(element));
        } else if (keyword == "property") {
            if (header.elements.empty()) text.Fail("an element line before the first property", "property");
            Property property;
            std::string_view word = text.Token();
            if (word == "list") {
                property.list = true;
                text.SkipBlanks();
                word = text.Token();
                if (!ParseType(word, property.countType) || IsFloat(property.countType))
                    text.Fail("an integer list count type", detail::Quote(word));
                text.SkipBlanks();
                word = text.Token();
            }
            if (!ParseType(word, property.type)) text.Fail(typeList, detail::Quote(word));
            text.SkipBlanks();
            property.name = std::string(text.Token());
            if (property.name.empty()) text.Fail("a property name");
            header.elements.back().properties.push_back(std::move(property));
        } else {
            text.Fail("a header line (format, comment, element, property or end_header)", detail::Quote(keyword));
        }
        if (!text.AtLineEnd()) text.Fail("the end of the header line");
        text.SkipLine();
    }
}

// Gives every property of the vertex and face elements its slot, and checks
// that the elements hold what the reader needs.
void AssignSlots(Header& header, const std::string& name)
{
    bool vertexSeen = false;
    for (Element& element : header.elements) {
        auto fail = [&](const std::string& expected, const std::string& found) {
            throw FileError::AtLine(name, element.line, expected, found);
        };
        if (element.name == "vertex") {
            vertexSeen = true;
            for (Property& property : element.properties) {
                for (const SlotName& entry : vertexSlots) {
                    if (!property.list && property.name == entry.name) property.slot = entry.slot;
                }
            }
            if (!element.Find(Slot::x) || !element.Find(Slot::y) || !element.Find(Slot::z))
                fail("properties x, y and z of element vertex", "they are missing");
            if (element.count > INT_MAX) fail("at most 2147483647 vertices", std::to_string(element.count));
        } else if (element.name == "face") {
            for (Property& property : element.properties) {
                if (!property.list) {
                    for (const SlotName& entry : colorSlots) {
                        if (property.name == entry.name) property.slot = entry.slot;
                    }
                    continue;
                }
                if (property.name == "vertex_indices" || property.name == "vertex_index") {
                    if (IsFloat(property.type))
                        fail("integer vertex indices",
                             "a list of " + std::string(property.type == Type::float32 ? "float" : "double"));
                    property.slot = Slot::corners;
                } else if (property.name == "texcoord") {
                    property.slot = Slot::texcoord;
                }
            }
            if (!element.Find(Slot::corners)) fail("a vertex_indices list in element face", "none");
            if (element.count > INT_MAX) fail("at most 2147483647 faces", std::to_string(element.count));
        } else if (element.name == "edge") {
            for (Property& property : element.properties) {
                if (property.list || IsFloat(property.type)) continue;
                if (property.name == "vertex1") property.slot = Slot::from;
                if (property.name == "vertex2") property.slot = Slot::to;
            }
        }
    }
    if (!vertexSeen) throw FileError::AtLine(name, header.lines, "an element vertex in the header", "none");
}

bool IsEdgeElement(const Element& element)
{
    return element.name == "edge" && element.Find(Slot::from) && element.Find(Slot::to);
}

// A line for each kind of thing in the file that the geometry has no place for.
std::vector<std::string> DroppedParts(const Header& header)
{
    std::vector<std::string> dropped;
    bool faces = false;
    for (const Element& element : header.elements) faces = faces || (element.name == "face" && element.count > 0);
    for (const Element& element : header.elements) {
        if (element.count == 0) continue;
        const bool kept = element.name == "vertex" || element.name == "face" || IsEdgeElement(element);
        if (!kept) {
            dropped.push_back(detail::Dropped(element.count, "elements \"" + element.name + "\""));
            continue;
        }
        for (const Property& property : element.properties) {
            if (property.slot != Slot::none) continue;
            dropped.push_back(detail::Dropped(element.count, std::string(property.list ? "lists" : "values") +
                                                                 " of " + element.name + " property \"" +
                                                                 property.name + "\""));
        }
        if (element.name == "vertex" && !faces && (element.Find(Slot::u) || element.Find(Slot::v)))
            dropped.push_back(detail::Dropped(element.count, "texture coordinates of a point cloud"));
    }
    return dropped;
}

// Refuses counts that the bytes after the header cannot hold, before anything
// is allocated for them: each element needs at least its fixed values and list
// counts (and a face its three corners), in text two bytes a value.
void CheckCounts(const Header& header, size_t available, const std::string& name)
{
    const bool ascii = header.encoding == PlyEncoding::ascii;
    unsigned __int128 needed = 0;
    for (const Element& element : header.elements) {
        uint64_t least = 0;
        for (const Property& property : element.properties) {
            const uint64_t values = property.slot == Slot::corners ? 3 : 0;
            if (ascii) {
                least += 2 * (1 + values);
            } else {
                least +=
                    property.list ? SizeOf(property.countType) + values * SizeOf(property.type) : SizeOf(property.type);
            }
        }
        needed += static_cast<unsigned __int128>(element.count) * least;
        if (needed > available + (ascii ? 1 : 0)) {
            throw FileError::AtLine(name, element.line,
                                    "room for " + std::to_string(element.count) + " elements " + element.name +
                                        " (at least " + std::to_string(least) + " bytes each) after the header",
                                    std::to_string(available) + " bytes");
        }
    }
}

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
uint8_t Channel(double value, bool floatColor)
{
    if (floatColor) return detail::UnitToChannel(value);
    return static_cast<uint8_t>(std::clamp(value, 0.0, 255.0));
}

// The vertex arrays being filled, and where each slot's value goes.
struct VertexSink {
    ScanGeometry& geometry;
    BulkVector<CVector_2<float>>& uv;
    bool normals, colors, texture;

    // Room reserved for count vertices; none of them made yet.
    void Reserve(size_t count)
    {
        geometry.positions.reserve(count);
        if (normals) geometry.normals.reserve(count);
        if (colors) geometry.colors.reserve(count);
        if (texture) uv.reserve(count);
    }
    // At least count vertices made, with their defaults. Growing a block at a
    // time writes the defaults in the cache just before the values replace
    // them, rather than in a pass of their own over the whole arrays.
    void Grow(size_t count)
    {
        if (count <= geometry.positions.size()) return;
        geometry.positions.resize(count);
        if (normals) geometry.normals.resize(count, CVector_3<float>{});
        if (colors) geometry.colors.resize(count, RGBA{0, 0, 0, 255});
        if (texture) uv.resize(count, CVector_2<float>{});
    }

    template <class Each>
    void ForSlot(Slot slot, bool floatColor, Each each)
    {
        auto channel = [floatColor](double value) { return Channel(value, floatColor); };
        auto& p = geometry.positions;
        auto& n = geometry.normals;
        auto& c = geometry.colors;
        switch (slot) {
            case Slot::x:
                return each([&p](size_t i, double value) { p[i].x = value; });
            case Slot::y:
                return each([&p](size_t i, double value) { p[i].y = value; });
            case Slot::z:
                return each([&p](size_t i, double value) { p[i].z = value; });
            case Slot::nx:
                return each([&n](size_t i, double value) { n[i].x = static_cast<float>(value); });
            case Slot::ny:
                return each([&n](size_t i, double value) { n[i].y = static_cast<float>(value); });
            case Slot::nz:
                return each([&n](size_t i, double value) { n[i].z = static_cast<float>(value); });
            case Slot::red:
                return each([&c, channel](size_t i, double value) { c[i].r = channel(value); });
            case Slot::green:
                return each([&c, channel](size_t i, double value) { c[i].g = channel(value); });
            case Slot::blue:
                return each([&c, channel](size_t i, double value) { c[i].b = channel(value); });
            case Slot::alpha:
                return each([&c, channel](size_t i, double value) { c[i].a = channel(value); });
            case Slot::u:
                return each([this](size_t i, double value) { uv[i].x = static_cast<float>(value); });
            case Slot::v:
                return each([this](size_t i, double value) { uv[i].y = static_cast<float>(value); });
            default:
                return;
        }
    }
};

// Values from a binary body, read through a window of the file. Every read is
// checked against the end of the file first, and slides the window on when it
// would leave the window.
template <bool swap>
class BinarySource {
public:
    BinarySource(FileWindow& window, size_t start, const std::string& name)
        : window_(window),
          at_(reinterpret_cast<const unsigned char*>(window.Data()) + start),
          end_(reinterpret_cast<const unsigned char*>(window.Data()) + window.Size()),
          name_(name)
    {
    }

    size_t Mark() const { return window_.Offset() + static_cast<size_t>(at_ - WindowStart()); }
    [[noreturn]] void FailAt(size_t mark, const std::string& expected, const std::string& found) const
    {
        throw FileError::AtByte(name_, mark, expected, found);
    }
    void Need(uint64_t bytes, const char* what)
    {
        if (bytes > static_cast<uint64_t>(end_ - at_)) Slide(bytes, what);
    }
    [[noreturn]] __attribute__((noinline, cold)) void NotThere(uint64_t bytes, const char* what) const
    {
        FailAt(Mark(), std::to_string(bytes) + " bytes of " + what,
               std::to_string(window_.FileSize() - Mark()) + " bytes left in the file");
    }
    double Scalar(Type type, const char*)
    {
        Need(SizeOf(type), "a property value");
        double value = 0;
        ForType(type, [&](auto* typed) {
            value = static_cast<double>(Load<std::remove_pointer_t<decltype(typed)>, swap>(at_));
        });
        at_ += SizeOf(type);
        return value;
    }
    double Coordinate(Type type)
    {
        const size_t mark = Mark();
        const double value = Scalar(type, "");
        if (!std::isfinite(value)) FailAt(mark, kFiniteCoordinate, NonFinite(value));
        return value;
    }
    // A list's item count, which the bytes left must be able to hold.
    uint64_t ListCount(const Property& property)
    {
        const size_t mark = Mark();
        const double count = Scalar(property.countType, "");
        if (count < 0) FailAt(mark, "a list count of 0 or more", std::to_string(static_cast<int64_t>(count)));
        Need(static_cast<uint64_t>(count) * SizeOf(property.type), "list items");
        return static_cast<uint64_t>(count);
    }
    // A vertex index below vertices.
    int Index(Type type, int vertices)
    {
        const size_t mark = Mark();
        const double index = Scalar(type, "");
        if (!(index >= 0 && index < vertices))
            FailAt(mark, "a vertex index below " + std::to_string(vertices),
                   std::to_string(static_cast<int64_t>(index)));
        return static_cast<int>(index);
    }
    void SkipList(const Property& property, uint64_t count) { at_ += count * SizeOf(property.type); }

    // Vertices of fixed size, straight from the bytes: one pass per property
    // over each block of vertices, which stays in the cache meanwhile.
    bool ReadFixed(const Element& element, VertexSink& sink)
    {
        if (!element.FixedSize()) return false;
        size_t stride = 0;
        for (const Property& property : element.properties) stride += SizeOf(property.type);
        constexpr size_t block = 2048;
        for (size_t from = 0; from < element.count; from += block) {
            const size_t to = std::min<size_t>(from + block, element.count);
            Need((to - from) * stride, "vertices");
            sink.Grow(to);
            const unsigned char* record = at_;
            bool positionsFinite = true;
            for (const Property& property : element.properties) {
                if (property.slot != Slot::none) {
                    bool finite = true;
                    ForType(property.type, [&](auto* typed) {
                        using T = std::remove_pointer_t<decltype(typed)>;
                        sink.ForSlot(property.slot, IsFloat(property.type), [&](auto store) {
                            const unsigned char* value = record;
                            if constexpr (std::is_floating_point_v<T>) {
                                // A value is finite while its magnitude's bits stay
                                // below those of infinity: one maximum a value.
                                using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
                                constexpr Bits magnitude = ~Bits{0} >> 1;
                                constexpr Bits infinity =
                                    sizeof(T) == 4 ? Bits{0x7f800000u} : static_cast<Bits>(0x7ff0000000000000ull);
                                Bits largest = 0;
                                for (size_t i = from; i < to; ++i, value += stride) {
                                    const T v = Load<T, swap>(value);
                                    Bits bits;
                                    std::memcpy(&bits, &v, sizeof bits);
                                    largest = std::max<Bits>(largest, bits & magnitude);
                                    store(i, static_cast<double>(v));
                                }
                                finite = largest < infinity;
                            } else {
                                for (size_t i = from; i < to; ++i, value += stride)
                                    store(i, static_cast<double>(Load<T, swap>(value)));
                            }
                        });
                    });
                    positionsFinite = positionsFinite && (finite || !IsPosition(property.slot));
                }
                record += SizeOf(property.type);
            }
            if (!positionsFinite) RefuseNonFinite(element, to - from);
            at_ += (to - from) * stride;
        }
        return true;
    }

    // Faces that hold only a list of uchar count and int or uint indices,
    // the usual layout: read without the general path's per-value dispatch,
    // and compiled apart from it so that its loop keeps its registers.
    __attribute__((noinline)) bool ReadPlainFaces(const Element& element, int vertices, ScanGeometry& geometry,
                                                  detail::PolygonSplitter& splitter)
    {
        if (element.properties.size() != 1) return false;
        const Property& list = element.properties[0];
        if (list.countType != Type::uint8 || (list.type != Type::int32 && list.type != Type::uint32)) return false;
        uint32_t corners[256];
        const uint64_t faces = element.count;
        // Runs of triangles take the fast way; the body reads any other face,
        // and a triangle the run left: one crossing the window's end, or one
        // with a corner out of range, which it reports.
        for (uint64_t f = ReadTriangleRun(0, faces, vertices, geometry); f < faces;
             f = ReadTriangleRun(f + 1, faces, vertices, geometry)) {
            const size_t mark = Mark();
            Need(1, "a face's corner count");
            const unsigned count = *at_++;
            Need(4 * count, "a face's corners");
            if (count == 3 || count == 4) {
                // Triangles and quads go straight into their row, unused
                // corners zero: a row assembled elsewhere would be read back
                // wide over narrow stores, which stalls.
                CPolygon<int>& face = geometry.faces.emplace_back();
                for (unsigned k = 0; k < count; ++k) face.items[k] = CornerAt(k, vertices, mark);
                face.count = static_cast<int>(count);
                at_ += 4 * count;
                continue;
            }
            for (unsigned k = 0; k < count; ++k) corners[k] = static_cast<uint32_t>(CornerAt(k, vertices, mark));
            at_ += 4 * count;
            if (count < 3) FailAt(mark, "a face of at least 3 corners", std::to_string(count) + " corners");
            const int* indices = reinterpret_cast<const int*>(corners);
            splitter.Add(geometry, indices, indices, nullptr, count);
        }
        return true;
    }

    void Finish()
    {
        const size_t mark = Mark(), more = window_.FileSize() - mark;
        for (size_t left = more; left > 0; left = window_.FileSize() - Mark()) {
            Need(std::min<size_t>(left, 4096), "trailing space");
            for (; at_ != end_; ++at_) {
                if (!detail::IsSpace(static_cast<char>(*at_)))
                    FailAt(mark, "the end of the file after the last element", std::to_string(more) + " more bytes");
            }
        }
    }

private:
    // FileError at the first coordinate of the count vertices at the cursor
    // that is not finite, read again from the file's bytes.
    __attribute__((noinline, cold)) void RefuseNonFinite(const Element& element, size_t count) const
    {
        const unsigned char* record = at_;
        for (size_t i = 0; i < count; ++i) {
            for (const Property& property : element.properties) {
                double value = 0;
                ForType(property.type, [&](auto* typed) {
                    value = static_cast<double>(Load<std::remove_pointer_t<decltype(typed)>, swap>(record));
                });
                if (IsPosition(property.slot) && !std::isfinite(value))
                    FailAt(Mark() + static_cast<size_t>(record - at_), kFiniteCoordinate, NonFinite(value));
                record += SizeOf(property.type);
            }
        }
    }

    // Corner k of the face whose corners start at the cursor, checked against
    // the vertex count.
    int CornerAt(unsigned k, int vertices, size_t mark) const
    {
        const uint32_t corner = Load<uint32_t, swap>(at_ + 4 * k);
        if (corner >= static_cast<uint32_t>(vertices))
            FailAt(mark, "vertex indices below " + std::to_string(vertices), std::to_string(static_cast<int32_t>(corner)));
        return static_cast<int>(corner);
    }

    // Reads faces from number f on while they are triangles with corners in
    // range and wholly in the window, the cursor and limits kept in registers;
    // the number of the first face it leaves to the caller.
    uint64_t ReadTriangleRun(uint64_t f, uint64_t faces, int vertices, ScanGeometry& geometry)
    {
        constexpr ptrdiff_t kRowBytes = 1 + 3 * 4;
        const uint32_t limit = static_cast<uint32_t>(vertices);
        const unsigned char* at = at_;
        const unsigned char* const end = end_;
        for (; f < faces && end - at >= kRowBytes && *at == 3; ++f, at += kRowBytes) {
            const uint32_t a = Load<uint32_t, swap>(at + 1), b = Load<uint32_t, swap>(at + 5),
                           c = Load<uint32_t, swap>(at + 9);
            if (a >= limit || b >= limit || c >= limit) break;
            CPolygon<int>& face = geometry.faces.emplace_back();
            face.items[0] = static_cast<int>(a);
            face.items[1] = static_cast<int>(b);
            face.items[2] = static_cast<int>(c);
            face.count = 3;
        }
        at_ = at;
        return f;
    }

    const unsigned char* WindowStart() const { return reinterpret_cast<const unsigned char*>(window_.Data()); }

    // Slides the window to start at the cursor and hold the bytes needed.
    __attribute__((noinline)) void Slide(uint64_t bytes, const char* what)
    {
        if (!window_.Slide(static_cast<size_t>(at_ - WindowStart()), bytes)) NotThere(bytes, what);
        at_ = WindowStart();
        end_ = at_ + window_.Size();
    }

    FileWindow& window_;
    const unsigned char* at_;
    const unsigned char* end_;
    const std::string& name_;
};

// Values from an ASCII body: white-space separated, across lines.
class AsciiSource {
public:
    AsciiSource(std::string_view bytes, size_t start, uint64_t line, const std::string& name)
        : text_(bytes.substr(start), name, line), name_(name)
    {
    }

    uint64_t Mark() const { return text_.Line(); }
    [[noreturn]] void FailAt(uint64_t mark, const std::string& expected, const std::string& found) const
    {
        throw FileError::AtLine(name_, mark, expected, found);
    }
    double Scalar(Type type, const char* what)
    {
        text_.SkipSpace();
        const char* start = text_.At();
        double value = 0;
        bool ok = false;
        if (type == Type::float32) {
            float single = 0;
            ok = text_.TryNumber(single);
            value = single;
        } else if (type == Type::float64) {
            ok = text_.TryNumber(value);
        } else {
            int64_t integer = 0;
            ok = text_.TryNumber(integer) && InRange(type, integer);
            value = static_cast<double>(integer);
        }
        if (!ok) text_.FailAt(start, std::string(what) + " (" + TypeNameOf(type) + ")");
        return value;
    }
    double Coordinate(Type type)
    {
        text_.SkipSpace();
        const char* start = text_.At();
        const double value = Scalar(type, "a vertex property value");
        if (!std::isfinite(value)) text_.FailAt(start, std::string(kFiniteCoordinate) + " (" + TypeNameOf(type) + ")");
        return value;
    }
    uint64_t ListCount(const Property& property)
    {
        const double count = Scalar(property.countType, "a list count");
        if (count < 0) text_.Fail("a list count of 0 or more", std::to_string(static_cast<int64_t>(count)));
        if (count * 2 > static_cast<double>(text_.Left()) + 1)
            text_.Fail("room for " + std::to_string(static_cast<uint64_t>(count)) + " list items",
                       std::to_string(text_.Left()) + " bytes left in the file");
        return static_cast<uint64_t>(count);
    }
    int Index(Type type, int vertices)
    {
        text_.SkipSpace();
        const char* start = text_.At();
        const double index = Scalar(type, "a vertex index");
        if (!(index >= 0 && index < vertices)) text_.FailAt(start, "a vertex index below " + std::to_string(vertices));
        return static_cast<int>(index);
    }
    void SkipList(const Property& property, uint64_t count)
    {
        for (uint64_t k = 0; k < count; ++k) Scalar(property.type, "a list item");
    }
    bool ReadFixed(const Element&, VertexSink&) { return false; }
    bool ReadPlainFaces(const Element&, int, ScanGeometry&, detail::PolygonSplitter&) { return false; }
    void Finish()
    {
        text_.SkipSpace();
        if (!text_.AtEnd()) text_.Fail("the end of the file after the last element");
    }

private:
    static bool InRange(Type type, int64_t value)
    {
        static const int64_t low[] = {INT8_MIN, 0, INT16_MIN, 0, INT32_MIN, 0};
        static const int64_t high[] = {INT8_MAX, UINT8_MAX, INT16_MAX, UINT16_MAX, INT32_MAX, UINT32_MAX};
        return value >= low[static_cast<int>(type)] && value <= high[static_cast<int>(type)];
    }
    static const char* TypeNameOf(Type type)
    {
        for (const TypeName& entry : typeNames) {
            if (entry.type == type) return entry.name;
        }
        return "";
    }

    TextCursor text_;
    const std::string& name_;
};

template <class Source>
void ReadVertices(Source& source, const Element& element, VertexSink& sink)
{
    if (source.ReadFixed(element, sink)) return;
    sink.Grow(element.count);
    for (size_t i = 0; i < element.count; ++i) {
        for (const Property& property : element.properties) {
            if (property.list) {
                source.SkipList(property, source.ListCount(property));
                continue;
            }
            const double value = IsPosition(property.slot) ? source.Coordinate(property.type)
                                                           : source.Scalar(property.type, "a vertex property value");
            sink.ForSlot(property.slot, IsFloat(property.type), [&](auto store) { store(i, value); });
        }
    }
}

template <class Source>
void ReadFaces(Source& source, const Element& element, int vertices, const BulkVector<CVector_2<float>>& vertexUv,
               ScanGeometry& geometry, detail::PolygonSplitter& splitter)
{
    const bool perCornerUv = element.Find(Slot::texcoord) != nullptr;
    if (!perCornerUv && vertexUv.empty() && source.ReadPlainFaces(element, vertices, geometry, splitter)) return;
    std::vector<int> corners;
    std::vector<float> uvValues;
    std::vector<CVector_2<float>> uv;
    const bool colored = element.Find(Slot::red) || element.Find(Slot::green) || element.Find(Slot::blue) ||
                         element.Find(Slot::alpha);
    for (uint64_t f = 0; f < element.count; ++f) {
        const auto mark = source.Mark();
        RGBA color{0, 0, 0, 255};
        for (const Property& property : element.properties) {
            if (!property.list) {
                const double value = source.Scalar(property.type, "a face property value");
                const uint8_t channel = Channel(value, IsFloat(property.type));
                if (property.slot == Slot::red) color.r = channel;
                if (property.slot == Slot::green) color.g = channel;
                if (property.slot == Slot::blue) color.b = channel;
                if (property.slot == Slot::alpha) color.a = channel;
                continue;
            }
            const uint64_t count = source.ListCount(property);
            if (property.slot == Slot::corners) {
                corners.resize(count);
                for (int& corner : corners) corner = source.Index(property.type, vertices);
            } else if (property.slot == Slot::texcoord) {
                uvValues.resize(count);
                for (float& value : uvValues)
                    value = static_cast<float>(source.Scalar(property.type, "a texture coordinate"));
            } else {
                source.SkipList(property, count);
            }
        }
        if (corners.size() < 3)
            source.FailAt(mark, "a face of at least 3 corners", std::to_string(corners.size()) + " corners");
        const CVector_2<float>* faceUv = nullptr;
        if (perCornerUv) {
            if (uvValues.size() != 2 * corners.size())
                source.FailAt(mark,
                              std::to_string(2 * corners.size()) + " texture coordinate values for the face's corners",
                              std::to_string(uvValues.size()));
            uv.resize(corners.size());
            for (size_t k = 0; k < corners.size(); ++k) uv[k] = {uvValues[2 * k], uvValues[2 * k + 1]};
            faceUv = uv.data();
        } else if (!vertexUv.empty()) {
            uv.resize(corners.size());
            for (size_t k = 0; k < corners.size(); ++k) uv[k] = vertexUv[corners[k]];
            faceUv = uv.data();
        }
        splitter.Add(geometry, corners.data(), corners.data(), faceUv, corners.size(), colored ? &color : nullptr);
    }
}

// Edges as lines, joined into polylines where one edge starts at the end of the one before.
template <class Source>
void ReadEdges(Source& source, const Element& element, int vertices, ScanGeometry& geometry)
{
    for (uint64_t e = 0; e < element.count; ++e) {
        int ends[2] = {0, 0};
        for (const Property& property : element.properties) {
            if (property.list) {
                source.SkipList(property, source.ListCount(property));
            } else if (property.slot == Slot::from || property.slot == Slot::to) {
                ends[property.slot == Slot::to] = source.Index(property.type, vertices);
            } else {
                source.Scalar(property.type, "an edge property value");
            }
        }
        detail::AddEdge(geometry, ends[0], ends[1]);
    }
}

template <class Source>
void SkipElement(Source& source, const Element& element)
{
    if (element.properties.empty()) return;
    for (uint64_t i = 0; i < element.count; ++i) {
        for (const Property& property : element.properties) {
            if (property.list) {
                source.SkipList(property, source.ListCount(property));
            } else {
                source.Scalar(property.type, "a property value");
            }
        }
    }
}

template <class Source>
ScanGeometry ReadBody(Source& source, const Header& header)
{
    ScanGeometry geometry;
    geometry.warnings = DroppedParts(header);
    BulkVector<CVector_2<float>> vertexUv;
    const Element* vertexElement = nullptr;
    for (const Element& element : header.elements) {
        if (element.name == "vertex") vertexElement = &element;
    }
    const int vertices = static_cast<int>(vertexElement->count);
    VertexSink sink{geometry, vertexUv,
                    vertexElement->Find(Slot::nx) || vertexElement->Find(Slot::ny) || vertexElement->Find(Slot::nz),
                    vertexElement->Find(Slot::red) || vertexElement->Find(Slot::green) ||
                        vertexElement->Find(Slot::blue) || vertexElement->Find(Slot::alpha),
                    vertexElement->Find(Slot::u) || vertexElement->Find(Slot::v)};
    sink.Reserve(vertices);
    detail::PolygonSplitter splitter;
    for (const Element& element : header.elements) {
        if (&element == vertexElement) {
            ReadVertices(source, element, sink);
        } else if (element.name == "face") {
            sink.Grow(vertices);  // faces ahead of their vertices see the defaults
            geometry.faces.reserve(element.count);
            ReadFaces(source, element, vertices, vertexUv, geometry, splitter);
        } else if (IsEdgeElement(element)) {
            ReadEdges(source, element, vertices, geometry);
        } else {
            SkipElement(source, element);
        }
    }
    source.Finish();
    return geometry;
}

// Writes values in the file's encoding.
class PlyOutput {
public:
    explicit PlyOutput(PlyEncoding encoding) : encoding_(encoding) {}

    void Text(const std::string& text) { text_ << text; }
    template <class T>
    void Value(T value, bool last = false)
    {
        if (encoding_ == PlyEncoding::ascii) {
            if constexpr (sizeof(T) == 1) {
                text_ << static_cast<int>(value);
            } else {
                text_ << value;
            }
            text_ << (last ? '\n' : ' ');
            return;
        }
        char bytes[sizeof(T)];
        std::memcpy(bytes, &value, sizeof(T));
        if (encoding_ == PlyEncoding::binaryBigEndian) std::reverse(bytes, bytes + sizeof(T));
        text_.Raw(bytes, sizeof(T));
    }
    void Reserve(size_t size) { text_.Reserve(size); }
    std::string Take() { return text_.Take(); }

private:
    PlyEncoding encoding_;
    detail::TextOutput text_;
};

// The header of the file in the window, which grows until it holds the whole
// header: a header read from the start of a file is the header of the file,
// and an error on a line the window holds whole is the file's own.
Header ReadHeader(FileWindow& window, const std::string& name)
{
    for (;;) {
        try {
            return ParseHeader(window.View(), name);
        } catch (const FileError& error) {
            const std::string_view view = window.View();
            const uint64_t lastLine = 1 + static_cast<uint64_t>(std::count(view.begin(), view.end(), '\n'));
            if (window.Size() == window.FileSize() || error.Position() < lastLine) throw;
            window.Slide(0, std::min(2 * window.Size(), window.FileSize()));
        }
    }
}

}  // namespace

ScanGeometry ReadPly(std::string_view bytes, const std::string& name)
{
    FileWindow window = FileWindow::OverMemory(bytes);
    return detail::ReadPly(window, name);
}

ScanGeometry detail::ReadPly(FileWindow& window, const std::string& name)
{
    Header header = ReadHeader(window, name);
    AssignSlots(header, name);
    CheckCounts(header, window.FileSize() - header.size, name);
    if (header.encoding == PlyEncoding::ascii) {
        window.Slide(0, window.FileSize());  // text is parsed from the whole file
        AsciiSource source(window.View(), header.size, header.lines, name);
        return ReadBody(source, header);
    }
    const bool swap = (header.encoding == PlyEncoding::binaryBigEndian) == (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
    if (swap) {
        BinarySource<true> source(window, header.size, name);
        return ReadBody(source, header);
    }
    BinarySource<false> source(window, header.size, name);
    return ReadBody(source, header);
}

std::string WritePly(const ScanGeometry& geometry, const std::string& name, PlyEncoding encoding)
{
    detail::CheckWritable(geometry, name);
    const bool asFloat = detail::PositionsFitFloat(geometry.positions);
    const bool normals = !geometry.normals.empty();
    const bool colors = !geometry.colors.empty();
    const bool alpha =
        std::any_of(geometry.colors.begin(), geometry.colors.end(), [](const RGBA& c) { return c.a != 255; });
    BulkVector<CVector_2<float>> vertexUv;
    const bool hasUv = !geometry.texCoords.empty();
    const bool uvPerVertex = hasUv && detail::PerVertexTexCoords(geometry, vertexUv);
    const bool uvPerCorner = hasUv && !uvPerVertex;
    const bool mesh = !geometry.faces.empty();
    const bool faceColors = !geometry.faceColors.empty();
    const bool faceAlpha =
        std::any_of(geometry.faceColors.begin(), geometry.faceColors.end(), [](const RGBA& c) { return c.a != 255; });
    const size_t edges = geometry.lineVertices.size() - geometry.lineStarts.size();

    static const char* formats[] = {"ascii", "binary_little_endian", "binary_big_endian"};
    std::string header = "ply\nformat " + std::string(formats[static_cast<int>(encoding)]) + " 1.0\n";
    header += "element vertex " + std::to_string(geometry.positions.size()) + "\n";
    for (const char* axis : {"x", "y", "z"})
        header += std::string("property ") + (asFloat ? "float " : "double ") + axis + "\n";
    if (normals) header += "property float nx\nproperty float ny\nproperty float nz\n";
    if (colors) header += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    if (alpha) header += "property uchar alpha\n";
    if (uvPerVertex) header += "property float u\nproperty float v\n";
    if (mesh) {
        header += "element face " + std::to_string(geometry.faces.size()) + "\n";
        header += "property list uchar int vertex_indices\n";
        if (uvPerCorner) header += "property list uchar float texcoord\n";
        if (faceColors) header += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
        if (faceAlpha) header += "property uchar alpha\n";
    }
    if (edges > 0) header += "element edge " + std::to_string(edges) + "\nproperty int vertex1\nproperty int vertex2\n";
    header += "end_header\n";

    PlyOutput out(encoding);
    out.Text(header);
    out.Reserve(geometry.positions.size() * (asFloat ? 12 : 24) + geometry.faces.size() * 17);
    for (size_t i = 0; i < geometry.positions.size(); ++i) {
        const VERTEX& p = geometry.positions[i];
        const bool more = normals || colors || uvPerVertex;
        if (asFloat) {
            out.Value(static_cast<float>(p.x));
            out.Value(static_cast<float>(p.y));
            out.Value(static_cast<float>(p.z), !more);
        } else {
            out.Value(p.x);
            out.Value(p.y);
            out.Value(p.z, !more);
        }
        if (normals) {
            const CVector_3<float>& n = geometry.normals[i];
            out.Value(n.x);
            out.Value(n.y);
            out.Value(n.z, !colors && !uvPerVertex);
        }
        if (colors) {
            const RGBA& c = geometry.colors[i];
            out.Value(c.r);
            out.Value(c.g);
            out.Value(c.b, !alpha && !uvPerVertex);
            if (alpha) out.Value(c.a, !uvPerVertex);
        }
        if (uvPerVertex) {
            out.Value(vertexUv[i].x);
            out.Value(vertexUv[i].y, true);
        }
    }
    for (size_t f = 0; f < geometry.faces.size(); ++f) {
        const CPolygon<int>& face = geometry.faces[f];
        out.Value(static_cast<uint8_t>(face.count));
        for (int k = 0; k < face.count; ++k)
            out.Value(static_cast<int32_t>(face.items[k]), k + 1 == face.count && !uvPerCorner && !faceColors);
        if (uvPerCorner) {
            const CPolygon<CVector_2<float>>& row = geometry.texCoords[f];
            out.Value(static_cast<uint8_t>(2 * row.count));
            for (int k = 0; k < row.count; ++k) {
                out.Value(row.items[k].x);
                out.Value(row.items[k].y, k + 1 == row.count && !faceColors);
            }
        }
        if (faceColors) {
            const RGBA& c = geometry.faceColors[f];
            out.Value(c.r);
            out.Value(c.g);
            out.Value(c.b, !faceAlpha);
            if (faceAlpha) out.Value(c.a, true);
        }
    }
    for (size_t k = 0; k < geometry.lineStarts.size(); ++k) {
        const auto [from, to] = detail::LineRange(geometry, k);
        for (size_t i = from; i + 1 < to; ++i) {
            out.Value(static_cast<int32_t>(geometry.lineVertices[i]));
            out.Value(static_cast<int32_t>(geometry.lineVertices[i + 1]), true);
        }
    }
    return out.Take();
}

}  // namespace brell::io
