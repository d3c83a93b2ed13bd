// How messages write a path on disk: as the library names it, or as the system does.
#pragma once

#include "platform/platform.h"

namespace vl {

/// What a message shows of a name. Made in the argument list of setError, it lives as long as it has to.
class ShownPath {
  public:
    /// `name` must outlive this. Whatever is no path on disk with its drive (a virtual name, what a client
    /// gave) is shown as it is.
    explicit ShownPath(const char *name);
    ShownPath(const ShownPath &) = delete;
    ShownPath &operator=(const ShownPath &) = delete;

    const char *text() const { return m_pText; }

    static bool sm_bAsSystem; ///< see V_StartSettings::systemPaths

  private:
    const char *m_pText;
    platform::PathBuffer m_strSystem;
};

} // namespace vl
