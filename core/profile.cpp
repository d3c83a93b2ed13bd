// Frame profiler: the clocks, the sections and their open instances, the frames, and the figures made of
// them.

#include "vl/core/profile.h"

#include "core/machine.h"
#include "core/profile_trace.h"
#include "vl/core/system.h"

#include <algorithm>
#include <cstring>

namespace {

/// Keeps the entries usable before the library's statics are constructed and after they are destroyed.
union EntryStorage {
    constexpr EntryStorage() : entries() {}
    ~EntryStorage() {} // the last V_VantorInit frees the entries
    V_Profile::Entries entries;
};
constinit EntryStorage storage;

/// How many characters of a section's name count.
constexpr std::size_t nameLength = sizeof V_PENTRY::name - 1;

/// Inline, because most names differ early: a call to strncmp for each would cost more than the comparing.
bool isNamed(const V_PENTRY &entry, const char *name) {
    for (std::size_t i = 0; i < nameLength; ++i) {
        if (entry.name[i] != name[i])
            return false;
        if (name[i] == 0)
            return true;
    }
    return true;
}

/// Whether time is counted in cycles.
bool countsCycles() { return Sys && (Sys->getProcessorCaps() & V_System::CAP_TSC); }

} // namespace

vl::TraceRecorder *vl::traceRecorder = nullptr;

bool V_Profile::sm_bProfilingEnabled = true;
V_PTICK V_Profile::m_sFrameStart = {0};
V_PTICK V_Profile::m_sFrameEnd = {0};
V_PTICK V_Profile::m_sFrameDiff = {0};
V_PENTRY *V_Profile::m_spTraverseCurrent = nullptr;
V_PENTRY *V_Profile::m_spEarlierParent = nullptr;
int V_Profile::m_sbFrameRunning = 0;
int V_Profile::m_siEntries = 0;
int V_Profile::m_siFrameCount = 0;
double V_Profile::m_stFrameCycles = 0;
double V_Profile::m_stTotalCycles = 0;
constinit V_Profile::Entries &V_Profile::m_slProfiles = storage.entries;
unsigned int V_Profile::sm_uPeriod = 0;

// ---- The clocks ----------------------------------------------------------------------------------------

void V_Profile::readTickCount(V_PTICK *tick) { tick->cycles = vl::machine.timeStampCounter(); }

void V_Profile::readCyrixCount(V_PTICK *tick) { tick->seconds = Sys ? Sys->getAppAge() : 0; }

void V_Profile::calcDiff(V_PTICK *result, V_PTICK *start, V_PTICK *end) {
    result->cycles = end->cycles - start->cycles;
}

void V_Profile::calcCyrixDiff(V_PTICK *result, V_PTICK *start, V_PTICK *end) {
    result->seconds = end->seconds - start->seconds;
}

double V_Profile::calcCycles(V_PTICK *tick) {
    return static_cast<double>(static_cast<std::int64_t>(tick->cycles));
}

double V_Profile::calcCyrixCycles(V_PTICK *tick) { return tick->seconds; }

void V_Profile::readClock(V_PTICK *tick) {
    if (countsCycles())
        readTickCount(tick);
    else
        readCyrixCount(tick);
}

double V_Profile::takeDifference(V_PTICK *result, V_PTICK *start, V_PTICK *end) {
    if (countsCycles()) {
        calcDiff(result, start, end);
        return calcCycles(result);
    }
    calcCyrixDiff(result, start, end);
    return calcCyrixCycles(result);
}

double V_Profile::ticksBetween(V_PTICK *start, V_PTICK *end) {
    V_PTICK difference;
    return takeDifference(&difference, start, end);
}

double V_Profile::ticksPerSecond() {
    if (!countsCycles())
        return 1;
    return Sys->processorSpeedDetermined() ? Sys->m_dProcessorSpeed : 0;
}

// ---- Sections ------------------------------------------------------------------------------------------

V_PENTRY *V_Profile::find(const char *name) {
    if (!name)
        name = "";
    for (V_PENTRY *entry = m_slProfiles.getFirst(); entry; entry = m_slProfiles.getNext(entry))
        if (isNamed(*entry, name))
            return entry;
    return nullptr;
}

V_PENTRY *V_Profile::create(const char *name) {
    V_PENTRY *entry = m_slProfiles.getNode();
    std::strncpy(entry->name, name ? name : "", nameLength);
    entry->info.name = entry->name;
    clearEntry(entry);
    ++m_siEntries;
    return entry;
}

