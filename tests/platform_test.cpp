// The process, the clocks, the processor and random numbers.

#include "platform/platform.h"
#include "tests/support/temporary_directory.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sched.h>
#include <sys/resource.h>
#include <thread>

using namespace vl::platform;

TEST(PlatformRandom, DrawsTheKnownSequencePerThread) {
    seedRandom(1);
    for (const int expected : {41, 18467, 6334, 26500, 19169, 15724})
        EXPECT_EQ(drawRandom(), expected);
    int first = 0;
    std::thread([&] { first = drawRandom(); }).join();
    EXPECT_EQ(first, 41);
    EXPECT_EQ(drawRandom(), 11478);
}

TEST(PlatformProcess, TellsWhoRunsAndWhere) {
    const std::string line = commandLine();
    const std::string executable = enginePath(std::filesystem::canonical("/proc/self/exe"));
    EXPECT_TRUE(line.starts_with('"' + executable + '"')) << line;
    char name[16];
    ASSERT_TRUE(computerName(name));
    EXPECT_EQ(std::string_view(name).find_first_of("/\\"), std::string_view::npos);
    std::uint32_t total = 0, available = 0;
    physicalMemory(total, available);
    EXPECT_GT(available, 0u);
    EXPECT_GE(total, available);
}

TEST(PlatformProcess, RestoresThePriorityThatItRaised) {
    const int nice = getpriority(PRIO_PROCESS, 0), policy = sched_getscheduler(0);
    const Priority saved = raisePriority();
    EXPECT_EQ(saved.processChanged, getpriority(PRIO_PROCESS, 0) < nice);
    EXPECT_EQ(saved.threadChanged, sched_getscheduler(0) != policy);
    restorePriority(saved);
    EXPECT_EQ(getpriority(PRIO_PROCESS, 0), nice);
    EXPECT_EQ(sched_getscheduler(0), policy);
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

TEST(PlatformProcess, NamesTheProcessor) {
    CpuidRegisters registers;
    if (!cpuid(0, registers)) {
        EXPECT_EQ(registers.eax | registers.ebx | registers.ecx | registers.edx, 0u);
        return;
    }
    const std::uint32_t letters[] = {registers.ebx, registers.edx, registers.ecx};
    const std::string vendor(reinterpret_cast<const char *>(letters), sizeof letters);
    std::ifstream file("/proc/cpuinfo");
    const std::string known(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(known.find(vendor), std::string::npos) << vendor;
}
