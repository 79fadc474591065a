// Saving files safely, refusing what is not a regular file, and telling
// progress while files are read and saved.

#include "support/ScratchFolder.h"

#include <brelldata/io/Files.h>
#include <brelldata/io/ScanFormats.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using brell::io::FileError;
using FileFolder = brell::test::ScratchFolder;

void Save(const std::string& path, const std::string& bytes)
{
    brell::io::SaveFile(path, bytes.data(), bytes.size());
}

// The device is reached through a link, so that a save that wrongly replaced
// it would replace the link, never the machine's /dev/null.
TEST_F(FileFolder, ASaveRefusesToReplaceAnythingButARegularFileAndLeavesItAsItWas)
{
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    fs::create_directory(folder / "folder");
    fs::create_symlink("/dev/null", folder / "device");
    const std::pair<const char*, const char*> cases[] = {
        {"pipe", "a pipe"}, {"folder", "a folder"}, {"device", "a device"}};
    for (const auto& [name, kind] : cases) {
        const std::string path = Path(name);
        const fs::file_type before = fs::symlink_status(path).type();
        EXPECT_THAT([&path] { Save(path, "bytes"); },
                    testing::ThrowsMessage<FileError>(
                        path + ": expected a regular file to replace or a new name, found " + kind));
        EXPECT_EQ(fs::symlink_status(path).type(), before) << name;
    }
    EXPECT_EQ(Entries(), 3);
}

TEST_F(FileFolder, ASaveThroughALinkWritesItsTargetAndKeepsTheLink)
{
    fs::create_directory(folder / "real");
    Save(Path("real/old"), "old");
    fs::create_symlink("real/old", folder / "existing");
    fs::create_symlink("new", folder / "real" / "dangling");
    fs::create_symlink("real/dangling", folder / "chain");

    Save(Path("existing"), "saved");
    Save(Path("chain"), "made");
    EXPECT_TRUE(fs::is_symlink(folder / "existing"));
    EXPECT_EQ(Read(folder / "real" / "old"), "saved");
    EXPECT_TRUE(fs::is_symlink(folder / "chain"));
    EXPECT_EQ(Read(folder / "real" / "new"), "made");
}

TEST_F(FileFolder, ASaveIntoAMissingFolderNamesIt)
{
    const std::string path = Path("missing/file");
    EXPECT_THAT([&] { Save(path, "bytes"); },
                testing::ThrowsMessage<FileError>(path + ": expected an existing folder \"" + Path("missing") +
                                                  "\", found none"));
}

TEST_F(FileFolder, EveryReaderRefusesAFolderWithTheSameMessage)
{
    fs::create_directory(folder / "scan.ply");
    const std::string path = Path("scan.ply");
    const std::string message = path + ": expected a regular file, found a folder";
    EXPECT_THAT([&] { brell::io::RequireRegularFile(path); }, testing::ThrowsMessage<FileError>(message));
    EXPECT_THAT([&] { brell::io::ReadScanFile(path); }, testing::ThrowsMessage<FileError>(message));
}

TEST_F(FileFolder, ProgressMovesThroughEachPieceReadOrSavedAndThroughTheParseOfText)
{
    std::string points;
    while (points.size() < (3u << 20)) points += "0 0 0\n";
    using Told = std::vector<std::pair<uint64_t, uint64_t>>;
    const auto recordInto = [](Told& told) {
        return [&told](uint64_t done, uint64_t total) { told.emplace_back(done, total); };
    };
    Told saved, read;
    {
        brell::io::FileProgressScope scope(recordInto(saved));
        Save(Path("points.xyz"), points);
    }
    {
        brell::io::FileProgressScope scope(recordInto(read));
        brell::io::ReadScanFile(Path("points.xyz"));
    }
    brell::io::ReadScanFile(Path("points.xyz"));

    // A text scan is read, then parsed: two halves of one task.
    const uint64_t size = points.size();
    const std::pair<const Told&, uint64_t> tasks[] = {{saved, size}, {read, 2 * size}};
    for (const auto& [told, total] : tasks) {
        ASSERT_GE(told.size(), 3u);
        EXPECT_EQ(told.back(), std::make_pair(total, total));
        const auto notForward = [](const auto& before, const auto& after) { return after.first <= before.first; };
        EXPECT_EQ(std::adjacent_find(told.begin(), told.end(), notForward), told.end());
    }
    EXPECT_TRUE(std::any_of(read.begin(), read.end(), [&](const auto& t) {
        return t.first > size && t.first < 2 * size;
    })) << "progress moves while the text is parsed";
}

}  // namespace
