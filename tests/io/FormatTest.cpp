#include <brelldata/io/ScanFormats.h>

#include "io/FileErrors.h"
#include "io/GeometryMatchers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

using namespace brell::io;
using brell::test::ExpectSameGeometry;
using brell::test::FileErrorOf;
using brell::test::TexturedMesh;

const char* asciiPly =
    "ply\n"
    "format ascii 1.0\n"
    "comment two triangles and a pentagon\n"
    "element vertex 5\n"
    "property float x\nproperty float y\nproperty double z\n"
    "property uchar red\nproperty uchar green\nproperty uchar blue\n"
    "property float s\nproperty float t\n"
    "element face 2\n"
    "property list uchar int vertex_indices\n"
    "end_header\n"
    "0 0 0 255 0 0 0 0\n"
    "1 0 0 0 255 0 1 0\n"
    "1 1 0 0 0 255 1 1\n"
    "0 1 0.5 1 2 3 0 1\n"
    "0.5 2 -1e-3 4 5 6 0.5 0.75\n"
    "3 0 1 2\n"
    "5 0 1 2 4 3\n";

const char* offFile =
    "COFF\n"
    "# a square and a triangle\n"
    "5 2 0\n"
    "0 0 0 255 0 0\n"
    "1 0 0 0 1.0 0 0.5\n"
    "1 1 0 0 0 255 128\n"
    "0 1 0 1 1 1\n"
    "2 2 2 9 9 9\n"
    "4 0 1 2 3\n"
    "3 3 2 4 0.5 0.5 0.5\n";

const char* objFile =
    "# every corner form\n"
    "mtllib scan.mtl\n"
    "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0 1.0\n"
    "vt 0 0\nvt 1 0\nvt 1 1\n"
    "vn 0 0 1\nvn 0 0 -1\n"
    "g scan\n"
    "f 1 2 3\n"
    "f 1/1 2/2 3/3\n"
    "f 1//1 -3//1 -2//1\n"
    "f -4/-3/-1 2/2/2 3/3/1 4/1/1\n";

const char* xyzFile =
    "0 0 0 0 0 1\n"
    "1 2 3 1 0 0\n"
    "\n"
    "-4.5 5 6e2 0 1 0\n";

TEST(ScanFormats, ReadWhatEachFormatHolds)
{
    // An ASCII PLY file gives colours and texture coordinates per corner, and its pentagon as a fan.
    ExpectSameGeometry(ReadPly(asciiPly, "two.ply"),
                       {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0.5}, {0.5, 2, -1e-3}},
                        {},
                        {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {1, 2, 3, 255}, {4, 5, 6, 255}},
                        {{{0, 1, 2}, 3}, {{0, 1, 2}, 3}, {{0, 2, 4}, 3}, {{0, 4, 3}, 3}},
                        {{{{0, 0}, {1, 0}, {1, 1}}, 3},
                         {{{0, 0}, {1, 0}, {1, 1}}, 3},
                         {{{0, 0}, {1, 1}, {0.5f, 0.75f}}, 3},
                         {{{0, 0}, {0.5f, 0.75f}, {0, 1}}, 3}}});

    // An OFF file has colours as integers or fractions, the faces' too; a face without one is white.
    ExpectSameGeometry(ReadOff(offFile, "two.off"),
                       {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 2, 2}},
                        {},
                        {{255, 0, 0, 255}, {0, 255, 0, 128}, {0, 0, 255, 128}, {1, 1, 1, 255}, {9, 9, 9, 255}},
                        {{{0, 1, 2, 3}, 4}, {{3, 2, 4}, 3}},
                        {},
                        {{255, 255, 255, 255}, {128, 128, 128, 255}}});

    // Every OBJ corner form; untextured faces get rows of zeros, and the last face gives
    // vertices 1 and 2 normal 2 after normal 1, so each is copied.
    const ScanGeometry g = ReadObj(objFile, "forms.obj");
    EXPECT_EQ(g.skippedStatements, 2u);
    ExpectSameGeometry(g, {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 0}, {1, 0, 0}},
                           {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {0, 0, -1}, {0, 0, -1}},
                           {},
                           {{{0, 1, 2}, 3}, {{0, 1, 2}, 3}, {{0, 1, 2}, 3}, {{4, 5, 2, 3}, 4}},
                           {{{}, 3}, {{{0, 0}, {1, 0}, {1, 1}}, 3}, {{}, 3}, {{{0, 0}, {1, 0}, {1, 1}, {0, 0}}, 4}}});

    // An XYZ file with normals gives one point a line.
    ExpectSameGeometry(ReadXyz(xyzFile, "points.xyz"),
                       {{{0, 0, 0}, {1, 2, 3}, {-4.5, 5, 600}}, {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}, {}, {}, {}});
}

