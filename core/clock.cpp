// The system object's clocks (age, performance counter, clock rate) and memory figures, and the table of the
// machine's functions that it takes them from.

#include "core/machine.h"
#include "vl/core/profile.h"
#include "vl/core/system.h"

namespace vl {

constinit Machine machine = {cpuid,
                             platform::describeProcessor,
                             hasTimeStampCounterWithoutCpuid,
                             platform::savesSseState,
                             timeStampCounter,
                             platform::performanceFrequency,
                             platform::performanceCounter,
                             platform::milliseconds,
                             platform::raisePriority,
                             platform::restorePriority};

namespace {

constexpr const char *speedSection = "Processor speed";

/// Raised priority for as long as it lives.
class RaisedPriority {
  public:
    RaisedPriority() : m_saved(machine.raisePriority()) {}
    ~RaisedPriority() { machine.restorePriority(m_saved); }
    RaisedPriority(const RaisedPriority &) = delete;
    RaisedPriority &operator=(const RaisedPriority &) = delete;

  private:
    platform::Priority m_saved;
};

} // namespace
} // namespace vl

void V_System::startPerformanceTimer() {
    m_bPerformanceCounter = vl::machine.performanceFrequency(m_iPerformanceFrequency);
    if (!m_bPerformanceCounter)
        m_iPerformanceFrequency = 0;
    m_iStartCounter = getPerformanceCounter();
    m_iLastCounter = m_iStartCounter;
}

double V_System::getAppAge() {
    m_iLastCounter = getPerformanceCounter();
    if (m_bPerformanceCounter)
        return static_cast<double>(m_iLastCounter - m_iStartCounter) /
               static_cast<double>(m_iPerformanceFrequency);
    // In 32 bits, so that the age stays positive when the clock wraps.
    return static_cast<std::uint32_t>(m_iLastCounter - m_iStartCounter) / 1000.0;
}

std::int64_t V_System::getPerformanceFrequency() const {
    return m_bPerformanceCounter ? m_iPerformanceFrequency : 1000;
}

std::int64_t V_System::getPerformanceCounter() const {
    return m_bPerformanceCounter ? vl::machine.performanceCounter() : vl::machine.milliseconds();
}

double V_System::getProcessorSpeed() {
    if (!m_bProcessorSpeedDetermined && (m_uProcessorCaps & CAP_TSC))
        determineProcessorSpeed();
    return m_dProcessorSpeed;
}

void V_System::determineProcessorSpeed() {
    double cycles;
    double seconds;
    if (V_Profile::isProfilingEnabled()) {
        struct Frame {
            Frame() { V_Profile::startFrame(); }
            ~Frame() { V_Profile::endFrame(); }
        };
        {
            const vl::RaisedPriority raised;
            const Frame frame;
            seconds = processorSpeedTest();
        }
        cycles = V_Profile::getCycleCount(vl::speedSection);
        V_Profile::reset();
    } else {
        const vl::RaisedPriority raised;
        const std::uint64_t start = vl::machine.timeStampCounter();
        seconds = processorSpeedTest();
        cycles = static_cast<double>(vl::machine.timeStampCounter() - start);
    }
    m_dProcessorSpeed = cycles / seconds;
    m_bProcessorSpeedDetermined = 1;
}

double V_System::processorSpeedTest() {
    const V_Profile section(vl::speedSection);
    const double start = getAppAge();
    double now = start;
    while (now < start + 0.5)
        now = getAppAge();
    return now - start;
}

unsigned int V_System::getTotalPhysicalMemory() const {
    std::uint32_t total = 0;
    std::uint32_t available = 0;
    vl::platform::physicalMemory(total, available);
    return total;
}

unsigned int V_System::getAvailablePhysicalMemory() const {
    std::uint32_t total = 0;
    std::uint32_t available = 0;
    vl::platform::physicalMemory(total, available);
    return available;
}
