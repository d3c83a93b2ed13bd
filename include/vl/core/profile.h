// Frame profiler: how much of each frame of a real-time program is spent in named sections of code, and how
// many counted allocations and releases (V_Memory) those sections make.
//
//     V_Profile::startFrame();
//     {
//         V_Profile section("render");   // lives as long as the section runs; sections nest
//         ...
//     }
//     V_Profile::endFrame();
//     while (V_PINFO *info = V_Profile::request())   // between frames: one record per section
//         std::printf("%s %.1f %%\n", info->name, info->inclusivePercent);
//
// A section's time is kept inclusive (with everything called inside) and exclusive (without the sections
// nested in it). Time is counted in cycles when the processor has a time-stamp counter and in seconds
// otherwise; the clock rate that turns cycles into seconds is measured on demand, for half a second, by
// V_System::getProcessorSpeed or the first getTotalTime or getLastFrameTime, and measuring it discards every
// entry and frame gathered until then. A program that wants seconds asks for the clock rate at its start.
//
// All state is static, and nothing is synchronised: frames, sections and requests belong to one thread.
// The profiler may be used before start-up and after shutdown: frames and calls are then counted, and every
// time reads 0. See vl/core/profile_report.h for a printed table and a trace file.
#pragma once

#include "vl/core/export.h"
#include "vl/core/list.h"
#include "vl/core/string.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

/// One reading of the clock, or the difference of two.
union V_PTICK {
    std::uint64_t cycles; ///< time-stamp counter, on processors that have one
    double seconds;       ///< V_System::getAppAge on all others
};

/// The figures of one section. Those of "this frame" belong to the frame that ended last. The maxima are
/// taken over the frames in which the record was requested.
struct V_PINFO {
    const char *name;          ///< the entry's name; as valid as the entry
    int callsThisFrame;        ///< instances begun in the frame
    int callsTotal;            ///< instances begun since the entry was cleared
    float inclusivePercent;    ///< of the last frame's length; -1 until computed, 0 for a frame of no length
    float exclusivePercent;    ///< likewise
    double inclusiveSeconds;   ///< of the frame (0 while the clock rate is not measured); without a
                               ///< time-stamp counter, of every finished instance since the entry was cleared
    double averageSeconds;     ///< per call since the entry was cleared, 0 without a call
    double lastSeconds;        ///< length of the last finished instance; needs the time-stamp counter and a
                               ///< measured clock rate
    int usedThisFrame;         ///< 1 once an instance began in the frame
    int exclusiveAllocations;  ///< counted allocations in the frame, without nested sections
    int inclusiveAllocations;  ///< counted allocations in the frame, nested sections included
    int exclusiveReleases;     ///< counted releases, likewise
    int inclusiveReleases;     ///< counted releases, likewise
    int exclusiveThird;        ///< always 0
    int inclusiveThird;        ///< always 0
    float maxExclusiveSeconds; ///< largest exclusive time of one frame; needs a measured clock rate where
                               ///< time is counted in cycles
    int maxExclusiveAllocations; ///< largest of one frame
    int maxExclusiveReleases;    ///< likewise
    int maxExclusiveThird;       ///< always 0
    int maxCallsPerFrame;        ///< largest of one frame
};

/// One open instance of a section.
struct V_PINSTANCE {
    V_PTICK start;          ///< when it began
    double childTime;       ///< of nested instances that ended inside this one
    int allocationsAtStart; ///< of the process
    int releasesAtStart;    ///< likewise
    int childAllocations;   ///< inclusive, of nested instances
    int childReleases;      ///< likewise
    int thirdAtStart;       ///< always 0
    int childThird;         ///< always 0
};

/// One section. Times are in ticks of the clock: cycles or seconds.
struct V_PENTRY {
    char name[32] = {};                                       ///< at most 31 characters; padded with zeros
    std::vector<V_PINSTANCE, V_Allocator<V_PINSTANCE>> stack; ///< more than one when the section recurses
    double frameInclusive = 0;                                ///< outermost instances, current frame
    double frameExclusive = 0;                                ///< all instances, current frame
    double totalInclusive = 0; ///< outermost instances, all frames since the entry was cleared
    V_PINFO info = {};         ///< what clients see
};

/// The lifetime of one object is one instance of a section.
///
/// Objects are expected to be destroyed in reverse order of construction, inside the frame they began in. One
/// that is destroyed later is safe: after endFrame it still counts for the frame that ended; after the next
/// startFrame, a reset or shutdown, or when its entry has been cleared meanwhile, it records nothing. An
/// object destroyed while profiling is disabled records nothing either, and its section's figures are
/// incomplete until the next frame starts. In both cases its time still does not count as its parent's own.
class VL_API V_Profile {
  public:
    /// Begins an instance of the section `name`, of which the first 31 characters count: longer names that
    /// begin alike are one section. Null is taken as the empty name. Outside a frame, or with profiling
    /// disabled, nothing is recorded. Throws V_MemoryException_Allocation when a new section, or deeper
    /// recursion of one, finds no memory; the section is then not open.
    explicit V_Profile(const char *name) {
        if (sm_bProfilingEnabled && m_sbFrameRunning)
            begin(name);
    }
    ~V_Profile() {
        if (m_bActive)
            end();
    }
    V_Profile(const V_Profile &) = delete;
    V_Profile &operator=(const V_Profile &) = delete;

