#include <brelldata/core/Tree.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/io/SceneFile.h>

#include "io/GeometryMatchers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <vector>

// Range scans and meshes that no one here made: the data files of Debian's
// libcgal-demo package, fetched into the build tree on first use.

namespace {

using namespace brell::io;
namespace fs = std::filesystem;

const fs::path scans = BRELL_REAL_SCANS;

// Fetches and unpacks the package once; false when it cannot be had.
bool FetchScans()
{
    if (fs::exists(scans / "data" / "meshes" / "bunny00.off")) return true;
    fs::create_directories(scans);
    const std::string command = "cd '" + scans.string() +
                                "' && apt-get download libcgal-demo >/dev/null 2>&1"
                                " && dpkg-deb -x libcgal-demo_*.deb package"
                                " && tar -xzf package/usr/share/doc/libcgal-dev/data.tar.gz data/meshes data/points_3";
    return std::system(command.c_str()) == 0 && fs::exists(scans / "data" / "meshes" / "bunny00.off");
}

std::vector<fs::path> ScanFiles()
{
    std::vector<fs::path> files;
    for (const char* folder : {"meshes", "points_3"}) {
        for (const fs::directory_entry& entry : fs::directory_iterator(scans / "data" / folder)) {
            const std::string extension = entry.path().extension().string();
            if (extension == ".ply" || extension == ".off" || extension == ".obj" || extension == ".xyz")
                files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

class RealScans : public testing::Test {
protected:
    void SetUp() override
    {
        if (!FetchScans()) GTEST_SKIP() << "libcgal-demo could not be fetched with apt-get download: no real scans";
    }
};

TEST_F(RealScans, TheBunnyIsAMeshAndEveryFileRoundTripsThroughImportSaveLoadAndExport)
{
    const ScanGeometry bunny = ReadScanFile((scans / "data" / "meshes" / "bunny00.off").string());
    EXPECT_EQ(std::tuple(bunny.positions.size(), bunny.faces.size()), std::tuple(37706u, 75408u));

    const std::vector<fs::path> files = ScanFiles();
    EXPECT_GT(files.size(), 100u);
    const fs::path out = fs::path(testing::TempDir()) / "brell-real-scan";
    fs::create_directories(out);
    // Files that are not what their name says: each is refused.
    const std::set<std::string> malformed = {
        "prim.off",       // declares 7 faces and holds 8
        "triangles.xyz",  // nine values a line: triangles, not points
    };
    for (const fs::path& file : files) {
        SCOPED_TRACE(file.string());
        if (malformed.count(file.filename().string()) != 0) {
            EXPECT_THROW(ReadScanFile(file.string()), FileError);
            continue;
        }
        ScanGeometry original;
        ASSERT_NO_THROW(original = ReadScanFile(file.string()));
        const std::string copy = (out / file.filename()).string();
        // Imported, saved as a scene file, loaded, exported and read again.
        CTree scene(ImportScan(file.string()));
        const std::string sceneFile = copy + ".scene";
        SaveScene(scene, sceneFile);
        CTree loaded(LoadScene(sceneFile));
        ExportScan(loaded.Root(), copy, PlyEncoding::binaryBigEndian);
        brell::test::ExpectSameGeometry(ReadScanFile(copy), original, file.filename().string());
        fs::remove(copy);
        fs::remove(sceneFile);
    }
}

}  // namespace