V_PENTRY *V_Profile::insert(const char *name) {
    V_PENTRY *entry = find(name);
    if (!entry) [[unlikely]]
        entry = create(name);
    entry->stack.emplace_back();
    return entry;
}

void V_Profile::begin(const char *name) {
    const V_MemoryScope memory("Vantor Library");
    m_pParent = m_spEarlierParent;
    m_pEntry = insert(name);
    V_PINSTANCE &instance = m_pEntry->stack.back();
    readClock(&instance.start);
    instance.allocationsAtStart = V_Memory::getNewCount();
    instance.releasesAtStart = V_Memory::getDeleteCount();
    m_begin = {instance.start, instance.allocationsAtStart, instance.releasesAtStart};
    m_uPeriod = sm_uPeriod;
    m_uStackDepth = m_pEntry->stack.size();
    m_spEarlierParent = m_pEntry;

    ++m_pEntry->info.callsThisFrame;
    m_pEntry->info.usedThisFrame = 1;
    ++m_pEntry->info.callsTotal;
    m_bActive = true;
}

void V_Profile::end() noexcept {
    m_bActive = false;
    // A section that outlived its period must not touch its entry, which may be gone.
    if (m_uPeriod != sm_uPeriod)
        return;

    const V_MemoryScope memory("Vantor Library");
    V_PTICK now;
    readClock(&now);
    const double ticks = ticksBetween(&m_begin.start, &now);
    const int allocations = V_Memory::getNewCount() - m_begin.allocations;
    const int releases = V_Memory::getDeleteCount() - m_begin.releases;
    if (m_pEntry->stack.size() == m_uStackDepth) { // or its entry has been cleared
        if (sm_bProfilingEnabled)
            record(ticks, allocations, releases);
        m_pEntry->stack.pop_back();
    }
    // Whatever became of its own figures, its time is not the parent's.
    if (m_pParent && !m_pParent->stack.empty()) {
        V_PINSTANCE &parent = m_pParent->stack.back();
        parent.childTime += ticks;
        parent.childAllocations += allocations;
        parent.childReleases += releases;
    }
    if (m_spEarlierParent == m_pEntry) // unless it ends out of order
        m_spEarlierParent = m_pParent;
}

void V_Profile::record(double ticks, int allocations, int releases) noexcept {
    const V_PINSTANCE &instance = m_pEntry->stack.back();
    V_PINFO &info = m_pEntry->info;
    if (!countsCycles())
        info.inclusiveSeconds += ticks;
    else if (Sys->processorSpeedDetermined())
        info.lastSeconds = ticks / Sys->m_dProcessorSpeed;

    if (m_uStackDepth == 1) {
        m_pEntry->frameInclusive += ticks;
        m_pEntry->totalInclusive += ticks;
        info.inclusiveAllocations += allocations;
        info.inclusiveReleases += releases;
    }
    m_pEntry->frameExclusive += ticks - instance.childTime;
    info.exclusiveAllocations += allocations - instance.childAllocations;
    info.exclusiveReleases += releases - instance.childReleases;
    if (vl::traceRecorder) [[unlikely]]
        vl::traceRecorder->record({m_pEntry->name, instance.start, ticks, allocations, releases});
}

void V_Profile::discardOpenInstances() {
    ++sm_uPeriod;
    m_spEarlierParent = nullptr;
}

// ---- Frames --------------------------------------------------------------------------------------------

void V_Profile::enableProfiling(bool enable) { sm_bProfilingEnabled = enable; }

void V_Profile::disableProfiling() { sm_bProfilingEnabled = false; }

bool V_Profile::isProfilingEnabled() { return sm_bProfilingEnabled; }

void V_Profile::startFrame() {
    discardOpenInstances();
    for (V_PENTRY *entry = m_slProfiles.getFirst(); entry; entry = m_slProfiles.getNext(entry)) {
        entry->frameInclusive = 0;
        entry->frameExclusive = 0;
        entry->stack.clear();
        V_PINFO &info = entry->info;
        info.callsThisFrame = 0;
        info.usedThisFrame = 0;
        info.exclusiveAllocations = info.exclusiveReleases = info.exclusiveThird = 0;
        info.inclusiveAllocations = info.inclusiveReleases = info.inclusiveThird = 0;
    }
    readClock(&m_sFrameStart);
    m_spTraverseCurrent = nullptr;
    m_sbFrameRunning = 1;
}

