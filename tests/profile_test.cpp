// The frame profiler, on a clock that the test moves.

#include "tests/support/failing_allocation.h"
#include "tests/support/fake_machine.h"

#include "vl/core.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

/// One second of the clock rate that measureClockRate arrives at, in seconds of the fake clock.
constexpr double second = 1.25;

class Profile : public ::testing::Test {
  protected:
    Profile() {
        V_Memory::resetNewDeleteCounts();
        m_pLibrary = std::make_unique<V_VantorInit>();
        Sys->ceaseVerbose(1);
    }
    ~Profile() override {
        m_pLibrary.reset();
        EXPECT_EQ(V_Memory::getNewCount(), V_Memory::getDeleteCount());
    }

    /// The measurement, whose steps of 1/8 second make 2.5 cycles of every nanosecond of its loop.
    static double measureClockRate() {
        FakeMachine::sm_iStep = 125'000'000;
        const double rate = Sys->getProcessorSpeed();
        FakeMachine::sm_iStep = 0;
        return rate;
    }

    /// Calls, whether used, percents, and seconds: inclusive, average, last and longest exclusive; calls in
    /// all and the most of a frame.
    static std::string figures(const char *name) {
        const V_PINFO *i = V_Profile::request(name);
        std::ostringstream out;
        if (i)
            out << i->callsThisFrame << ' ' << i->usedThisFrame << ", " << i->inclusivePercent << "% "
                << i->exclusivePercent << "%, " << i->inclusiveSeconds << ' ' << i->averageSeconds << ' '
                << i->lastSeconds << ' ' << i->maxExclusiveSeconds << ", " << i->callsTotal << ' '
                << i->maxCallsPerFrame;
        return out.str();
    }

    FakeMachine m_machine;
    std::unique_ptr<V_VantorInit> m_pLibrary;
};

struct Section {
    explicit Section(const char *name, double seconds = 0) : profile(name) {
        FakeMachine::pass(seconds * second);
    }
    V_Profile profile;
};

/// A frame of 8 seconds: outer 5 (2 + inner 1 + 1 + inner 1) and 3 of nothing.
void nestedFrame() {
    V_Profile::startFrame();
    {
        const Section outer("outer", 2);
        { const Section inner("inner", 1); }
        FakeMachine::pass(second);
        { const Section inner("inner", 1); }
    }
    FakeMachine::pass(3 * second);
    V_Profile::endFrame();
}

TEST_F(Profile, NestedSectionsSplitTimeIntoInclusiveAndExclusive) {
    EXPECT_EQ(measureClockRate(), 2.5e9);
    nestedFrame();
    EXPECT_EQ(figures("outer"), "1 1, 62.5% 37.5%, 5 5 5 3, 1 1");
    EXPECT_EQ(figures("inner"), "2 1, 25% 25%, 2 1 1 2, 2 2");
    EXPECT_DOUBLE_EQ(V_Profile::requestTime("inner"), 1);
    EXPECT_DOUBLE_EQ(V_Profile::getLastFrameTime(), 8);

    // Averages run on; figures of the frame start again; the maximum stays.
    V_Profile::startFrame();
    { const Section section("outer", 1); }
    V_Profile::endFrame();
    EXPECT_EQ(figures("outer"), "1 1, 100% 100%, 1 3 1 3, 2 1");
    EXPECT_EQ(figures("inner"), "0 0, 0% 0%, 0 1 1 2, 2 2");
    EXPECT_DOUBLE_EQ(V_Profile::getTotalTime(), 9);
    EXPECT_EQ(V_Profile::getFrameCount(), 2);

    // Of a recursion the outermost instance counts.
    V_Profile::startFrame();
    {
        const Section outer("walk", 1);
        const Section again("walk", 2);
        const Section other("visit", 4);
    }
    FakeMachine::pass(second);
    V_Profile::endFrame();
    EXPECT_EQ(figures("walk"), "2 1, 87.5% 37.5%, 7 3.5 7 3, 2 2");
}

TEST_F(Profile, AllocationsAreCountedLikeTime) {
    const auto allocate = [](int count) {
        for (int i = 0; i < count; ++i)
            V_Memory::freeCounted(V_Memory::allocateCounted(1));
    };
    nestedFrame(); // makes the entries, whose own allocations would count
    V_Profile::startFrame();
    {
        const Section outer("outer");
        allocate(2);
        void *kept;
        {
            const Section inner("inner");
            allocate(3);
            kept = V_Memory::allocateCounted(1);
        }
        V_Memory::freeCounted(kept);
    }
    V_Profile::endFrame();
    const auto counts = [](const char *name) {
        const V_PINFO *i = V_Profile::request(name);
        return std::vector<int>{i->inclusiveAllocations, i->exclusiveAllocations, i->inclusiveReleases,
                                i->exclusiveReleases, i->maxExclusiveReleases};
    };
    EXPECT_EQ(counts("outer"), (std::vector<int>{6, 2, 6, 3, 3}));
    EXPECT_EQ(counts("inner"), (std::vector<int>{4, 4, 3, 3, 3}));
    V_Profile::startFrame();
    V_Profile::endFrame();
    EXPECT_EQ(counts("outer"), (std::vector<int>{0, 0, 0, 0, 3}));
}

