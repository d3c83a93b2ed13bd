// The process and the machine it runs on: program, computer name, memory, priorities, last words.

#include "platform/posix/system.h"

#include "platform/platform.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sched.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <unistd.h>

namespace vl::platform {

namespace {

/// The program's path in the engine's form.
struct ExecutablePath {
    ExecutablePath() {
        if (readlink("/proc/self/exe", text + 2, PATH_MAX) < 1)
            text[2] = '/';
        std::replace(std::begin(text), std::end(text), '/', '\\');
    }
    char text[2 + PATH_MAX + 1] = "C:";
};

std::uint32_t saturated(std::uint64_t bytes) {
    return bytes < UINT32_MAX ? static_cast<std::uint32_t>(bytes) : UINT32_MAX;
}

/// Memory that can be had without swapping; 0 when the system does not tell.
std::uint64_t availableMemory() {
    unsigned long long kibibytes = 0;
    if (std::FILE *const file = std::fopen("/proc/meminfo", "re")) {
        char line[128];
        while (kibibytes == 0 && std::fgets(line, sizeof line, file))
            if (std::strncmp(line, "MemAvailable:", 13) == 0)
                kibibytes = std::strtoull(line + 13, nullptr, 10);
        std::fclose(file);
    }
    return static_cast<std::uint64_t>(kibibytes) * 1024;
}

/// The lowest nice value that the process may take.
int lowestNice() {
    rlimit limit;
    if (geteuid() == 0 || getrlimit(RLIMIT_NICE, &limit) != 0)
        return -20;
    return 20 - static_cast<int>(limit.rlim_cur < 40 ? limit.rlim_cur : 40);
}

} // namespace

const char *executablePath() {
    static const ExecutablePath path;
    return path.text;
}

bool computerName(char (&out)[16]) {
    char name[HOST_NAME_MAX + 1];
    if (gethostname(name, sizeof name) != 0)
        return false;
    name[HOST_NAME_MAX] = '\0';
    const std::size_t length = strnlen(name, sizeof out - 1);
    // It becomes part of file names.
    if (length == 0 || std::strpbrk(name, "/\\") != nullptr)
        return false;
    std::memcpy(out, name, length);
    out[length] = '\0';
    return true;
}

void physicalMemory(std::uint32_t &total, std::uint32_t &available) {
    struct sysinfo info {};
    sysinfo(&info);
    total = saturated(static_cast<std::uint64_t>(info.totalram) * info.mem_unit);
    const std::uint64_t free = availableMemory();
    available = saturated(free != 0 ? free : static_cast<std::uint64_t>(info.freeram) * info.mem_unit);
}

Priority raisePriority() {
    Priority saved{};
    saved.process = getpriority(PRIO_PROCESS, 0);
    const int nice = lowestNice();
    saved.processChanged = nice < saved.process && setpriority(PRIO_PROCESS, 0, nice) == 0;

    saved.thread = sched_getscheduler(0);
    sched_param parameters{};
    parameters.sched_priority = sched_get_priority_min(SCHED_FIFO);
    // A thread that is scheduled in real time already stays as it is.
    saved.threadChanged =
        (saved.thread & ~SCHED_RESET_ON_FORK) == SCHED_OTHER &&
        sched_setscheduler(0, SCHED_FIFO | (saved.thread & SCHED_RESET_ON_FORK), &parameters) == 0;
    return saved;
}

void restorePriority(const Priority &saved) {
    if (saved.threadChanged) {
        const sched_param parameters{};
        sched_setscheduler(0, saved.thread, &parameters);
    }
    if (saved.processChanged)
        setpriority(PRIO_PROCESS, 0, saved.process);
}

// Every kernel that runs programs of today's C++ runtime does.
bool savesSseState() { return true; }

void printError(const char *text) { std::fprintf(stderr, "%s\n", text); }

void messageBox(const char *title, const char *text) {
    std::fprintf(stderr, "%s\n%s\n", title ? title : "", text ? text : "");
}

} // namespace vl::platform