// A square ring as one polygon in the plane y = 2: the outline, a cut to the hole, the hole
// the other way round and back. Its triangles cover the ring's 12 square units, all facing
// as the polygon does, and none covers the hole.
TEST(ScanFormats, SplitConcavePolygonsIntoTrianglesInsideThem)
{
    const std::string points = "0 2 0\n4 2 0\n4 2 4\n0 2 4\n1 2 1\n1 2 3\n3 2 3\n3 2 1\n";
    const std::string face = "10 0 1 2 3 0 4 5 6 7 4\n";
    std::string obj;
    for (size_t at = 0; at < points.size(); at = points.find('\n', at) + 1)
        obj += "v " + points.substr(at, points.find('\n', at) + 1 - at);
    const struct {
        const char* format;
        ScanGeometry geometry;
    } rings[] = {
        {"obj", ReadObj(obj + "f 1 2 3 4 1 5 6 7 8 5\n", "ring.obj")},
        {"off", ReadOff("OFF\n8 1 0\n" + points + face, "ring.off")},
        {"ply", ReadPly("ply\nformat ascii 1.0\nelement vertex 8\nproperty double x\nproperty double y\n"
                        "property double z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n" +
                            points + face,
                        "ring.ply")},
    };
    for (const auto& ring : rings) {
        ASSERT_EQ(ring.geometry.faces.size(), 8u) << ring.format;
        double area = 0;
        for (const CPolygon<int>& face : ring.geometry.faces) {
            ASSERT_EQ(face.count, 3) << ring.format;
            const VERTEX& a = ring.geometry.positions[face.items[0]];
            const VERTEX& b = ring.geometry.positions[face.items[1]];
            const VERTEX& c = ring.geometry.positions[face.items[2]];
            const double facing = (b.z - a.z) * (c.x - a.x) - (b.x - a.x) * (c.z - a.z);  // y of (b - a) x (c - a)
            EXPECT_LT(facing, 0) << ring.format << ": the outline runs clockwise seen from +y";
            area += std::fabs(facing) / 2;
            const double x = (a.x + b.x + c.x) / 3, z = (a.z + b.z + c.z) / 3;
            EXPECT_FALSE(x > 1 && x < 3 && z > 1 && z < 3) << ring.format << ": a triangle over the hole";
        }
        EXPECT_DOUBLE_EQ(area, 12) << ring.format;
    }
}

// A PLY file with face colours and a chain of edges, and what it holds besides.
const char* extrasPly =
    "ply\nformat ascii 1.0\nelement vertex 4\n"
    "property float x\nproperty float y\nproperty float z\nproperty float confidence\n"
    "property list uchar int tags\nproperty float u\nproperty float v\n"
    "element face 2\nproperty list uchar int vertex_indices\nproperty uchar red\nproperty uchar green\n"
    "property uchar blue\nproperty int flags\n"
    "element edge 3\nproperty int vertex1\nproperty int vertex2\nproperty uchar red\n"
    "element material 1\nproperty float shine\nend_header\n"
    "0 0 0 1 0 0 0\n1 0 0 1 2 5 6 1 0\n1 1 0 1 0 1 1\n0 1 0 1 0 0 1\n"
    "3 0 1 2 255 0 0 7\n5 0 2 3 1 3 0 0 255 7\n"
    "0 1 9\n1 2 9\n3 0 9\n"
    "0.5\n";

