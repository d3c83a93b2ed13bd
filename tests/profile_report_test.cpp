// The profiler's table and its traces.

#include "tests/support/failing_allocation.h"
#include "tests/support/fake_machine.h"

#include "vl/core.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <locale>
#include <optional>
#include <sstream>

namespace {

class ProfileReport : public ::testing::Test {
  protected:
    ProfileReport() { Sys->ceaseVerbose(1); }

    /// 8 ms: outer 5 around inner 2.
    static void frame(const char *outerName = "outer") {
        V_Profile::startFrame();
        {
            const V_Profile outer(outerName);
            FakeMachine::pass(0.001);
            {
                const V_Profile inner("inner");
                V_Memory::freeCounted(V_Memory::allocateCounted(1));
                FakeMachine::pass(0.002);
            }
            FakeMachine::pass(0.002);
        }
        FakeMachine::pass(0.003);
        V_Profile::endFrame();
    }

    static nlohmann::json written(const V_ProfileTrace &trace) {
        std::ostringstream out;
        trace.write(out);
        return nlohmann::json::parse(out.str())["traceEvents"];
    }

    FakeMachine m_machine;
    std::optional<V_VantorInit> m_library{std::in_place};
};

TEST_F(ProfileReport, TableListsTheSectionsOfTheLastFrame) {
    V_Profile::startFrame();
    { const V_Profile unused("not in the last frame"); }
    V_Profile::endFrame();
    frame();
    frame();
    const auto table = [] {
        std::ostringstream out;
        V_writeProfileTable(out);
        return out.str();
    };
    EXPECT_EQ(table(), std::string(52, ' ') +
                           "inclusive             exclusive   allocations\n"
                           "section                           calls       Mcycles       %       Mcycles "
                           "      %   incl   excl\n"
                           "outer                                 1       10.0000   62.50        6.0000 "
                           "  37.50      1      0\n"
                           "inner                                 1        4.0000   25.00        4.0000 "
                           "  25.00      1      1\n"
                           "frame                                         16.0000  100.00\n");

    FakeMachine::sm_iStep = 500'000; // the measured rate is 2 GHz and a thousandth
    Sys->getProcessorSpeed();
    FakeMachine::sm_iStep = 0;
    frame("\x1b[2J");
    EXPECT_NE(table().find("?[2J                                  1        4.9950   62.50"),
              std::string::npos);

    V_Profile::startFrame();
    EXPECT_EQ(table(), "A frame is running.\n");
}

TEST_F(ProfileReport, TraceHoldsEveryInstanceWithItsTimes) {
    frame("before");
    V_ProfileTrace trace;
    FakeMachine::pass(0.5);
    trace.start();
    FakeMachine::pass(0.010);
    frame();
    frame();
    trace.stop();
    frame("after");
    EXPECT_TRUE(trace.isComplete());
    const nlohmann::json events = written(trace);
    ASSERT_EQ(events.size(), 6u);
    EXPECT_EQ(trace.getEventCount(), 6u);
    const nlohmann::json expected = nlohmann::json::parse(R"([
        {"name":"inner","cat":"section","ph":"X","pid":1,"tid":1,"ts":11000.0,"dur":2000.0,
         "args":{"allocations":1,"releases":1}},
        {"name":"outer","cat":"section","ph":"X","pid":1,"tid":1,"ts":10000.0,"dur":5000.0,
         "args":{"allocations":1,"releases":1}},
        {"name":"Frame","cat":"frame","ph":"X","pid":1,"tid":1,"ts":10000.0,"dur":8000.0}])");
    EXPECT_EQ(nlohmann::json({events[0], events[1], events[2]}), expected);
    EXPECT_EQ(events[5]["ts"], 18000.0);

    trace.start(); // begins anew
    EXPECT_EQ(written(trace).size(), 0u);
}

TEST_F(ProfileReport, TraceIsValidJsonWhateverTheNames) {
    const std::string bad = "\xEF\xBF\xBD";
    const std::pair<const char *, std::string> names[] = {{"quote\" back\\slash", "quote\" back\\slash"},
                                                          {"line\nfeed\x01", "line\nfeed\x01"},
                                                          {"\xC3\xA4 is fine", "\xC3\xA4 is fine"},
                                                          {"\xC3", bad},
                                                          {"\xE0\x80\x80", bad + bad + bad},
                                                          {"\xED\xA0\x80", bad + bad + bad},
                                                          {"\xF4\x90\x80\x80", bad + bad + bad + bad},
                                                          {"\xFF\xFE", bad + bad}};
    V_ProfileTrace trace;
    for (const auto &[name, expected] : names) {
        trace.start();
        frame(name);
        EXPECT_EQ(written(trace)[1]["name"], expected);
    }
}

TEST_F(ProfileReport, TraceEndsSafely) {
    V_ProfileTrace first, second;
    first.start();
    frame();
    second.start(); // ends the first
    frame();
    EXPECT_EQ(first.getEventCount(), 3u);
    V_ProfileTrace().start();
    frame();
    EXPECT_EQ(second.getEventCount(), 3u);

    V_ProfileTrace third;
    third.start();
    {
        const FailingAllocation fault(1); // the first is made by the frame itself
        frame();
    }
    EXPECT_FALSE(third.isComplete());
    frame();
    EXPECT_EQ(third.getEventCount(), 0u);

    // A section that began before the recording is left out, and shutdown ends the recording.
    V_Profile::startFrame();
    {
        const V_Profile open("open");
        FakeMachine::pass(1);
        first.start();
    }
    { const V_Profile recorded("recorded"); }
    m_library.reset();
    EXPECT_EQ(written(first).size(), 1u);
}

} // namespace
