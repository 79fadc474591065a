// PLY headers: the format line, elements and their properties, and the
// checks that come before any of the body is read.

#include "io/PlyFormat.h"

#include "io/Geometry.h"
#include "io/Text.h"

#include <algorithm>
#include <cmath>

namespace brell::io::ply {

namespace {

using detail::TextCursor;

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

// The window grows until it holds the whole header: a header read from the
// start of a file is the header of the file, and an error on a line the
// window holds whole is the file's own.
Header ParseWholeHeader(FileWindow& window, const std::string& name)
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

const char* TypeNameOf(Type type)
{
    for (const TypeName& entry : typeNames) {
        if (entry.type == type) return entry.name;
    }
    return "";
}

Header ReadHeader(FileWindow& window, const std::string& name)
{
    Header header = ParseWholeHeader(window, name);
    AssignSlots(header, name);
    CheckCounts(header, window.FileSize() - header.size, name);
    return header;
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

std::string NonFinite(double value)
{
    return std::isnan(value) ? "NaN" : value > 0 ? "infinity" : "minus infinity";
}

}  // namespace brell::io::ply
