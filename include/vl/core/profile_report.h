// The profiler made visible: the sections of the last frame as a table for a terminal, and the sections of
// many frames as a trace file for a trace viewer. Part of the library, not of a tool, because it is the
// library's clients who want to see their frames.
//
//     V_ProfileTrace trace;
//     trace.start();
//     ... frames ...
//     trace.stop();
//     std::ofstream file("trace.json");
//     trace.write(file);
//     V_writeProfileTable(std::cout);
#pragma once

#include "vl/core/export.h"
#include "vl/core/profile.h"
#include "vl/core/string.h"

#include <iosfwd>
#include <memory>

/// Writes the sections that the last frame used, one line each, the longest inclusive time first: name,
/// calls, inclusive and exclusive time and percent of the frame, inclusive and exclusive allocations. Times
/// are milliseconds, or millions of cycles (headed "Mcycles") as long as the clock rate is not measured;
/// measuring it here would discard the very figures. Counts as a request of every section listed. While a
/// frame runs there are no figures, and one line says so. Throws V_MemoryException_Allocation.
VL_API void V_writeProfileTable(std::ostream &out);

/// Records every section and every frame that ends between start() and stop(), with its begin and length, and
/// writes them as trace events (the JSON object format with complete events, "ph":"X") that the common trace
/// viewers open. One trace records at a time. While none does, a section pays one predictable branch; while
/// one does, it pays the storing of about 64 bytes and nothing inside the measured time of the section
/// itself. A section that is still open at stop() is not recorded.
class VL_API V_ProfileTrace {
  public:
    /// Records nothing yet. Throws V_MemoryException_Allocation.
    V_ProfileTrace();

    /// Stops recording.
    ~V_ProfileTrace();
    V_ProfileTrace(const V_ProfileTrace &) = delete;
    V_ProfileTrace &operator=(const V_ProfileTrace &) = delete;

    /// Forgets what was recorded and begins to record, for as long as the system object lives; the library
    /// must be running. Stops another trace that is recording.
    void start();

    /// Ends recording, also when the memory for more events has run out.
    void stop();

    /// False when memory ran out while recording: what was recorded until then is kept, the rest is missing.
    bool isComplete() const;

    /// Sections and frames recorded.
    std::size_t getEventCount() const;

    /// Writes what was recorded, as UTF-8. Times are in microseconds since start(), with three decimals; a
    /// section's event carries its inclusive allocations and releases, a frame is named "Frame". What is not
    /// valid UTF-8 in a section's name appears as U+FFFD. The stream's state tells whether it was written.
    void write(std::ostream &out) const;

  private:
    class Recorder;
    std::unique_ptr<Recorder> m_pRecorder;
};