    /// The master switch, on at start.
    static void enableProfiling(bool enable);
    static void disableProfiling();
    static bool isProfilingEnabled();

    /// Begins a frame: clears every entry's figures of the frame. Instances still open are discarded.
    static void startFrame();

    /// Ends the frame and takes its length. It is not checked that a frame was started.
    static void endFrame();

    /// The next record of a traversal over all entries in order of creation; null at its end, and the next
    /// call then begins anew. Null while a frame runs. Records stay valid until the profiler is reset.
    static V_PINFO *request();

    /// The record of one section; null when there is none, or while a frame runs.
    static V_PINFO *request(const char *name);

    /// lastSeconds of a section; 0 when there is none.
    static double requestTime(const char *name);

    /// Length of all frames since the last reset, those with profiling disabled included, and of the last
    /// frame, in seconds. With a time-stamp counter whose rate is not measured yet, these measure it (half a
    /// second), which resets the profiler, and return 0. 0 without the system object.
    static double getTotalTime();
    static double getLastFrameTime();

    /// Frames ended since the last reset.
    static int getFrameCount();

    /// Clears all figures of one section, if it exists; its open instances are discarded.
    static void clearEntry(const char *name);

    /// Forgets all entries (their memory is kept for new ones) and all frames. Open instances are discarded.
    static void reset();

    /// Ends the frame, resets, and frees all memory. Called at shutdown.
    static void deinit();

    static bool sm_bProfilingEnabled; ///< the master switch

    /// Readings of the current or last frame, and its length.
    static V_PTICK m_sFrameStart;
    static V_PTICK m_sFrameEnd;
    static V_PTICK m_sFrameDiff;

    static V_PENTRY *m_spTraverseCurrent; ///< position of request()
    static V_PENTRY *m_spEarlierParent;   ///< innermost open entry
    static int m_sbFrameRunning;          ///< 1 between startFrame and endFrame
    static int m_siEntries;               ///< entries created since the last reset; there is no limit
    static int m_siFrameCount;            ///< frames ended since the last reset
    static double m_stFrameCycles;        ///< length of the last frame, in ticks
    static double m_stTotalCycles;        ///< sum of all frames since the last reset, in ticks

    /// Entries in use, and entries kept for new ones.
    using Entries = V_ReusableNodeList<V_PENTRY, V_DLListInit<V_PENTRY>>;

    /// The entries in order of creation. A reference, because the list is never destroyed: objects that
    /// outlive the library's other statics may still use the profiler.
    static Entries &m_slProfiles;

  protected:
    /// The first entry of a name, null when there is none.
    VL_LOCAL static V_PENTRY *find(const char *name);

    /// Finds or creates an entry and opens an instance of it. Throws V_MemoryException_Allocation.
    VL_LOCAL static V_PENTRY *insert(const char *name);

    /// Computes the figures of the record that depend on the frame's length; nothing while a frame runs.
    VL_LOCAL static void calcPercentage(V_PENTRY *entry);
    VL_LOCAL static void clearEntry(V_PENTRY *entry);

    /// Total inclusive time of a section in ticks; 0 when there is none.
    static double getCycleCount(const char *name);

    /// The two clocks: the time-stamp counter, and the age of the system object for processors without one
    /// (0 without the system object). calcDiff is end - start; calcCycles is a difference as a number.
    VL_LOCAL static void readTickCount(V_PTICK *tick);
    VL_LOCAL static void readCyrixCount(V_PTICK *tick);
    VL_LOCAL static void calcDiff(V_PTICK *result, V_PTICK *start, V_PTICK *end);
    VL_LOCAL static void calcCyrixDiff(V_PTICK *result, V_PTICK *start, V_PTICK *end);
    VL_LOCAL static double calcCycles(V_PTICK *tick);
    VL_LOCAL static double calcCyrixCycles(V_PTICK *tick);

  private:
    friend class V_System;
    friend class V_ProfileTrace;
    friend VL_API void V_writeProfileTable(std::ostream &out);

    VL_LOCAL static void readClock(V_PTICK *tick);
    VL_LOCAL static double takeDifference(V_PTICK *result, V_PTICK *start, V_PTICK *end);
    VL_LOCAL static double ticksBetween(V_PTICK *start, V_PTICK *end);
    VL_LOCAL static double ticksPerSecond(); ///< 0 while the clock rate is not measured

    VL_LOCAL static V_PENTRY *create(const char *name);
    void begin(const char *name);
    void end() noexcept;
    VL_LOCAL void record(double ticks, int allocations, int releases) noexcept;
    VL_LOCAL static void discardOpenInstances();

    V_PENTRY *m_pParent = nullptr; ///< innermost open entry when this one began, may be null
    V_PENTRY *m_pEntry = nullptr;
    struct {
        V_PTICK start;
        int allocations, releases;
    } m_begin = {};                ///< the clock and the process's counters when it began
    bool m_bActive = false;        ///< an instance is registered
    unsigned int m_uPeriod = 0;    ///< sm_uPeriod when the instance began
    std::size_t m_uStackDepth = 0; ///< position of its record in the entry's stack, counted from 1

    /// Counts the occasions on which all open instances were discarded.
    static unsigned int sm_uPeriod;
};
