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
        sm_iNow = 0;
        sm_iStep = 0;
        sm_iRaised = 0;
        sm_bTimeStamps = timeStamps == TIME_STAMPS;
        vl::machine.cpuid = [](std::uint32_t leaf, vl::CpuidRegisters &registers) {
            registers = {leaf == 0, 0, 0, leaf == 1 && sm_bTimeStamps ? 1u << 4 : 0};
            return true;
        };
        vl::machine.timeStampCounter = [] { return static_cast<std::uint64_t>(sm_iNow) * 2; };
        vl::machine.performanceFrequency = [](std::int64_t &frequency) {
            frequency = 1'000'000'000;
            return true;
        };
        if (counter == NO_COUNTER)
            vl::machine.performanceFrequency = [](std::int64_t &) { return false; };
        vl::machine.performanceCounter = [] { return sm_iNow += sm_iStep; };
        vl::machine.milliseconds = [] {
            return static_cast<std::uint32_t>((sm_iNow += sm_iStep) / 1'000'000);
        };
        vl::machine.raisePriority = [] {
            ++sm_iRaised;
            return vl::platform::Priority{};
        };
        vl::machine.restorePriority = [](const vl::platform::Priority &) { --sm_iRaised; };
    }
    ~FakeMachine() { vl::machine = m_saved; }
    FakeMachine(const FakeMachine &) = delete;
    FakeMachine &operator=(const FakeMachine &) = delete;

    static void pass(double seconds) { sm_iNow += static_cast<std::int64_t>(seconds * 1e9); }

    static inline std::int64_t sm_iNow = 0; ///< nanoseconds
    static inline std::int64_t sm_iStep =
        0;                            ///< nanoseconds that pass when a clock other than the TSC is read
    static inline int sm_iRaised = 0; ///< priorities raised and not restored

  private:
    static inline bool sm_bTimeStamps = true;
    vl::Machine m_saved = vl::machine;
};
