// A pausable stopwatch.

#include "vl/core/timer.h"

#include "vl/core/system.h"

#include <algorithm>
#include <cmath>

V_Timer::V_Timer() { setAge(0); }

float V_Timer::getAge() const {
    if (m_bPaused)
        return m_fPausedAge;
    return static_cast<float>(static_cast<double>(Sys->getPerformanceCounter() - m_iStart) /
                              static_cast<double>(Sys->getPerformanceFrequency()));
}

void V_Timer::setAge(float age) {
    constexpr double limit = 0x1p62; // leaves the differences of counter readings within 64 bits
    const double ticks = static_cast<double>(age) * static_cast<double>(Sys->getPerformanceFrequency());
    const double held = std::isnan(ticks) ? 0 : std::clamp(ticks, -limit, limit);
    m_iStart = Sys->getPerformanceCounter() - static_cast<std::int64_t>(held);
    m_fSample = 0;
    m_fPreviousSample = 0;
}

float V_Timer::sample() {
    m_fPreviousSample = m_fSample;
    m_fSample = getAge();
    return getDelta();
}

float V_Timer::getRunningDelta() const { return getAge() - m_fPreviousSample; }

void V_Timer::reset() {
    m_bPaused = false;
    setAge(0);
}

void V_Timer::pause() {
    if (m_bPaused)
        return;
    m_fPausedAge = m_fSample = m_fPreviousSample = getAge();
    m_bPaused = true;
}

void V_Timer::resume() {
    if (!m_bPaused)
        return;
    setAge(m_fPausedAge);
    m_fSample = m_fPreviousSample = m_fPausedAge;
    m_bPaused = false;
}
