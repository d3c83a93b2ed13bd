// vl system: what the library found out about the machine, beside what the operating system says.

#include "commands.h"

#include "vl/core.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

/// The value of the first line `key : value` of a file; empty when there is none.
std::string valueIn(const char *path, const std::string &key) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos)
            continue;
        const std::string name = line.substr(0, line.find_last_not_of(" \t", colon - 1) + 1);
        if (name != key)
            continue;
        const std::size_t start = line.find_first_not_of(" \t", colon + 1);
        return start == std::string::npos ? "" : line.substr(start);
    }
    return "";
}

std::string firstWord(const std::string &path) {
    std::ifstream file(path);
    std::string word;
    file >> word;
    return word;
}

/// The size of one of the first processor's caches, in KB as the operating system gives it.
std::string cacheSize(const std::string &level, const std::string &type) {
    for (int i = 0;; ++i) {
        const std::string directory = "/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(i) + '/';
        const std::string found = firstWord(directory + "level");
        if (found.empty())
            return "";
        if (found == level && firstWord(directory + "type") == type)
            return firstWord(directory + "size") + "B";
    }
}

template <class... Values>
std::string text(const char *format, Values... values) {
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, format, values...);
    return buffer;
}

/// A figure in its format; 0 says nothing.
std::string figure(const char *format, unsigned int value) {
    return value ? text(format, value) : "not told";
}

std::string kilobytes(unsigned int bytes) { return figure("%uKB", bytes / 1024); }

std::string megabytes(double bytes) { return text("%.0f MB", bytes / 1048576); }

void print(const std::string &what, const std::string &library, const std::string &system) {
    std::printf("%-22s  %-34s  %s\n", what.c_str(), library.c_str(), system.empty() ? "-" : system.c_str());
}

struct Capability {
    unsigned int bit;
    const char *name;
    const char *flag; ///< as /proc/cpuinfo names it
};

constexpr Capability capabilities[] = {{V_System::CAP_MMX, "MMX", "mmx"},
                                       {V_System::CAP_3DNOW, "3DNow!", "3dnow"},
                                       {V_System::CAP_CMOV, "conditional move", "cmov"},
                                       {V_System::CAP_EXTENDED_MMX_3DNOW, "extended 3DNow!", "3dnowext"},
                                       {V_System::CAP_TSC, "time-stamp counter", "tsc"},
                                       {V_System::CAP_SSE, "SSE", "sse"},
                                       {V_System::CAP_SSE2, "SSE2", "sse2"}};

void printProcessor() {
    const char *info = "/proc/cpuinfo";
    static const char *const vendors[] = {"unknown", "Intel", "UMC", "AMD", "Cyrix", "NexGen", "Centaur"};
    print("processor", Sys->getProcessorModel(), valueIn(info, "model name"));
    print("vendor", vendors[Sys->getProcessorVendor()], valueIn(info, "vendor_id"));
    const std::string family = valueIn(info, "cpu family");
    print("type", text("%d", static_cast<int>(Sys->getProcessorType())),
          family.empty() ? family : "family " + family + ", model " + valueIn(info, "model"));

    const std::string flags = valueIn(info, "flags");
    const auto hasFlag = [&flags](const std::string &flag) {
        return (' ' + flags + ' ').find(' ' + flag + ' ') != std::string::npos;
    };
    for (const Capability &capability : capabilities)
        print(capability.name, Sys->getProcessorCaps() & capability.bit ? "yes" : "no",
              flags.empty()              ? flags
              : hasFlag(capability.flag) ? "yes"
                                         : "no");
}

void printCaches() {
    print("level 1 code", kilobytes(Sys->getL1CodeCacheSize()), cacheSize("1", "Instruction"));
    print("level 1 data", kilobytes(Sys->getL1DataCacheSize()), cacheSize("1", "Data"));
    print("level 1 trace", figure("%u micro-operations", Sys->getL1TraceCacheSize()), "");
    print("level 2", kilobytes(Sys->getL2CacheSize()), cacheSize("2", "Unified"));
    print("level 3", kilobytes(Sys->getL3CacheSize()), cacheSize("3", "Unified"));
    print("translation, code", figure("%u", Sys->getTLBCodeCacheSize()), "");
    print("translation, data", figure("%u", Sys->getTLBDataCacheSize()), "");
}

void printMemory() {
    const auto megabytesIn = [](const char *key) {
        const std::string value = valueIn("/proc/meminfo", key);
        return value.empty() ? value : megabytes(std::stod(value) * 1024);
    };
    print("physical memory", megabytes(Sys->getTotalPhysicalMemory()), megabytesIn("MemTotal"));
    print("available memory", megabytes(Sys->getAvailablePhysicalMemory()), megabytesIn("MemAvailable"));
}

void printClocks() {
    const double speed = Sys->getProcessorSpeed();
    const std::string megahertz = valueIn("/proc/cpuinfo", "cpu MHz");
    print("processors", text("%u", std::thread::hardware_concurrency()), "");
    print("clock rate", speed > 1 ? text("%.1f MHz", speed / 1e6) : "not measurable",
          megahertz.empty() ? megahertz : megahertz + " MHz");
    print("performance counter",
          text("%lld ticks a second", static_cast<long long>(Sys->getPerformanceFrequency())), "");
    print("age of the library", text("%.3f s", Sys->getAppAge()), "");
}

} // namespace

void addSystemCommand(CLI::App &app, int &) {
    app.add_subcommand("system", "Show what the library found out about processor, caches, memory and "
                                 "clocks, beside what the operating system says. Memory beyond 4 GB is "
                                 "reported by the library as 4 GB.")
        ->callback([] {
            const V_VantorInit library;
            Sys->ceaseVerbose(1);
            print("", "library", "operating system");
            printProcessor();
            printCaches();
            printMemory();
            printClocks();
        });
}
