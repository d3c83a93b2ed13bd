// The profiler's hook for the recorder of traces.
#pragma once

#include "vl/core/profile.h"

namespace vl {

/// One finished section or frame.
struct TraceEvent {
    const char *name; ///< null for a frame; valid during the call
    V_PTICK start;
    double ticks; ///< length
    int allocations, releases;
};

class TraceRecorder {
  public:
    virtual void record(const TraceEvent &event) noexcept = 0;
    virtual void stop() noexcept = 0;

  protected:
    ~TraceRecorder() = default;
};

/// Null unless a trace is being recorded.
extern TraceRecorder *traceRecorder;

} // namespace vl
