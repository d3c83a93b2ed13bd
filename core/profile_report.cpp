// The table of the last frame's sections.

#include "vl/core/profile_report.h"

#include "core/counted.h"
#include "vl/core/system.h"

#include <algorithm>
#include <cstdio>
#include <ostream>
#include <vector>

namespace {

std::vector<const V_PENTRY *> usedSections() {
    std::vector<const V_PENTRY *> sections;
    for (V_PENTRY *entry = V_Profile::m_slProfiles.getFirst(); entry;
         entry = V_Profile::m_slProfiles.getNext(entry))
        if (entry->info.usedThisFrame && V_Profile::request(entry->name))
            sections.push_back(entry);
    std::stable_sort(sections.begin(), sections.end(), [](const V_PENTRY *a, const V_PENTRY *b) {
        return a->frameInclusive > b->frameInclusive;
    });
    return sections;
}

/// One line of the table, never longer than this.
using Line = char[160];

/// The name as a terminal may show it.
void printable(const char *name, char (&out)[sizeof V_PENTRY::name]) {
    std::size_t i = 0;
    for (; name[i]; ++i) {
        const auto byte = static_cast<unsigned char>(name[i]);
        out[i] = byte < 0x20 || byte == 0x7F ? '?' : name[i];
    }
    out[i] = 0;
}

void writeTable(std::ostream &out, double ticksPerSecond) {
    if (V_Profile::m_sbFrameRunning) {
        out << "A frame is running.\n";
        return;
    }
    const std::vector<const V_PENTRY *> sections = usedSections();
    const double perUnit = ticksPerSecond != 0 ? ticksPerSecond / 1000 : 1e6;

    Line line;
    std::snprintf(line, sizeof line, "%-31s %7s %21s %21s %13s\n", "", "", "inclusive", "exclusive",
                  "allocations");
    out << line;
    const char *heading = ticksPerSecond != 0 ? "ms" : "Mcycles";
    std::snprintf(line, sizeof line, "%-31s %7s %13s %7s %13s %7s %6s %6s\n", "section", "calls", heading,
                  "%", heading, "%", "incl", "excl");
    out << line;
    for (const V_PENTRY *section : sections) {
        char name[sizeof V_PENTRY::name];
        printable(section->name, name);
        std::snprintf(line, sizeof line, "%-31s %7d %13.4f %7.2f %13.4f %7.2f %6d %6d\n", name,
                      section->info.callsThisFrame, section->frameInclusive / perUnit,
                      static_cast<double>(section->info.inclusivePercent), section->frameExclusive / perUnit,
                      static_cast<double>(section->info.exclusivePercent), section->info.inclusiveAllocations,
                      section->info.exclusiveAllocations);
        out << line;
    }
    std::snprintf(line, sizeof line, "%-31s %7s %13.4f %7.2f\n", "frame", "",
                  V_Profile::m_stFrameCycles / perUnit, V_Profile::m_stFrameCycles == 0 ? 0.0 : 100.0);
    out << line;
}

} // namespace

void V_writeProfileTable(std::ostream &out) {
    vl::reportingExhaustion([&] { writeTable(out, V_Profile::ticksPerSecond()); });
}
