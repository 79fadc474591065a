#include <brelldata/io/ScanFormats.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace brell::io;

// The FileError that reading bytes gives; fails the test when there is none.
template <class Read>
FileError ErrorOf(Read read, const std::string& bytes)
{
    try {
        read(bytes, "hostile");
    } catch (const FileError& error) {
        return error;
    }
    ADD_FAILURE() << "read without error";
    return FileError::InFile("", "", "");
}

std::string PlyHeader(const std::string& format, const std::string& vertices, const std::string& faces)
{
    return "ply\nformat " + format + " 1.0\nelement vertex " + vertices +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face " + faces +
           "\nproperty list uchar int vertex_indices\nend_header\n";
}

TEST(HostileFiles, TwoBillionVerticesInAHundredBytesAreRefusedBeforeAnyAllocation)
{
    const FileError ply =
        ErrorOf(ReadPly, PlyHeader("binary_little_endian", "2000000000", "0") + std::string(40, '\0'));
    EXPECT_EQ(ply.Where(), FileError::Place::line);
    EXPECT_EQ(ply.Position(), 3u);
    EXPECT_NE(ply.Expected().find("room for 2000000000 elements vertex"), std::string::npos) << ply.what();
    EXPECT_EQ(ply.Found(), "40 bytes");

    const FileError off = ErrorOf(ReadOff, "OFF\n2000000000 1 0\n" + std::string(80, '1'));
    EXPECT_NE(off.Expected().find("room for 2000000000 vertices"), std::string::npos) << off.what();

    const FileError big = ErrorOf(ReadPly, PlyHeader("ascii", "99999999999", "0"));
    EXPECT_NE(big.Expected().find("at most 2147483647 vertices"), std::string::npos) << big.what();
}

