// Running the built programs as a user does.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

struct Outcome {
    int status;         ///< exit status, or -1 when the program was ended by a signal
    std::string output; ///< standard output and standard error together
};

/// Runs a program in a directory. Arguments are separated by blanks, of which those between single quotes are
/// none; `>/dev/null` and `2>/dev/null` keep standard output and standard error out of the result.
Outcome runProgram(const std::filesystem::path &program, const std::string &arguments,
                   const std::filesystem::path &directory = ".");

/// The same for a program that writes texts, whose line ends are the system's.
Outcome runTextProgram(const std::filesystem::path &program, const std::string &arguments,
                       const std::filesystem::path &directory);

/// Runs the built tool.
Outcome runTool(const std::string &arguments, const std::filesystem::path &directory = ".");

/// Runs a built example.
Outcome runExample(const std::string &name, const std::string &arguments);

/// A path as one argument.
std::string quoted(const std::filesystem::path &path);

/// The built tool, and the program that runs this.
std::filesystem::path toolProgram();
std::filesystem::path ownProgram();

/// Puts the program that runs this into another directory; its place there.
std::filesystem::path ownProgramIn(const std::filesystem::path &directory);

/// A program that runs while the test goes on, and whose output nobody sees. The destructor ends it at once,
/// as a failure of power would.
class RunningProgram {
  public:
    RunningProgram(const std::filesystem::path &program, const std::string &arguments,
                   const std::filesystem::path &directory);
    ~RunningProgram();
    RunningProgram(const RunningProgram &) = delete;
    RunningProgram &operator=(const RunningProgram &) = delete;

    /// Asks the program to end, as its user would, and waits until it has. Whether that was what ended it.
    bool interrupt();

  private:
    std::intptr_t m_process;
};

/// The variable that tells where the user's programs keep their data.
#if defined(_WIN32)
inline constexpr char userDataVariable[] = "APPDATA";
#else
inline constexpr char userDataVariable[] = "XDG_DATA_HOME";
#endif

/// Of this process and those that it runs.
void setEnvironment(const char *name, const std::string &value);
