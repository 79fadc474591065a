#include <brelldata/io/ScanFormats.h>

#include "io/Geometry.h"
#include "io/Text.h"

namespace brell::io {

ScanGeometry ReadXyz(std::string_view bytes, const std::string& name)
{
    detail::TextCursor text(bytes, name);
    ScanGeometry geometry;
    // Set by the first point's line: 3 values, or 6 with a normal. Later
    // lines that differ are told so with reference to it.
    size_t values = 0;
    uint64_t firstLine = 0;
    std::string normalAsOnFirstLine, endAsOnFirstLine;
    for (;;) {
        text.SkipSpace('#');
        if (text.AtEnd()) break;
        VERTEX p;
        p.x = text.Coordinate("point's x");
        text.SkipBlanks();
        p.y = text.Coordinate("point's y");
        text.SkipBlanks();
        p.z = text.Coordinate("point's z");
        if (values == 0) {
            values = text.AtLineEnd('#') ? 3 : 6;
            firstLine = text.Line();
            const std::string asOnFirstLine = ", as on line " + std::to_string(firstLine);
            normalAsOnFirstLine = "a normal coordinate" + asOnFirstLine;
            endAsOnFirstLine = "the end of the line after " + std::to_string(values) + " values" + asOnFirstLine;
        }
        const bool onFirstLine = text.Line() == firstLine;
        if (geometry.positions.size() == INT32_MAX) text.Fail("at most 2147483647 points", "more");
        geometry.positions.push_back(p);
        if (values == 6) {
            const char* what = onFirstLine ? "a normal coordinate" : normalAsOnFirstLine.c_str();
            CVector_3<float> n;
            text.SkipBlanks();
            n.x = text.Number<float>(what);
            text.SkipBlanks();
            n.y = text.Number<float>(what);
            text.SkipBlanks();
            n.z = text.Number<float>(what);
            geometry.normals.push_back(n);
        }
        if (!text.AtLineEnd('#')) text.Fail(onFirstLine ? "the end of the line after 3 or 6 values" : endAsOnFirstLine);
    }
    // A file without a single point is not taken for an empty scan.
    if (geometry.positions.empty()) text.Fail("at least one point");
    return geometry;
}

std::string WriteXyz(const ScanGeometry& geometry, const std::string& name)
{
    detail::CheckWritable(geometry, name, "an XYZ file");
    detail::TextOutput out;
    out.Reserve(geometry.positions.size() * (geometry.normals.empty() ? 30 : 60));
    for (size_t i = 0; i < geometry.positions.size(); ++i) {
        const VERTEX& p = geometry.positions[i];
        out << p.x << ' ' << p.y << ' ' << p.z;
        if (!geometry.normals.empty()) {
            const CVector_3<float>& n = geometry.normals[i];
            out << ' ' << n.x << ' ' << n.y << ' ' << n.z;
        }
        out << '\n';
    }
    return out.Take();
}

}  // namespace brell::io