TEST(HostileFiles, AFaceIndexOutOfRangeNamesTheIndexAndWhere)
{
    const FileError ascii = ErrorOf(ReadPly, PlyHeader("ascii", "3", "1") + "0 0 0\n1 0 0\n0 1 0\n3 0 1 3\n");
    EXPECT_EQ(ascii.Where(), FileError::Place::line);
    EXPECT_EQ(ascii.Position(), 13u);
    EXPECT_EQ(ascii.Expected(), "a vertex index below 3");
    EXPECT_EQ(ascii.Found(), "\"3\"");

    std::string binary = PlyHeader("binary_little_endian", "3", "1") + std::string(36, '\0');
    const size_t face = binary.size();
    binary += std::string("\x03\x00\x00\x00\x00\x01\x00\x00\x00\x07\x00\x00\x00", 13);
    const FileError fromBinary = ErrorOf(ReadPly, binary);
    EXPECT_EQ(fromBinary.Where(), FileError::Place::byte);
    EXPECT_EQ(fromBinary.Position(), face);
    EXPECT_EQ(fromBinary.Found(), "7");
    EXPECT_STREQ(fromBinary.what(),
                 ("hostile: byte " + std::to_string(face) + ": expected vertex indices below 3, found 7").c_str());

    const FileError off = ErrorOf(ReadOff, "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 -1\n");
    EXPECT_EQ(off.Position(), 6u);
    EXPECT_EQ(off.Expected(), "a vertex index below 3");

    const FileError obj = ErrorOf(ReadObj, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n");
    EXPECT_EQ(obj.Position(), 4u);
    EXPECT_EQ(obj.Expected(), "a vertex index of 1 to 3 or -1 to -3");
    EXPECT_EQ(obj.Found(), "\"4\"");
    EXPECT_EQ(ErrorOf(ReadObj, "v 0 0 0\nf 1 -2 1\n").Found(), "\"-2\"");
    EXPECT_EQ(ErrorOf(ReadObj, "f 1 2 3\n").Expected(), "a vertex index, with one defined before it");
}

TEST(HostileFiles, ABadNumberIsNamedWithItsLine)
{
    const FileError ply = ErrorOf(ReadPly, PlyHeader("ascii", "1", "0") + "0 1.2.3 0\n");
    EXPECT_STREQ(ply.what(), "hostile: line 10: expected a vertex property value (float), found \"1.2.3\"");
    const FileError off = ErrorOf(ReadOff, "OFF\n1 0 0\n0 0 x\n");
    EXPECT_STREQ(off.what(), "hostile: line 3: expected a vertex coordinate, found \"x\"");
    const FileError obj = ErrorOf(ReadObj, "v 0 0 0\nvn 1 nan? 0\n");
    EXPECT_EQ(obj.Position(), 2u);
    EXPECT_EQ(obj.Found(), "\"nan?\"");
    const FileError xyz = ErrorOf(ReadXyz, "1 2 3\n4 5\n");
    EXPECT_STREQ(xyz.what(), "hostile: line 2: expected a point's z, found the end of the line");
    EXPECT_EQ(ErrorOf(ReadXyz, "1 2 3\n4 5 6 0 0 1\n").Expected(), "the end of the line after 3 values, as on line 1");
    EXPECT_EQ(ErrorOf(ReadPly, PlyHeader("ascii", "1", "0") + "0 1e999 0\n").Found(), "\"1e999\"");
    EXPECT_EQ(ErrorOf(ReadPly, PlyHeader("ascii", "1", "1") + "0 1 0\n300 0 0 0\n").Found(), "\"300\"");
}

TEST(HostileFiles, BrokenHeadersAndListsEachGiveTheirOwnError)
{
    EXPECT_EQ(ErrorOf(ReadPly, "plx\n").Expected(), "\"ply\" as the first line");
    EXPECT_EQ(ErrorOf(ReadPly, "ply\nformat ascii 1.0\nelement vertex 1\n").Expected(), "end_header");
    EXPECT_EQ(ErrorOf(ReadPly, "ply\nformat ascii 1.0\nelement vertex 0\nproperty float x\nend_header\n").Expected(),
              "properties x, y and z of element vertex");
    EXPECT_EQ(ErrorOf(ReadPly, "ply\nformat ascii 1.0\nproperty float x\nend_header\n").Expected(),
              "an element line before the first property");
    EXPECT_EQ(ErrorOf(ReadPly, "ply\nformat ascii 1.0\nelement vertex 0\nproperty float128 x\n").Found(),
              "\"float128\"");
    std::string list =
        PlyHeader("binary_big_endian", "3", "1") + std::string(36, '\0') + "\xff" + std::string(12, '\0');
    const FileError cut = ErrorOf(ReadPly, list);
    EXPECT_EQ(cut.Expected(), "1020 bytes of a face's corners");
    EXPECT_EQ(cut.Found(), "12 bytes left in the file");
    EXPECT_EQ(ErrorOf(ReadPly, PlyHeader("ascii", "3", "1") + "0 0 0\n0 0 0\n0 0 0\n2 0 1      \n").Expected(),
              "a face of at least 3 corners");
    EXPECT_EQ(ErrorOf(ReadPly, PlyHeader("ascii", "0", "0") + "7\n").Expected(),
              "the end of the file after the last element");
    EXPECT_EQ(ErrorOf(ReadOff, "OFF3 1 0\n").Found(), "\"OFF3\"");
    EXPECT_EQ(ErrorOf(ReadObj, "\x01\x02\n").Expected(), "a statement keyword (v, vt, vn, f or another)");
    EXPECT_EQ(ErrorOf(ReadObj, "# nothing\ng group\n").Expected(), "at least one vertex statement");
    EXPECT_EQ(ErrorOf(ReadXyz, "\n# nothing\n").Found(), "the end of the file");
}

TEST(HostileFiles, WritersRefuseInconsistentGeometry)
{
    ScanGeometry g;
    g.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    g.faces = {{{0, 1, 3, 0}, 3}};
    EXPECT_EQ(ErrorOf([&](const std::string&, const std::string&) { return WritePly(g, "w.ply"); }, "").Found(), "3");
    g.faces = {{{0, 1, 2, 0}, 3}};
    g.normals.resize(2);
    EXPECT_THROW(WriteObj(g, "w.obj"), FileError);
}

}  // namespace
