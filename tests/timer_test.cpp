// The pausable stopwatch, on a clock that the test moves, and the clocks of the system object behind it.

#include "tests/support/failing_allocation.h"
#include "tests/support/fake_machine.h"

#include "vl/core.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

/// On a machine that stands still until told otherwise.
struct Timer : ::testing::Test {
    Timer() { Sys->ceaseVerbose(1); }
    FakeMachine machine;
    V_VantorInit library;
};

TEST_F(Timer, SamplesGiveTheTimeBetweenThemWithoutPauses) {
    V_Timer timer;
    FakeMachine::pass(0.5);
    EXPECT_EQ(timer.sample(), 0.5f);
    FakeMachine::pass(0.25);
    EXPECT_EQ(timer.getRunningDelta(), 0.75f);
    EXPECT_EQ(timer.sample(), 0.25f);
    EXPECT_EQ(timer.getDelta(), 0.25f);
    timer.setAge(1);
    EXPECT_EQ(timer.getDelta(), 0);
    FakeMachine::pass(1);
    timer.resume(); // is running
    timer.sample();
    timer.pause();
    FakeMachine::pass(4);
    timer.pause();
    EXPECT_EQ(timer.getAge(), 2);
    EXPECT_EQ(timer.sample(), 0);
    timer.setAge(7); // shows after a reset only
    EXPECT_EQ(timer.getAge(), 2);
    timer.resume();
    EXPECT_EQ(timer.getAge(), 2);
    EXPECT_EQ(timer.sample(), 0);
    FakeMachine::pass(1);
    EXPECT_EQ(timer.sample(), 1);
    timer.pause();
    timer.reset();
    EXPECT_FALSE(timer.isPaused());
    EXPECT_EQ(timer.getAge(), 0);
}

TEST_F(Timer, AgesBeyondTheCounterAreCut) {
    V_Timer timer;
    for (const float age : {std::numeric_limits<float>::infinity(), 1e30f}) {
        timer.setAge(age);
        EXPECT_NEAR(timer.getAge(), 4611686018.0f, 1000);
        timer.setAge(-age);
        EXPECT_NEAR(timer.getAge(), -4611686018.0f, 1000);
    }
    timer.setAge(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(timer.getAge(), 0);
}

TEST(Clock, MillisecondsServeWithoutACounter) {
    const FakeMachine machine(FakeMachine::NO_COUNTER);
    FakeMachine::pass(4294967.0); // the clock is about to wrap
    const V_VantorInit library;
    EXPECT_EQ(Sys->getPerformanceFrequency(), 1000);
    EXPECT_EQ(Sys->getPerformanceCounter(), 4294967000);
    FakeMachine::pass(0.0015);
    EXPECT_EQ(Sys->getAppAge(), 0.001);
    const V_Timer timer;
    FakeMachine::pass(0.0005);
    EXPECT_EQ(timer.getAge(), 0.001f);
    FakeMachine::pass(1);
    EXPECT_EQ(Sys->getAppAge(), 1.002);
}

TEST(Clock, ClockRateIsMeasuredOnceAtRaisedPriority) {
    for (const bool profiling : {true, false}) {
        const FakeMachine machine;
        const V_VantorInit library;
        V_Profile::enableProfiling(profiling);
        static bool alwaysRaised;
        alwaysRaised = true;
        vl::machine.timeStampCounter = [] {
            alwaysRaised = alwaysRaised && FakeMachine::sm_iRaised == 1;
            return static_cast<std::uint64_t>(FakeMachine::sm_iNow) * 2;
        };
        FakeMachine::sm_iStep = 125'000'000;
        if (profiling) {
            const FailingAllocation fault(0);
            EXPECT_THROW(Sys->getProcessorSpeed(), V_MemoryException_Allocation *);
            EXPECT_EQ(FakeMachine::sm_iRaised, 0);
            EXPECT_EQ(V_Profile::m_sbFrameRunning, 0);
        }
        EXPECT_EQ(Sys->getProcessorSpeed(), 2.5e9);
        EXPECT_TRUE(alwaysRaised);
        const std::int64_t now = FakeMachine::sm_iNow;
        EXPECT_EQ(Sys->getProcessorSpeed(), 2.5e9);
        EXPECT_EQ(FakeMachine::sm_iNow, now);
        EXPECT_EQ(FakeMachine::sm_iRaised, 0);
        EXPECT_EQ(V_Profile::request("Processor speed"), nullptr);
        V_Profile::enableProfiling(true);
    }
}

TEST(Clock, ClockRateIsOneWithoutTimeStamps) {
    const FakeMachine machine(FakeMachine::COUNTER, FakeMachine::NO_TIME_STAMPS);
    const V_VantorInit library;
    EXPECT_EQ(Sys->getProcessorSpeed(), 1.0);
    EXPECT_EQ(FakeMachine::sm_iNow, 0);
}

} // namespace