TEST_F(Profile, TraversalGivesEveryEntryOnceBetweenFrames) {
    V_Profile::startFrame();
    for (const char *name : {"c", "a", "b", "a"})
        const Section section(name);
    EXPECT_EQ(V_Profile::request(), nullptr);
    EXPECT_EQ(V_Profile::request("a"), nullptr);
    V_Profile::endFrame();
    for (int round = 0; round < 2; ++round) {
        std::string order;
        while (const V_PINFO *info = V_Profile::request())
            order += info->name;
        EXPECT_EQ(order, "cab");
    }
    EXPECT_EQ(V_Profile::request("d"), nullptr);
    EXPECT_EQ(V_Profile::requestTime("d"), 0);

    V_Profile::reset();
    EXPECT_EQ(V_Profile::getFrameCount(), 0);
    EXPECT_EQ(V_Profile::request(), nullptr);
    V_Profile::startFrame();
    { const Section section("new"); } // in the node of another, cleared
    const V_PINFO &reused = V_Profile::m_slProfiles.getFirst()->info;
    EXPECT_EQ(reused.callsTotal, 1);
    EXPECT_EQ(reused.inclusivePercent, -1);
}

TEST_F(Profile, NothingIsRecordedOutsideFramesOrWhenDisabled) {
    { const Section section("outside", 1); }
    V_Profile::startFrame();
    V_Profile::disableProfiling();
    { const Section section("disabled", 1); }
    V_Profile::enableProfiling(true);
    V_Profile::endFrame();
    EXPECT_EQ(V_Profile::request(), nullptr);
}

TEST_F(Profile, OnlyThirtyOneCharactersOfANameCount) {
    const std::string common(31, 'n');
    V_Profile::startFrame();
    for (const std::string &name : {common, common + "x", common + "y", common.substr(1)})
        const Section section(name.c_str());
    { const V_Profile unnamed(nullptr); }
    { const Section section(""); }
    V_Profile::endFrame();
    EXPECT_EQ(V_Profile::m_siEntries, 3);
    EXPECT_EQ(V_Profile::request((common + "z").c_str())->callsThisFrame, 3);
    EXPECT_EQ(V_Profile::request(common.c_str())->name, common);
    EXPECT_EQ(V_Profile::request("")->callsThisFrame, 2);
}

TEST_F(Profile, InstancesThatOutliveTheirFrameAreHarmless) {
    measureClockRate();
    std::unique_ptr<V_Profile> late;
    // Opens it in a frame, in which `action` lets it outlive something; then one more section is as ever.
    const auto outlive = [&late](const char *name, const char *next, const auto &action) {
        SCOPED_TRACE(name);
        V_Profile::startFrame();
        late = std::make_unique<V_Profile>(name);
        action();
        {
            const Section section(next, 1);
            late.reset();
        }
        V_Profile::endFrame();
        const V_PINFO *info = V_Profile::request(next);
        ASSERT_TRUE(info);
        EXPECT_EQ(info->callsThisFrame, 1);
        EXPECT_DOUBLE_EQ(info->inclusiveSeconds, 1);
        EXPECT_EQ(V_Profile::m_spEarlierParent, nullptr);
        V_Profile::reset();
    };
    V_Profile::startFrame();
    late = std::make_unique<V_Profile>("late");
    V_Profile::endFrame();
    FakeMachine::pass(second);
    late.reset(); // still counts for the frame that ended
    EXPECT_DOUBLE_EQ(V_Profile::requestTime("late"), 1);

    outlive("late", "late", [] { V_Profile::startFrame(); });
    outlive("other", "reused", [] { V_Profile::reset(); }); // in the node of the other
    outlive("cleared", "cleared", [] {
        const auto child = std::make_unique<V_Profile>("child");
        V_Profile::clearEntry("cleared"); // the child's parent has no record any more
    });
    outlive("disabled", "disabled", [&late] {
        V_Profile::disableProfiling();
        late.reset();
        V_Profile::enableProfiling(true);
        { const Section section("after", 1); }
        V_Profile::startFrame();
    });

    V_Profile::startFrame();
    late = std::make_unique<V_Profile>("late");
    m_pLibrary.reset();
    late.reset();
    EXPECT_EQ(V_Profile::m_sbFrameRunning, 0);
}

