// What surrounds the loading of scripts: where their files come from, and who wants to know where a load
// failed. Both are set for the whole process, before a script is constructed.
#pragma once

namespace vl {

class ScriptTrace;

/// Where scripts come from. Throws what V_File throws.
class ScriptFiles {
  public:
    virtual ~ScriptFiles() = default;

    /// The path under which `name` is loaded: at most 255 characters, valid until the next call.
    virtual const char *fullPath(const char *name) = 0;

    /// The bytes of a file, a counted allocation (V_Memory).
    virtual char *load(const char *path, unsigned int &size) = 0;
};

struct LoadEnvironment {
    ScriptFiles *files; ///< `File`, unless a test provides its own; never null
    /// Records where texts come from, and where a load failed; null: nobody asks.
    ScriptTrace *trace = nullptr;
};

extern LoadEnvironment loadEnvironment;

} // namespace vl
