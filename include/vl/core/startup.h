// Start-up and shutdown.
#pragma once

#include "vl/core/export.h"

/// Every module that uses the library holds one of these, as a rule a static one. The first to be constructed
/// starts the library: it creates `Sys`, with the log file "verbose_" + computer name + ".txt" in the
/// process's current directory ("verbose.txt" when the name is unknown), and `File`, which makes the
/// executable's directory the current directory and loads the archives found there. The last to be destroyed
/// shuts it down: `File`, the profiler, then the registered routines and the log.
///
/// The constructor passes on what start-up throws, for example V_FileException_ArchiveCorrupted for a damaged
/// archive; everything created until then is released and the library is stopped again.
class VL_API V_VantorInit {
  public:
    V_VantorInit();
    ~V_VantorInit();
    V_VantorInit(const V_VantorInit &) = delete;
    V_VantorInit &operator=(const V_VantorInit &) = delete;

    static int count; ///< live V_VantorInit objects

  private:
    static void stop();
};
