// vl system, run as a user runs it.

#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

TEST(SystemTool, ShowsWhatTheLibraryAndTheSystemSay) {
    const Outcome outcome = runTool("system");
    EXPECT_EQ(outcome.status, 0);
    for (const char *row : {"processor  ", "SSE2  ", "physical memory  ", "available memory  "})
        EXPECT_NE(outcome.output.find(row), std::string::npos) << outcome.output;
}

TEST(SystemTool, NamesAProgramThatLiesTooDeep) {
    const TemporaryDirectory directory;
    const std::filesystem::path place = directory.path() / std::string(200, 'd') / std::string(50, 'd');
#if defined(_WIN32)
    GTEST_SKIP() << "what lies too deep cannot be started";
#endif
    std::error_code tooDeep;
    if (!std::filesystem::create_directories(place, tooDeep) ||
        !std::filesystem::copy_file(toolProgram(), place / toolProgram().filename(), tooDeep))
        GTEST_SKIP() << "no program can lie too deep";
    const Outcome outcome = runProgram(place / toolProgram().filename(), "system");
    EXPECT_EQ(outcome.status, 1);
    const std::string message =
        "Path \"" + enginePath(place / toolProgram().filename()) + "\" exceeds 255 characters\n";
    EXPECT_EQ(outcome.output, "The library cannot be started: " + message + "vl: " + message);
}

} // namespace