// What the geometry has no place for is said, one line for each kind with its count; face
// colours and lines are kept.
TEST(ScanFormats, KeepFaceColoursAndLinesAndSayWhatTheyDrop)
{
    const ScanGeometry ply = ReadPly(extrasPly, "extras.ply");
    EXPECT_THAT(ply.warnings,
                testing::ElementsAre("4 values of vertex property \"confidence\" dropped",
                                     "4 lists of vertex property \"tags\" dropped",
                                     "2 values of face property \"flags\" dropped",
                                     "3 values of edge property \"red\" dropped", "1 elements \"material\" dropped"));
    // The pentagon of four distinct corners gives three triangles of its colour.
    const RGBA red{255, 0, 0, 255}, blue{0, 0, 255, 255};
    EXPECT_EQ(brell::test::FirstDifference(ply.faceColors, {red, blue, blue, blue}), "");
    EXPECT_EQ(brell::test::FirstDifference(ply.lineVertices, {0, 1, 2, 3, 0}), "");
    EXPECT_EQ(brell::test::FirstDifference(ply.lineStarts, {0, 3}), "");
    const ScanGeometry obj = ReadObj("v 0 0 0\nv 1 0 0\nvt 0 0\nvn 0 0 1\ng a\nusemtl m\nusemtl n\nl 1 2\n", "p.obj");
    EXPECT_THAT(obj.warnings, testing::ElementsAre("1 texture coordinates of a point cloud dropped",
                                                   "1 normals that no face names dropped", "1 \"g\" statements dropped",
                                                   "2 \"usemtl\" statements dropped"));
    const ScanGeometry off = ReadOff("STOFF\n3 1 0\n0 0 0 0 0\n1 0 0 1 0\n0 1 0 0 1\n3 0 1 2 7\n", "i.off");
    EXPECT_THAT(off.warnings, testing::ElementsAre("1 face colours that are not r g b or r g b a dropped"));
}

// Every prefix of a file is read whole or refused with a file error; every binary one is refused.
TEST(ScanFormats, RefuseFilesCutShort)
{
    const ScanGeometry mesh = TexturedMesh();
    struct Case {
        std::string bytes;
        ScanGeometry (*read)(std::string_view, const std::string&);
        bool binary;
    };
    const Case cases[] = {
        {asciiPly, ReadPly, false},
        {WritePly(mesh, "m.ply", PlyEncoding::binaryLittleEndian), ReadPly, true},
        {offFile, ReadOff, false},
        {objFile, ReadObj, false},
        {xyzFile, ReadXyz, false},
    };
    for (const Case& c : cases) {
        size_t refused = 0;
        for (size_t length = 0; length < c.bytes.size(); ++length) {
            try {
                c.read(std::string_view(c.bytes).substr(0, length), "prefix");
            } catch (const FileError& error) {
                EXPECT_EQ(error.File(), "prefix");
                ++refused;
            }
        }
        EXPECT_TRUE(c.binary ? refused == c.bytes.size() : refused > 0) << refused << " of " << c.bytes.size();
    }
}

TEST(ScanFormats, AreChosenByTheFileName)
{
    const ScanGeometry mesh = TexturedMesh();
    const std::string folder = testing::TempDir();
    for (const char* file : {"a.PLY", "a.obj"}) {
        const std::string path = folder + file;
        WriteScanFile(mesh, path);
        ExpectSameGeometry(ReadScanFile(path), mesh, file);
        std::remove(path.c_str());
    }
    EXPECT_EQ(FormatOfFileName("x/y.Off"), ScanFormat::off);
    EXPECT_THROW(FormatOfFileName("scan.stl"), FileError);
    EXPECT_THROW(FormatOfFileName("scan.d/ply"), FileError);
    EXPECT_THROW(ReadScanFile(folder + "missing.xyz"), FileError);
}

