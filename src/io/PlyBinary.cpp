// Binary PLY bodies, read through a window of the file in either byte order.

#include "io/PlyBody.h"
#include "io/Text.h"

#include <cmath>
#include <limits>

namespace brell::io::ply {

namespace {

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
        const size_t block = sink.Block();
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
            FailAt(mark, "vertex indices below " + std::to_string(vertices),
                   std::to_string(static_cast<int32_t>(corner)));
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

// What read makes of the body through the source for the file's byte order.
template <class Read>
auto WithSource(FileWindow& window, const Header& header, const std::string& name, Read read)
{
    const bool swap = (header.encoding == PlyEncoding::binaryBigEndian) == (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
    if (swap) {
        BinarySource<true> source(window, header.size, name);
        return read(source);
    }
    BinarySource<false> source(window, header.size, name);
    return read(source);
}

}  // namespace

ScanGeometry ReadBinaryBody(FileWindow& window, const Header& header, const std::string& name,
                            CArrayDataStore<VERTEX>* positionStore)
{
    return WithSource(window, header, name, [&](auto& source) { return ReadBody(source, header, positionStore); });
}

void StreamBinaryVertices(FileWindow& window, const Header& header, const Element& element, const std::string& name,
                          VertexSink& sink)
{
    WithSource(window, header, name, [&](auto& source) { StreamVertices(source, element, sink); });
}

}  // namespace brell::io::ply
