// The process, the clocks, the processor and random numbers.

#include "platform/platform.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
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
