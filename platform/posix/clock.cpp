// The monotonic clock.

#include "platform/posix/system.h"

#include "platform/platform.h"

#include <ctime>

namespace vl::platform {

bool performanceFrequency(std::int64_t &ticksPerSecond) {
    ticksPerSecond = 1'000'000'000;
    return true;
}

std::int64_t performanceCounter() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

std::uint32_t milliseconds() { return static_cast<std::uint32_t>(performanceCounter() / 1'000'000); }

} // namespace vl::platform