void V_Profile::endFrame() {
    readClock(&m_sFrameEnd);
    m_stFrameCycles = takeDifference(&m_sFrameDiff, &m_sFrameStart, &m_sFrameEnd);
    ++m_siFrameCount;
    if (vl::traceRecorder && m_sbFrameRunning)
        vl::traceRecorder->record({nullptr, m_sFrameStart, m_stFrameCycles, 0, 0});
    m_sbFrameRunning = 0;
    m_stTotalCycles += m_stFrameCycles;
}

// ---- Figures -------------------------------------------------------------------------------------------

void V_Profile::calcPercentage(V_PENTRY *entry) {
    if (m_sbFrameRunning)
        return;
    V_PINFO &info = entry->info;
    const auto percent = [](double ticks) {
        if (m_stFrameCycles == 0)
            return 0.0f;
        return static_cast<float>(static_cast<float>(ticks / m_stFrameCycles) * 100.0);
    };
    info.inclusivePercent = percent(entry->frameInclusive);
    info.exclusivePercent = percent(entry->frameExclusive);

    const bool cycles = countsCycles();
    if (const double rate = ticksPerSecond(); rate != 0) {
        if (cycles)
            info.inclusiveSeconds = entry->frameInclusive / rate;
        info.averageSeconds = info.callsTotal ? entry->totalInclusive / info.callsTotal / rate : 0;
        const double frameSeconds = m_stFrameCycles / rate;
        info.maxExclusiveSeconds = std::max(info.maxExclusiveSeconds,
                                            static_cast<float>(info.exclusivePercent / 100.0 * frameSeconds));
    } else {
        info.inclusiveSeconds = 0;
    }
    info.maxExclusiveAllocations = std::max(info.maxExclusiveAllocations, info.exclusiveAllocations);
    info.maxExclusiveReleases = std::max(info.maxExclusiveReleases, info.exclusiveReleases);
    info.maxExclusiveThird = std::max(info.maxExclusiveThird, info.exclusiveThird);
    info.maxCallsPerFrame = std::max(info.maxCallsPerFrame, info.callsThisFrame);
}

V_PINFO *V_Profile::request() {
    if (m_sbFrameRunning)
        return nullptr;
    m_spTraverseCurrent =
        m_spTraverseCurrent ? m_slProfiles.getNext(m_spTraverseCurrent) : m_slProfiles.getFirst();
    if (!m_spTraverseCurrent)
        return nullptr;
    calcPercentage(m_spTraverseCurrent);
    return &m_spTraverseCurrent->info;
}

V_PINFO *V_Profile::request(const char *name) {
    V_PENTRY *entry = m_sbFrameRunning ? nullptr : find(name);
    if (!entry)
        return nullptr;
    calcPercentage(entry);
    return &entry->info;
}

double V_Profile::requestTime(const char *name) {
    const V_PENTRY *entry = find(name);
    return entry ? entry->info.lastSeconds : 0;
}

double V_Profile::getCycleCount(const char *name) {
    const V_PENTRY *entry = find(name);
    return entry ? entry->totalInclusive : 0;
}

double V_Profile::getTotalTime() {
    // The rate comes first: measuring it resets the figure.
    const double rate = countsCycles() ? Sys->getProcessorSpeed() : 1;
    return m_stTotalCycles / rate;
}

double V_Profile::getLastFrameTime() {
    const double rate = countsCycles() ? Sys->getProcessorSpeed() : 1;
    return m_stFrameCycles / rate;
}

int V_Profile::getFrameCount() { return m_siFrameCount; }

// ---- Forgetting ----------------------------------------------------------------------------------------

void V_Profile::clearEntry(V_PENTRY *entry) {
    entry->frameInclusive = 0;
    entry->frameExclusive = 0;
    entry->totalInclusive = 0;
    entry->stack.clear();
    const char *name = entry->info.name;
    entry->info = {};
    entry->info.name = name;
    entry->info.inclusivePercent = -1;
    entry->info.exclusivePercent = -1;
}

void V_Profile::clearEntry(const char *name) {
    if (V_PENTRY *entry = find(name))
        clearEntry(entry);
}

void V_Profile::reset() {
    discardOpenInstances();
    m_slProfiles.releaseAll();
    m_stFrameCycles = 0;
    m_stTotalCycles = 0;
    m_spTraverseCurrent = nullptr;
    m_siFrameCount = 0;
    m_siEntries = 0;
}

void V_Profile::deinit() {
    if (vl::traceRecorder)
        vl::traceRecorder->stop();
    endFrame();
    reset();
    m_slProfiles.removeAllFree();
}
