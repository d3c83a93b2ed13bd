// The clocks.

#include "platform/windows/system.h"

#include "platform/platform.h"

#include <timeapi.h>

namespace vl::platform {

bool performanceFrequency(std::int64_t &ticksPerSecond) {
    LARGE_INTEGER frequency;
    if (!QueryPerformanceFrequency(&frequency))
        return false;
    ticksPerSecond = frequency.QuadPart;
    return true;
}

std::int64_t performanceCounter() {
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return now.QuadPart;
}

std::uint32_t milliseconds() { return timeGetTime(); }

} // namespace vl::platform
