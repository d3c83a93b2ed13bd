// A pausable stopwatch on the system object's performance counter. Not synchronised.
#pragma once

#include "vl/core/export.h"

#include <cstdint>

/// All times are in seconds. Whatever reads or sets the age, the constructor included, needs the system
/// object
/// (`Sys`).
class VL_API V_Timer {
  public:
    /// Runs at once, with age 0.
    V_Timer();
    V_Timer(const V_Timer &) = delete;
    V_Timer &operator=(const V_Timer &) = delete;

    /// The age; frozen while paused.
    float getAge() const;

    /// Sets the age of the running timer and both samples to 0; a paused timer stays paused, at the age it
    /// was paused with. Ages beyond what the counter can hold (292 years in nanoseconds) are cut to half of
    /// that, and not-a-number counts as 0.
    void setAge(float age);

    /// Takes a sample of the age and returns the time since the sample before: 0 while paused.
    float sample();

    /// What the last sample() returned.
    float getDelta() const { return m_fSample - m_fPreviousSample; }

    /// The time since the sample before the last.
    float getRunningDelta() const;

    /// Runs again from age 0.
    void reset();

    /// Freezes the age. A paused timer stays as it is.
    void pause();

    /// Goes on from the frozen age; the pause does not count. A running timer stays as it is.
    void resume();

    /// Whether the age is frozen.
    bool isPaused() const { return m_bPaused; }

  private:
    std::int64_t m_iStart = 0; ///< counter reading at age 0
    float m_fSample = 0;
    float m_fPreviousSample = 0;
    float m_fPausedAge = 0;
    bool m_bPaused = false;
};
