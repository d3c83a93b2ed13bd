// vl system, run as a user runs it.

#include "tests/support/program.h"

#include <gtest/gtest.h>

namespace {

TEST(SystemTool, ShowsWhatTheLibraryAndTheSystemSay) {
    const Outcome outcome = runTool("system");
    EXPECT_EQ(outcome.status, 0);
    for (const char *row : {"processor  ", "SSE2  ", "physical memory  ", "available memory  "})
        EXPECT_NE(outcome.output.find(row), std::string::npos) << outcome.output;
}

} // namespace