TEST_F(Profile, SteadyFramesAllocateNothing) {
    measureClockRate();
    nestedFrame();
    const FailingAllocation fault(0);
    for (int i = 0; i < 3; ++i)
        nestedFrame();
    V_Profile::reset();
    nestedFrame(); // on recycled entries
    EXPECT_FALSE(FailingAllocation::happened());
    EXPECT_EQ(V_Profile::request("inner")->callsTotal, 2);
}

TEST_F(Profile, ExhaustedMemoryLeavesTheSectionUnopened) {
    const int failures = failEachAllocation<V_MemoryException_Allocation *>(
        [] { nestedFrame(); },
        [] {
            EXPECT_EQ(V_Profile::m_spEarlierParent, nullptr);
            V_Profile::endFrame();
        });
    EXPECT_EQ(failures, 3);   // node and stack of the outer section, and the stack of the inner one
    --V_Memory::sm_iNewCount; // the node that was not obtained has counted, too
    V_Profile::reset();
    nestedFrame();
    EXPECT_EQ(V_Profile::request("inner")->callsThisFrame, 2);
}

TEST_F(Profile, UnmeasuredClockRateGivesNoSeconds) {
    nestedFrame();
    EXPECT_EQ(figures("outer"), "1 1, 62.5% 37.5%, 0 0 0 0, 1 1");

    FakeMachine::sm_iStep = 125'000'000;
    EXPECT_EQ(V_Profile::getTotalTime(), 0); // has measured, and forgotten
    FakeMachine::sm_iStep = 0;
    EXPECT_EQ(V_Profile::request("outer"), nullptr);
    nestedFrame();
    EXPECT_DOUBLE_EQ(V_Profile::getTotalTime(), 8);
}

/// Of a section whose own figures are lost, the time still is not its parent's.
TEST_F(Profile, SectionsThatLoseTheirFiguresLeaveTheirParentsRight) {
    measureClockRate();
    for (const bool cleared : {true, false}) {
        V_Profile::startFrame();
        {
            const Section outer("outer", 1);
            {
                const Section lost("lost", 2);
                if (cleared)
                    V_Profile::clearEntry("lost");
                else
                    V_Profile::disableProfiling();
            }
            V_Profile::enableProfiling(true);
            const Section found("lost", 4);
            const Section inner("inner", 1);
        }
        V_Profile::endFrame();
        EXPECT_EQ(figures("outer").substr(0, 20), "1 1, 100% 12.5%, 8 8") << cleared;
        EXPECT_EQ(figures("lost").substr(0, 17), cleared ? "1 1, 62.5% 50%, 5" : "2 1, 62.5% 50%, 5");
    }
}

TEST_F(Profile, FramesOfNoLengthAndClearedEntriesShowZero) {
    measureClockRate();
    V_Profile::startFrame();
    { const Section section("empty"); }
    V_Profile::endFrame();
    const V_PINFO *info = V_Profile::request("empty");
    EXPECT_EQ(info->inclusivePercent, 0);
    V_Profile::clearEntry("empty");
    EXPECT_EQ(info->inclusivePercent, -1);
    EXPECT_EQ(figures("empty"), "0 0, 0% 0%, 0 0 0 0, 0 0");
}

TEST(ProfileInSeconds, TimeIsCountedWithoutTimeStampsAndWithoutTheLibrary) {
    const FakeMachine machine(FakeMachine::COUNTER, FakeMachine::NO_TIME_STAMPS);
    V_Memory::resetNewDeleteCounts();
    {
        const V_VantorInit library;
        Sys->ceaseVerbose(1);
        nestedFrame();
        nestedFrame();
        // Seconds of every instance so far, of the fake clock.
        EXPECT_DOUBLE_EQ(V_Profile::request("inner")->inclusiveSeconds, 4 * second);
        EXPECT_DOUBLE_EQ(V_Profile::getTotalTime(), 16 * second);
        EXPECT_DOUBLE_EQ(V_Profile::getLastFrameTime(), 8 * second);
    }
    nestedFrame();
    EXPECT_EQ(V_Profile::request("inner")->callsThisFrame, 2);
    EXPECT_EQ(V_Profile::getTotalTime(), 0);
    EXPECT_EQ(V_Profile::getFrameCount(), 1);
    V_Profile::deinit();
    EXPECT_EQ(V_Memory::getNewCount(), V_Memory::getDeleteCount());
}

} // namespace
