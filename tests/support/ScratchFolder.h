#pragma once

// A folder of the test's own, empty when the test starts and gone when it
// ends, with the file operations the tests need in it.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace brell::test {

class ScratchFolder : public testing::Test {
protected:
    ScratchFolder()
    {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    ~ScratchFolder() override { std::filesystem::remove_all(folder); }

    std::string Path(const std::string& name) const { return (folder / name).string(); }
    // Writes bytes to the named file and gives its path.
    std::string Write(const std::string& name, std::string_view bytes) const
    {
        std::ofstream(Path(name), std::ios::binary) << bytes;
        return Path(name);
    }
    static std::string Read(const std::filesystem::path& path)
    {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    // How many files and folders the folder holds.
    long Entries() const { return std::distance(std::filesystem::directory_iterator(folder), {}); }

    const std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) / testing::UnitTest::GetInstance()->current_test_info()->name();
};

}  // namespace brell::test
