// A machine that the test moves by hand: a 2 GHz processor with or without a time-stamp counter, and a clock
// that stands still unless told otherwise. Outlives the library that is started on it.
#pragma once

#include "core/machine.h"

#include <cstdint>

class FakeMachine {
  public:
    enum Counter { COUNTER, NO_COUNTER };
    enum TimeStamps { TIME_STAMPS, NO_TIME_STAMPS };

    explicit FakeMachine(Counter counter = COUNTER, TimeStamps timeStamps = TIME_STAMPS) {
        s_iNow = 0;
        s_iStep = 0;
        s_iRaised = 0;
        s_bTimeStamps = timeStamps == TIME_STAMPS;
        vl::machine.cpuid = [](std::uint32_t leaf, vl::platform::CpuidRegisters &registers) {
            registers = {leaf == 0, 0, 0, leaf == 1 && s_bTimeStamps ? 1U << 4 : 0};
            return true;
        };
        vl::machine.timeStampCounter = [] { return static_cast<std::uint64_t>(s_iNow) * 2; };
        vl::machine.performanceFrequency = [](std::int64_t &frequency) {
            frequency = 1'000'000'000;
            return true;
        };
        if (counter == NO_COUNTER)
            vl::machine.performanceFrequency = [](std::int64_t &) { return false; };
        vl::machine.performanceCounter = [] { return s_iNow += s_iStep; };
        vl::machine.milliseconds = [] { return static_cast<std::uint32_t>((s_iNow += s_iStep) / 1'000'000); };
        vl::machine.raisePriority = [] {
            ++s_iRaised;
            return vl::platform::Priority{};
        };
        vl::machine.restorePriority = [](const vl::platform::Priority &) { --s_iRaised; };
    }
    ~FakeMachine() { vl::machine = m_saved; }
    FakeMachine(const FakeMachine &) = delete;
    FakeMachine &operator=(const FakeMachine &) = delete;

    static void pass(double seconds) { s_iNow += static_cast<std::int64_t>(seconds * 1e9); }

    static inline std::int64_t s_iNow = 0;  ///< nanoseconds
    static inline std::int64_t s_iStep = 0; ///< nanoseconds that pass when a clock other than the TSC is read
    static inline int s_iRaised = 0;        ///< priorities raised and not restored

  private:
    static inline bool s_bTimeStamps = true;
    vl::Machine m_saved = vl::machine;
};
