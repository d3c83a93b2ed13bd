// The process and the machine it runs on: program, computer name, memory, priorities, last words.

#include "platform/posix/system.h"

#include "platform/message_box.h"
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

/// Copies what stands behind the colon of the first line of a file that begins with `key`; "" when there is
/// none.
template <std::size_t SIZE>
void readValue(char (&out)[SIZE], const char *path, const char *key) {
    out[0] = '\0';
    std::FILE *const file = std::fopen(path, "re");
    if (!file)
        return;
    char line[4096];
    while (out[0] == '\0' && std::fgets(line, sizeof line, file)) {
        const char *value = line;
        if (*key != '\0') {
            value = std::strncmp(line, key, std::strlen(key)) == 0 ? std::strchr(line, ':') : nullptr;
            value = value ? value + 1 + std::strspn(value + 1, " \t") : "";
        }
        const std::size_t length = std::min(std::strcspn(value, "\n"), SIZE - 1);
        std::memcpy(out, value, length);
        out[length] = '\0';
    }
    std::fclose(file);
}

/// Memory that can be had without swapping; 0 when the system does not tell.
std::uint64_t availableMemory() {
    char kibibytes[32];
    readValue(kibibytes, "/proc/meminfo", "MemAvailable");
    return std::uint64_t{std::strtoull(kibibytes, nullptr, 10)} * 1024;
}

/// The processor's name; ARM processors tell the kernel numbers alone.
void readProcessorName(char (&name)[64]) {
    const char *const info = "/proc/cpuinfo";
    readValue(name, info, "model name");
    char implementer[16], part[16];
    readValue(implementer, info, "CPU implementer");
    readValue(part, info, "CPU part");
    if (name[0] != '\0' || part[0] == '\0')
        return;
    // As ARM publishes them in the manuals of its processors, register MIDR_EL1.
    static constexpr struct {
        int part;
        const char *name;
    } known[] = {
        {0xD03, "Cortex-A53"},  {0xD04, "Cortex-A35"},  {0xD05, "Cortex-A55"},  {0xD07, "Cortex-A57"},
        {0xD08, "Cortex-A72"},  {0xD09, "Cortex-A73"},  {0xD0A, "Cortex-A75"},  {0xD0B, "Cortex-A76"},
        {0xD0C, "Neoverse-N1"}, {0xD0D, "Cortex-A77"},  {0xD40, "Neoverse-V1"}, {0xD41, "Cortex-A78"},
        {0xD44, "Cortex-X1"},   {0xD46, "Cortex-A510"}, {0xD47, "Cortex-A710"}, {0xD48, "Cortex-X2"},
        {0xD49, "Neoverse-N2"}, {0xD4D, "Cortex-A715"}, {0xD4E, "Cortex-X3"},   {0xD4F, "Neoverse-V2"}};
    const long number = std::strtol(part, nullptr, 16);
    for (const auto &row : known)
        if (std::strtol(implementer, nullptr, 16) == 0x41 && number == row.part) {
            std::snprintf(name, sizeof name, "ARM %s", row.name);
            return;
        }
    std::snprintf(name, sizeof name, "implementer %s, part %s", implementer, part);
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

void describeProcessor(SystemProcessor &processor) {
    processor = {};
    readProcessorName(processor.name);
    for (int index = 0; index < 8; ++index) {
        char path[96], level[8], type[16], size[16];
        const auto read = [&](auto &out, const char *what) {
            std::snprintf(path, sizeof path, "/sys/devices/system/cpu/cpu0/cache/index%d/%s", index, what);
            readValue(out, path, "");
        };
        read(level, "level");
        read(type, "type");
        read(size, "size"); // "48K"
        const auto bytes = static_cast<std::uint32_t>(std::strtoul(size, nullptr, 10)) * 1024;
        if (level[0] == '1')
            (type[0] == 'I' ? processor.l1Code : processor.l1Data) = bytes;
        else if (level[0] == '2')
            processor.l2 = bytes;
        else if (level[0] == '3')
            processor.l3 = bytes;
    }
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

void tellOnStandardError() {} // there is nothing else

} // namespace vl::platform
