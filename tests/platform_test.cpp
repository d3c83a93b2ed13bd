// The process and the clocks.

#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"

#include "platform/platform.h"

#include <gtest/gtest.h>

using namespace vl::platform;

namespace {

TEST(PlatformProcess, TellsWhoRunsAndWhere) {
    EXPECT_EQ(executablePath(), enginePath(ownProgram()));
    char name[16];
    ASSERT_TRUE(computerName(name));
    EXPECT_EQ(std::string_view(name).find_first_of("/\\"), std::string_view::npos);
    std::uint32_t total = 0, available = 0;
    physicalMemory(total, available);
    EXPECT_GT(available, 0u);
    EXPECT_GE(total, available);
}

TEST(PlatformProcess, CountsTimeForwards) {
    std::int64_t frequency = 0;
    ASSERT_TRUE(performanceFrequency(frequency));
    const std::uint32_t before = milliseconds();
    const std::int64_t start = performanceCounter();
    while (performanceCounter() - start < frequency / 100) {
    }
    EXPECT_GE(milliseconds() - before, 9u);
}

} // namespace
