#include <brelldata/core/Tree.h>
#include <brelldata/io/ScanFormats.h>
#include <brelldata/io/ScanScene.h>

#include "io/FileErrors.h"
#include "io/PlyStream.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>

namespace {

using namespace brell::io;
using brell::test::FileErrorOf;
namespace fs = std::filesystem;

// A cloud of 7 vertices whose properties are "type name" pairs.
struct Cloud {
    const char* what;
    const char* properties;
    const char* format;
    bool inexact;  // x of values that floats do not hold
    bool translucent;

    double Value(int k, const std::string& type, const std::string& name) const
    {
        if (name == "alpha") return translucent && k == 4 ? 128 : 255;
        if (name == "x" && inexact) return type == "int" ? 16777217 + k : 0.1 * k;
        return name == "red" || name == "green" || name == "blue" ? 30 * k : 0.5 * k - name.size();
    }
    std::string File() const
    {
        std::ostringstream file, body;
        std::istringstream words(properties);
        std::vector<std::pair<std::string, std::string>> list;
        for (std::string type, name; words >> type >> name;) list.emplace_back(type, name);
        file << "ply\nformat " << format << " 1.0\nelement vertex 7\n";
        for (const auto& [type, name] : list) file << "property " << type << " " << name << "\n";
        file << "end_header\n";
        for (int k = 0; k < 7; ++k) {
            for (const auto& [type, name] : list) {
                const double v = Value(k, type, name);
                if (std::strcmp(format, "ascii") == 0) {
                    file << v << (&name == &list.back().second ? "\n" : " ");
                    continue;
                }
                const float single = static_cast<float>(v);
                const int32_t integer = static_cast<int32_t>(v);
                const uint8_t byte = static_cast<uint8_t>(v);
                const char* bytes = type == "double"  ? reinterpret_cast<const char*>(&v)
                                    : type == "float" ? reinterpret_cast<const char*>(&single)
                                    : type == "int"   ? reinterpret_cast<const char*>(&integer)
                                                      : reinterpret_cast<const char*>(&byte);
                std::string value(bytes, type == "double" ? 8 : type == "uchar" ? 1 : 4);
                if (std::strcmp(format, "binary_big_endian") == 0) std::reverse(value.begin(), value.end());
                file << value;
            }
        }
        return file.str();
    }
};

const char* kEverything = "float x float y float z float nx float ny float nz uchar red uchar green uchar blue uchar alpha";

const Cloud kClouds[] = {
    {"float positions", "float x float y float z", "binary_little_endian", false, false},
    {"double positions that fit floats", "double x double y double z", "binary_little_endian", false, false},
    {"double positions that do not", "double x double y double z", "binary_little_endian", true, false},
    {"int positions past a float's integers", "int x int y int z", "binary_little_endian", true, false},
    {"colours without alpha", "float x float y float z uchar red uchar green uchar blue", "binary_little_endian",
     false, false},
    {"normals and opaque colours", kEverything, "binary_little_endian", false, false},
    {"normals and translucent colours", kEverything, "binary_little_endian", false, true},
    {"big-endian", kEverything, "binary_big_endian", true, true},
    {"text", kEverything, "ascii", true, true},
    {"a dropped property", "float x float y float z float intensity", "binary_little_endian", false, false},
};

using PlyStreamTest = brell::test::ScratchFolder;

// Pieces of three vertices end within each cloud of seven, and the last is short.
TEST_F(PlyStreamTest, CloudsCopiedInPiecesAreTheBytesImportThenExportWrites)
{
    const detail::PlyPieceScope pieces(3);
    for (const Cloud& cloud : kClouds) {
        const std::string in = Write("in.ply", cloud.File());
        for (PlyEncoding encoding : {PlyEncoding::binaryLittleEndian, PlyEncoding::ascii}) {
            SCOPED_TRACE(std::string(cloud.what) + (encoding == PlyEncoding::ascii ? ", written as text" : ""));
            CTree scene(ImportScan(in));
            ExportScan(scene.Root(), Path("exported.ply"), encoding);
            EXPECT_TRUE(CopyPlyPointCloud(in, Path("streamed.ply"), encoding));
            EXPECT_EQ(Read(Path("streamed.ply")), Read(Path("exported.ply")));
        }
    }
}

TEST_F(PlyStreamTest, CopyingAMeshIsLeftToImportThenExport)
{
    const std::string in = Write("mesh.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n"
                                             "property float y\nproperty float z\nelement face 1\n"
                                             "property list uchar int vertex_indices\nend_header\n"
                                             "0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
    EXPECT_FALSE(CopyPlyPointCloud(in, Path("out.ply")));
    EXPECT_FALSE(fs::exists(Path("out.ply")));
}

TEST_F(PlyStreamTest, BadCloudsAreRefusedAsImportRefusesThemAndLeaveNothingBehind)
{
    const std::string good = kClouds[0].File();
    std::string nan = good;
    const float notANumber = std::nanf("");
    std::memcpy(&nan[nan.size() - 8], &notANumber, 4);
    const struct {
        const char* what;
        std::string bytes;
    } cases[] = {
        {"a truncated body", good.substr(0, good.size() - 5)},
        {"a coordinate that is not a number", nan},
        {"bytes after the last vertex", good + "more"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string in = Write("bad.ply", c.bytes);
        const std::string expected = FileErrorOf([&] { CTree(ImportScan(in)); });
        ASSERT_NE(expected, "no error");
        EXPECT_EQ(FileErrorOf([&] { CopyPlyPointCloud(in, Path("out.ply")); }), expected);
        EXPECT_EQ(Entries(), 1);
    }
}

}  // namespace
