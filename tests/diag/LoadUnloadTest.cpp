// Start-up and shut-down seen from a process that loads and unloads the
// library, with each kind of output library on the search path.

#include "Recording.h"
#include "support/RegisteredTypes.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>
#include <vector>

namespace {

using brell::test::Recording;

// The lines given, each format's trace line for every registered type in
// table order, then the lines after.
std::vector<std::string> Records(std::vector<std::string> lines, std::initializer_list<const char*> formats,
                                 std::initializer_list<const char*> after = {})
{
    for (const char* format : formats)
        for (const std::string& type : brell::test::kRegisteredTypes)
            lines.push_back(std::string("output 0 0 ") + format + type + "\n");
    lines.insert(lines.end(), after.begin(), after.end());
    return lines;
}

void* LoadLibrary()
{
    void* library = dlopen(BRELL_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(library, nullptr) << dlerror();
    return library;
}

TEST(WithRecordingOutput, RegistrationsArriveOnChannelZeroAtLevelZeroInTableOrder)
{
    Recording recording(testing::TempDir() + "brell-load-recording.txt");
    void* library = LoadLibrary();
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(recording.Lines(), Records({"load", "open 0"}, {"Register node type "}));

    ASSERT_EQ(dlclose(library), 0);
    EXPECT_EQ(recording.Lines(), Records({"load", "open 0"}, {"Register node type ", "Unregister node type "},
                                         {"close 0", "unload"}));
}

// The library works whether or not its diagnostics go anywhere: a node made
// by type name can be released.
TEST(WithoutOutputLibrary, LoadingAndUnloadingSucceed)
{
    void* library = LoadLibrary();
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(dlopen("libscrivo.so", RTLD_NOW | RTLD_NOLOAD), nullptr);
    auto createNode = reinterpret_cast<void* (*)(const char*)>(dlsym(library, "_Z10CreateNodePKc"));
    auto release = reinterpret_cast<void (*)(void*)>(dlsym(library, "_ZN9CBaseNode7ReleaseEv"));
    ASSERT_NE(createNode, nullptr);
    ASSERT_NE(release, nullptr);
    void* node = createNode("CRefNode");
    ASSERT_NE(node, nullptr);
    release(node);
    EXPECT_EQ(dlclose(library), 0);
}

TEST(WithoutReopenEntryPoint, OutputLibraryIsReleasedAtOnceAndNeverCalled)
{
    Recording recording(testing::TempDir() + "brell-load-no-reopen.txt");
    void* library = LoadLibrary();
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(recording.Lines(), (std::vector<std::string>{"load", "unload"}));
    ASSERT_EQ(dlclose(library), 0);
    EXPECT_EQ(recording.Lines(), (std::vector<std::string>{"load", "unload"}));
}

TEST(WithFailingOpen, EveryMessageTriesToOpenTheChannelAgainAndNothingIsClosed)
{
    Recording recording(testing::TempDir() + "brell-load-open-fails.txt");
    void* library = LoadLibrary();
    ASSERT_NE(library, nullptr);
    ASSERT_EQ(dlclose(library), 0);

    std::vector<std::string> expected = {"load"};
    for (const std::string& line : Records({}, {"Register node type ", "Unregister node type "}))
        expected.insert(expected.end(), {"open 0", line});
    expected.push_back("unload");
    EXPECT_EQ(recording.Lines(), expected);
}

}  // namespace
