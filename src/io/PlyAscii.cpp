// ASCII PLY bodies, parsed from the whole file.

#include "io/PlyBody.h"
#include "io/Text.h"

#include <cmath>

namespace brell::io::ply {

namespace {

using detail::TextCursor;

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

    TextCursor text_;
    const std::string& name_;
};

}  // namespace

ScanGeometry ReadAsciiBody(std::string_view bytes, const Header& header, const std::string& name,
                           CArrayDataStore<VERTEX>* positionStore)
{
    AsciiSource source(bytes, header.size, header.lines, name);
    return ReadBody(source, header, positionStore);
}

void StreamAsciiVertices(std::string_view bytes, const Header& header, const Element& element,
                         const std::string& name, VertexSink& sink)
{
    AsciiSource source(bytes, header.size, header.lines, name);
    StreamVertices(source, element, sink);
}

}  // namespace brell::io::ply
