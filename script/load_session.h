// One load of a script from its first file to its tree: what it works with, where its files come from and who
// wants to know where it failed. Loads have nothing in common but what WorkState keeps, so several can go on
// at once, on a thread each.
#pragma once

#include "script/frame_memory.h"
#include "script/load_environment.h"
#include "script/work_state.h"

namespace vl {

class LoadSession {
  public:
    explicit LoadSession(const LoadEnvironment &environment);
    ~LoadSession();
    LoadSession(const LoadSession &) = delete;
    LoadSession &operator=(const LoadSession &) = delete;

    /// The load is complete: its share of what is kept is now the script's, who releases it (WorkState).
    void leaveShare() { m_bShareLeft = true; }

    WorkState &state;
    ScriptFiles &files;
    ScriptTrace *const trace; ///< null: nobody asks
    FrameMemory frame;

  private:
    bool m_bShareLeft = false;
};

} // namespace vl