// Each format round-trips what it holds, PLY everything in each encoding.
TEST(ScanFormats, RoundTripWhatTheyHold)
{
    ScanGeometry textured = TexturedMesh();
    textured.faceColors = {{1, 2, 3, 255}, {4, 5, 6, 7}};
    textured.lineVertices = {0, 1, 2, 1, 4};
    textured.lineStarts = {0, 3};
    for (PlyEncoding encoding : {PlyEncoding::ascii, PlyEncoding::binaryLittleEndian, PlyEncoding::binaryBigEndian}) {
        const std::string bytes = WritePly(textured, "mesh.ply", encoding);
        ExpectSameGeometry(ReadPly(bytes, "mesh.ply"), textured,
                           "encoding " + std::to_string(static_cast<int>(encoding)));
    }
    ScanGeometry perVertex = ReadPly(asciiPly, "two.ply");
    for (PlyEncoding encoding : {PlyEncoding::ascii, PlyEncoding::binaryBigEndian})
        ExpectSameGeometry(ReadPly(WritePly(perVertex, "two.ply", encoding), "two.ply"), perVertex, "per vertex");
    ScanGeometry obj = textured;
    obj.faceColors.clear();
    ExpectSameGeometry(ReadObj(WriteObj(textured, "m.obj"), "m.obj"), obj, "obj");

    textured.colors[2].a = 7;
    ScanGeometry off = textured;
    off.texCoords.clear();
    off.lineVertices.clear();
    off.lineStarts.clear();
    ExpectSameGeometry(ReadOff(WriteOff(textured, "m.off"), "m.off"), off, "off");
    ScanGeometry xyz = off;
    xyz.colors.clear();
    xyz.faces.clear();
    xyz.faceColors.clear();
    ExpectSameGeometry(ReadXyz(WriteXyz(textured, "m.xyz"), "m.xyz"), xyz, "xyz");
    xyz.normals.clear();
    ExpectSameGeometry(ReadXyz(WriteXyz(xyz, "p.xyz"), "p.xyz"), xyz, "xyz without normals");
    ExpectSameGeometry(ReadObj(WriteObj(xyz, "p.obj"), "p.obj"), xyz, "obj points");
}

// Triangles and quads over a strip of 2 x n points, several windows of file long.
ScanGeometry Strip(int n)
{
    ScanGeometry strip;
    for (int i = 0; i < n; ++i) {
        strip.positions.push_back({i * 0.5, 0, i % 7 * 0.25});
        strip.positions.push_back({i * 0.5, 1, i % 5 * 0.125});
    }
    for (int i = 0; i + 1 < n; ++i) {
        if (i % 3 == 0) {
            strip.faces.push_back({{2 * i, 2 * i + 2, 2 * i + 3, 2 * i + 1}, 4});
        } else {
            strip.faces.push_back({{2 * i, 2 * i + 2, 2 * i + 3}, 3});
            strip.faces.push_back({{2 * i, 2 * i + 3, 2 * i + 1}, 3});
        }
    }
    return strip;
}

TEST(PlyFiles, ReadAWindowAtATimeAsFromMemory)
{
    const ScanGeometry strip = Strip(20000);
    const std::string binary = WritePly(strip, "strip.ply", PlyEncoding::binaryLittleEndian);
    std::string badIndex = binary, longHeader = binary;
    badIndex[binary.size() - 2] = 0x7f;  // in the last triangle
    longHeader.insert(longHeader.find("element"), std::string(300000, 'c').replace(0, 8, "comment ") + "\n");
    std::string badLongHeader = longHeader;
    badLongHeader.replace(badLongHeader.find("float x"), 5, "float128");
    const std::string cases[] = {
        binary,
        WritePly(strip, "strip.ply", PlyEncoding::ascii),
        longHeader,
        badLongHeader,
        binary.substr(0, binary.size() - 5),
        badIndex,
        binary + std::string(300000, ' ') + "x",
    };
    const std::string path = testing::TempDir() + "strip.ply";
    for (const std::string& bytes : cases) {
        std::ofstream(path, std::ios::binary) << bytes;
        ScanGeometry fromMemory, fromFile;
        const std::string outcome = FileErrorOf([&] { fromMemory = ReadPly(bytes, path); });
        EXPECT_EQ(FileErrorOf([&] { fromFile = ReadScanFile(path); }), outcome);
        ExpectSameGeometry(fromFile, fromMemory, outcome);
    }
    std::remove(path.c_str());
}

}  // namespace
