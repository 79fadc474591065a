// The diagnostic channels, compiled into this test with a process state of
// the test's own, seen through the recording output library.

#include "Recording.h"

#include "diag/Diagnostic.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

brell::diag::DiagnosticState& brell::diag::State()
{
    static DiagnosticState state;
    return state;
}

namespace {

using brell::test::Recording;
namespace diag = brell::diag;

class Diagnostics : public testing::Test {
protected:
    // Each test starts as a process that has produced no diagnostic text yet.
    void SetUp() override
    {
        diag::CloseDebugChannels();
        diag::State() = diag::DiagnosticState();
    }
    void TearDown() override { diag::CloseDebugChannels(); }

    Recording recording{testing::TempDir() + "brell-diag-" +
                        testing::UnitTest::GetInstance()->current_test_info()->name()};
};

TEST_F(Diagnostics, CarryTheirLevelsThroughTheLibraryLoadedOnceAtTheFirstOutputAndClosedAtShutDown)
{
    EXPECT_EQ(diag::GetDebugLevel() + diag::GetDebugChannel(), 0);
    diag::DebugError("error %d\n", 5);
    void* library = diag::State().library;
    ASSERT_NE(library, nullptr);
    diag::DebugWarning("warning %s\n", "w");
    diag::DebugTrace("trace\n");
    diag::SetDebugLevel(60);
    diag::DebugTrace("at %d\n", 60);
    EXPECT_EQ(std::tuple(diag::GetDebugLevel(), diag::State().library), std::tuple(60, library));
    // Long messages are cut to the formatting buffer; percent signs in arguments pass unchanged.
    diag::DebugTrace("%s", std::string(5000, 'x').c_str());
    diag::DebugTrace("%s", "100% of %d\n");

    diag::CloseDebugChannels();
    EXPECT_EQ(diag::State().library, nullptr);
    EXPECT_TRUE(diag::State().channelLevels.empty());
    EXPECT_EQ(recording.Lines(),
              (std::vector<std::string>{"load", "open 0", "output 0 -2 error 5\n", "output 0 -1 warning w\n",
                                        "output 0 0 trace\n", "output 0 60 at 60\n",
                                        "output 0 60 " + std::string(diag::kFormatBufferSize - 1, 'x'),
                                        "output 0 60 100% of %d\n", "close 0", "unload"}));

    diag::DebugTrace("after shut-down\n");  // loading is never tried again
    EXPECT_EQ(std::tuple(diag::State().library, recording.Lines().size()), std::tuple(nullptr, 10u));
}

}  // namespace
