// The process and the machine it runs on: command line, computer name, memory, priorities, last words.

#include "platform/posix/system.h"

#include "platform/platform.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <unistd.h>

namespace vl::platform {

namespace {

/// The bytes of /proc/self/cmdline: every argument followed by a zero.
std::string readArguments() {
    std::string arguments;
    if (std::FILE *const file = std::fopen("/proc/self/cmdline", "rbe")) {
        char block[4096];
        while (const std::size_t got = std::fread(block, 1, sizeof block, file))
            arguments.append(block, got);
        std::fclose(file);
    }
    return arguments;
}

void appendArgument(std::string &line, const std::string &argument) {
    const bool quoted = argument.empty() || argument.find_first_of(" \t") != std::string::npos;
    line += quoted ? " \"" + argument + '"' : ' ' + argument;
}

std::string buildCommandLine() {
    char executable[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", executable, sizeof executable);
    std::string line = "\"C:";
    for (ssize_t i = 0; i < length; ++i)
        line += executable[i] == '/' ? '\\' : executable[i];
    line += length > 0 ? "\"" : "\\\"";

    const std::string arguments = readArguments();
    // The first argument is the name by which the program was called.
    std::size_t start = arguments.find('\0');
    while (start != std::string::npos && ++start < arguments.size()) {
        const std::size_t end = arguments.find('\0', start);
        appendArgument(line, arguments.substr(start, end - start));
        start = end;
    }
    return line;
}

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

const char *commandLine() {
    try {
        static const std::string line = buildCommandLine();
        return line.c_str();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
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

void messageBox(const char *title, const char *text) {
    std::fprintf(stderr, "%s\n%s\n", title ? title : "", text ? text : "");
}

bool standardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

} // namespace vl::platform
