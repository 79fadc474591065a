#include <brelldata/core/Tree.h>
#include <brelldata/io/ScanFormats.h>
#include <brelldata/io/ScanScene.h>

#include "io/PlyStream.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace brell::io;
namespace fs = std::filesystem;

struct Property {
    const char* type;
    const char* name;
};

// A PLY file of one vertex element with the properties, row k holding
// value(k, property number) for each; binary of either byte order or text.
template <class Value>
std::string CloudFile(const std::vector<Property>& properties, int rows, const char* format, Value value)
{
    std::ostringstream file;
    file << "ply\nformat " << format << " 1.0\nelement vertex " << rows << "\n";
    for (const Property& p : properties) file << "property " << p.type << " " << p.name << "\n";
    file << "end_header\n";
    const bool text = std::strcmp(format, "ascii") == 0, swap = std::strcmp(format, "binary_big_endian") == 0;
    file.precision(17);
    for (int k = 0; k < rows; ++k) {
        for (size_t i = 0; i < properties.size(); ++i) {
            const double v = value(k, i);
            const std::string type = properties[i].type;
            if (text) {
                file << v << (i + 1 < properties.size() ? " " : "\n");
                continue;
            }
            char bytes[8];
            const float single = static_cast<float>(v);
            const int32_t integer = static_cast<int32_t>(v);
            const uint8_t byte = static_cast<uint8_t>(v);
            const size_t size = type == "double" ? 8 : type == "uchar" ? 1 : 4;
            std::memcpy(bytes, type == "double" ? static_cast<const void*>(&v)
                               : type == "float" ? static_cast<const void*>(&single)
                               : type == "int"   ? static_cast<const void*>(&integer)
                                                 : static_cast<const void*>(&byte),
                        size);
            if (swap) std::reverse(bytes, bytes + size);
            file.write(bytes, static_cast<std::streamsize>(size));
        }
    }
    return file.str();
}

class PlyStreamTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        folder_ = fs::path(::testing::TempDir()) / ("brell-ply-stream-" + std::to_string(::getpid()));
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string Path(const std::string& name) const { return (folder_ / name).string(); }
    std::string Write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(Path(name), std::ios::binary) << bytes;
        return Path(name);
    }
    static std::string Read(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    // The file import then export makes of in.
    std::string Exported(const std::string& in, PlyEncoding encoding) const
    {
        CTree scene(ImportScan(in));
        ExportScan(scene.Root(), Path("exported.ply"), encoding);
        return Read(Path("exported.ply"));
    }
    std::string Streamed(const std::string& in, PlyEncoding encoding) const
    {
        EXPECT_TRUE(CopyPlyPointCloud(in, Path("streamed.ply"), encoding));
        return Read(Path("streamed.ply"));
    }
    // Every cloud of the table, copied in each encoding, against import then export.
    void ExpectSameAsExport() const;

    fs::path folder_;
};

const std::vector<Property> kFloatXyz = {{"float", "x"}, {"float", "y"}, {"float", "z"}};

struct Cloud {
    const char* what;
    std::vector<Property> properties;
    const char* format;
    bool inexact;  // positions that floats do not hold
    bool translucent;
};

std::vector<Cloud> Clouds()
{
    const std::vector<Property> doubles = {{"double", "x"}, {"double", "y"}, {"double", "z"}};
    const std::vector<Property> everything = {{"float", "x"},  {"float", "y"},     {"float", "z"},
                                              {"float", "nx"}, {"float", "ny"},    {"float", "nz"},
                                              {"uchar", "red"}, {"uchar", "green"}, {"uchar", "blue"},
                                              {"uchar", "alpha"}};
    const std::vector<Property> rgb = {{"float", "x"},   {"float", "y"},     {"float", "z"},
                                       {"uchar", "red"}, {"uchar", "green"}, {"uchar", "blue"}};
    return {
        {"float positions", kFloatXyz, "binary_little_endian", false, false},
        {"double positions that fit floats", doubles, "binary_little_endian", false, false},
        {"double positions that do not", doubles, "binary_little_endian", true, false},
        {"int positions past a float's integers", {{"int", "x"}, {"int", "y"}, {"int", "z"}}, "binary_little_endian",
         true, false},
        {"colours without alpha", rgb, "binary_little_endian", false, false},
        {"normals and opaque colours", everything, "binary_little_endian", false, false},
        {"normals and translucent colours", everything, "binary_little_endian", false, true},
        {"big-endian", everything, "binary_big_endian", true, true},
        {"text", everything, "ascii", true, true},
        {"a dropped property", {{"float", "x"}, {"float", "y"}, {"float", "z"}, {"float", "intensity"}},
         "binary_little_endian", false, false},
    };
}

// Row k's value of property i of the cloud.
double ValueOf(const Cloud& cloud, int k, size_t i)
{
    const std::string name = cloud.properties[i].name;
    if (name == "alpha") return cloud.translucent && k == 4 ? 128 : 255;
    if (name == "red" || name == "green" || name == "blue") return 30 * k + static_cast<double>(i);
    if (name == "nz") return 1;
    if (name == "x" && cloud.inexact) return std::strcmp(cloud.properties[i].type, "int") == 0 ? 16777217 + k : 0.1 * k;
    return 0.5 * k - static_cast<double>(i);
}

void PlyStreamTest::ExpectSameAsExport() const
{
    for (const Cloud& cloud : Clouds()) {
        const std::string in = Write(
            "in.ply", CloudFile(cloud.properties, 7, cloud.format, [&](int k, size_t i) { return ValueOf(cloud, k, i); }));
        for (PlyEncoding encoding : {PlyEncoding::binaryLittleEndian, PlyEncoding::ascii}) {
            SCOPED_TRACE(std::string(cloud.what) + (encoding == PlyEncoding::ascii ? ", written as text" : ""));
            const std::string expected = Exported(in, encoding);
            EXPECT_EQ(Streamed(in, encoding), expected);
        }
    }
}

TEST_F(PlyStreamTest, CopiedCloudsAreTheBytesImportThenExportWrites)
{
    ExpectSameAsExport();
}

TEST_F(PlyStreamTest, CloudsCopiedInPiecesOfThreeVerticesAreTheSameBytes)
{
    const detail::PlyPieceScope pieces(3);
    ExpectSameAsExport();
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
    const std::string good = CloudFile(kFloatXyz, 7, "binary_little_endian", [](int k, size_t) { return k; });
    const std::string nan =
        CloudFile(kFloatXyz, 7, "binary_little_endian", [](int k, size_t) { return k == 5 ? std::nan("") : k; });
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
        std::string expected;
        try {
            CTree scene(ImportScan(in));
        } catch (const FileError& error) {
            expected = error.what();
        }
        ASSERT_FALSE(expected.empty());
        try {
            CopyPlyPointCloud(in, Path("out.ply"));
            ADD_FAILURE() << "copied";
        } catch (const FileError& error) {
            EXPECT_EQ(error.what(), expected);
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()), 1);
    }
}

}  // namespace
