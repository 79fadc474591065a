#include <brelldata/io/ScanFormats.h>

#include "io/FileErrors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <string>

namespace {

using namespace brell::io;
using brell::test::FileErrorOf;

std::string PlyHeader(const std::string& format, const std::string& vertices, const std::string& faces)
{
    return "ply\nformat " + format + " 1.0\nelement vertex " + vertices +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face " + faces +
           "\nproperty list uchar int vertex_indices\nend_header\n";
}

// Each file is refused with a message that names the place and what was expected and found there.
TEST(HostileFiles, AreEachRefusedWithTheirOwnMessage)
{
    const struct {
        ScanGeometry (*read)(std::string_view, const std::string&);
        std::string bytes;
        const char* message;
    } cases[] = {
        // Counts no file of its size could hold are refused before anything is allocated.
        {ReadPly, PlyHeader("binary_little_endian", "2000000000", "0") + std::string(40, '\0'),
         "hostile: line 3: expected room for 2000000000 elements vertex (at least 12 bytes each) after the header, "
         "found 40 bytes"},
        {ReadOff, "OFF\n2000000000 1 0\n" + std::string(80, '1'),
         "hostile: line 2: expected room for 2000000000 vertices and 1 faces, found 81 bytes left in the file"},
        {ReadPly, PlyHeader("ascii", "99999999999", "0"),
         "hostile: line 3: expected at most 2147483647 vertices, found 99999999999"},
        // Face indices out of range.
        {ReadPly, PlyHeader("ascii", "3", "1") + "0 0 0\n1 0 0\n0 1 0\n3 0 1 3\n",
         "hostile: line 13: expected a vertex index below 3, found \"3\""},
        {ReadPly,
         PlyHeader("binary_little_endian", "3", "1") + std::string(36, '\0') +
             std::string("\x03\x00\x00\x00\x00\x01\x00\x00\x00\x07\x00\x00\x00", 13),
         "hostile: byte 205: expected vertex indices below 3, found 7"},
        {ReadOff, "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 -1\n",
         "hostile: line 6: expected a vertex index below 3, found the end of the line"},
        {ReadObj, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n",
         "hostile: line 4: expected a vertex index of 1 to 3 or -1 to -3, found \"4\""},
        {ReadObj, "v 0 0 0\nf 1 -2 1\n",
         "hostile: line 2: expected a vertex index of 1 to 1 or -1 to -1, found \"-2\""},
        {ReadObj, "f 1 2 3\n", "hostile: line 1: expected a vertex index, with one defined before it, found \"1\""},
        // Bad numbers.
        {ReadPly, PlyHeader("ascii", "1", "0") + "0 1.2.3 0\n",
         "hostile: line 10: expected a vertex property value (float), found \"1.2.3\""},
        {ReadOff, "OFF\n1 0 0\n0 0 x\n", "hostile: line 3: expected a vertex coordinate, found \"x\""},
        {ReadObj, "v 0 0 0\nvn 1 nan? 0\n", "hostile: line 2: expected a normal coordinate, found \"nan?\""},
        {ReadXyz, "1 2 3\n4 5\n", "hostile: line 2: expected a point's z, found the end of the line"},
        {ReadXyz, "1 2 3\n4 5 6 0 0 1\n",
         "hostile: line 2: expected the end of the line after 3 values, as on line 1, found \"0\""},
        {ReadPly, PlyHeader("ascii", "1", "1") + "0 1 0\n300 0 0 0\n",
         "hostile: line 11: expected a list count (uchar), found \"300\""},
        // Broken headers and lists.
        {ReadPly, "plx\n", "hostile: line 1: expected \"ply\" as the first line, found \"plx\""},
        {ReadPly, "ply\nformat ascii 1.0\nelement vertex 0\nproperty float x\nend_header\n",
         "hostile: line 3: expected properties x, y and z of element vertex, found they are missing"},
        {ReadPly, "ply\nformat ascii 1.0\nproperty float x\nend_header\n",
         "hostile: line 3: expected an element line before the first property, found property"},
        {ReadPly, "ply\nformat ascii 1.0\nelement vertex 0\nproperty float128 x\n",
         "hostile: line 4: expected a property type (char, uchar, short, ushort, int, uint, float, double), found "
         "\"float128\""},
        {ReadPly, PlyHeader("binary_big_endian", "3", "1") + std::string(36, '\0') + "\xff" + std::string(12, '\0'),
         "hostile: byte 203: expected 1020 bytes of a face's corners, found 12 bytes left in the file"},
        {ReadPly, PlyHeader("ascii", "3", "1") + "0 0 0\n0 0 0\n0 0 0\n2 0 1      \n",
         "hostile: line 12: expected a face of at least 3 corners, found 2 corners"},
        {ReadPly, PlyHeader("ascii", "0", "0") + "7\n",
         "hostile: line 10: expected the end of the file after the last element, found \"7\""},
        {ReadOff, "OFF3 1 0\n", "hostile: line 1: expected OFF, or OFF with the prefixes ST, C and N, found \"OFF3\""},
        {ReadPly, "ply\nformat ascii 1.0\nelement vertex 1\nprop",
         "hostile: line 4: expected end_header, found the end of the file"},
        {ReadXyz, "1 2 3 0 0 1 7 8 9\n",
         "hostile: line 1: expected the end of the line after 3 or 6 values, found \"7\""},
        {ReadXyz, "1 2 3 0\n", "hostile: line 1: expected a normal coordinate, found the end of the line"},
        {ReadObj, "\x01\x02\n",
         "hostile: line 1: expected a statement keyword (v, vt, vn, f or another), found \"\\x01\\x02\""},
        {ReadObj, "# nothing\ng group\n",
         "hostile: line 3: expected at least one vertex statement, found the end of the file"},
        {ReadXyz, "\n# nothing\n", "hostile: line 3: expected at least one point, found the end of the file"},
    };
    for (const auto& c : cases) EXPECT_EQ(FileErrorOf([&] { c.read(c.bytes, "hostile"); }), c.message) << c.bytes;
}

// A binary PLY file of two vertices of x, y and z whose second one's y is value,
// read as its vertices are: as fixed-size records, or one by one when a list
// follows them. A second y after them, which a reader takes in its place, is 7.
std::string PlyWithY(float value, bool withList, bool secondY = false)
{
    std::string header =
        "ply\nformat binary_little_endian 1.0\nelement vertex 2\n"
        "property float x\nproperty float y\nproperty float z\n";
    if (withList) header += "property list uchar int tags\n";
    if (secondY) header += "property float y\n";
    std::string bytes = header + "end_header\n";
    const float coordinates[2][3] = {{0, 1, 2}, {3, value, 5}}, seven = 7;
    for (const auto& vertex : coordinates) {
        bytes.append(reinterpret_cast<const char*>(vertex), sizeof vertex);
        if (withList) bytes += '\0';  // no tags
        if (secondY) bytes.append(reinterpret_cast<const char*>(&seven), sizeof seven);
    }
    return bytes;
}

TEST(HostileFiles, NonFiniteCoordinatesAreRefusedByEveryReader)
{
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const struct {
        ScanGeometry (*read)(std::string_view, const std::string&);
        std::string bytes;
        std::string message;
    } cases[] = {
        {ReadObj, "v 0 0 0\nv nan 0 0\n", "hostile: line 2: expected a finite vertex coordinate, found \"nan\""},
        {ReadOff, "OFF\n1 0 0\n0 inf 0\n", "hostile: line 3: expected a finite vertex coordinate, found \"inf\""},
        {ReadXyz, "1 2 -infinity\n", "hostile: line 1: expected a finite point's z, found \"-infinity\""},
        {ReadPly, PlyHeader("ascii", "1", "0") + "0 NaN 0\n",
         "hostile: line 10: expected a finite vertex coordinate (float), found \"NaN\""},
        {ReadPly, PlyWithY(nan, false), "hostile: byte 131: expected a finite vertex coordinate, found NaN"},
        {ReadPly, PlyWithY(-inf, false),
         "hostile: byte 131: expected a finite vertex coordinate, found minus infinity"},
        {ReadPly, PlyWithY(inf, true), "hostile: byte 161: expected a finite vertex coordinate, found infinity"},
        {ReadPly, PlyWithY(nan, false, true), "hostile: byte 152: expected a finite vertex coordinate, found NaN"},
    };
    for (const auto& c : cases) EXPECT_EQ(FileErrorOf([&] { c.read(c.bytes, "hostile"); }), c.message) << c.bytes;
}

// Whatever a writer gives, its reader takes back; what it cannot hold it refuses.
TEST(Writers, WriteOnlyWhatTheirReadersTakeBack)
{
    const struct {
        std::string (*write)(const ScanGeometry&, const std::string&);
        ScanGeometry (*read)(std::string_view, const std::string&);
        const char* emptyRefusal;
    } formats[] = {
        {[](const ScanGeometry& g, const std::string& name) { return WritePly(g, name); }, ReadPly, nullptr},
        {WriteOff, ReadOff, nullptr},
        {WriteObj, ReadObj, "e: expected at least one vertex, as an OBJ file cannot hold an empty scan, found none"},
        {WriteXyz, ReadXyz, "e: expected at least one vertex, as an XYZ file cannot hold an empty scan, found none"},
    };
    ScanGeometry notANumber;
    notANumber.positions = {{0, 0, 0}, {1, std::nan(""), 0}};
    for (const auto& format : formats) {
        if (format.emptyRefusal == nullptr) {
            EXPECT_TRUE(format.read(format.write(ScanGeometry(), "e"), "e").positions.empty());
        } else {
            EXPECT_THAT([&] { format.write(ScanGeometry(), "e"); },
                        testing::ThrowsMessage<FileError>(format.emptyRefusal));
        }
        EXPECT_THAT(
            [&] { format.write(notANumber, "n"); },
            testing::ThrowsMessage<FileError>("n: expected finite coordinates of vertex 1, found 1.000000, nan, "
                                              "0.000000"));
    }
}

TEST(Writers, RefuseInconsistentGeometry)
{
    ScanGeometry g;
    g.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    g.faces = {{{0, 1, 3, 0}, 3}};
    EXPECT_EQ(FileErrorOf([&] { WritePly(g, "w.ply"); }), "w.ply: expected vertex indices of face 0 below 3, found 3");
    g.faces = {{{0, 1, 2, 0}, 3}};
    g.normals.resize(2);
    EXPECT_THROW(WriteObj(g, "w.obj"), FileError);
}

}  // namespace
