// `vl`: archives, scripts and data files of the Vantor library from the command line.

#include "commands.h"
#include "printable.h"

#include "platform/native.h"
#include "platform/terminal.h"
#include "vl/core/exception.h"
#include "vl/core/startup.h"
#include "vl/version.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

int main(int count, char **arguments) {
    CLI::App app("Archives, scripts and data files of the Vantor library.", "vl");
    app.set_version_flag("--version", "vl " VL_VERSION_STRING);
    app.require_subcommand(1);
    app.allow_windows_style_options(false); // a slash begins a path
    app.set_help_all_flag("--help-all", "Print the help of every command");

    V_StartSettings settings;
    settings.systemPaths = true; // the user's names for what is on his disk
    V_VantorInit::settings(settings);

    int exitStatus = 0;
    addArchiveCommand(app, exitStatus);
    addScriptCommand(app, exitStatus);
    addDumpCommand(app, exitStatus);
    addSystemCommand(app, exitStatus);

    try {
        std::vector<std::string> words = vl::platform::beginProgram(count, arguments);
        std::reverse(words.begin(), words.end()); // as CLI takes them, the first last
        words.pop_back();
        app.parse(std::move(words));
        if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
            std::fputs("vl: standard output cannot be written\n", stderr);
            return 1;
        }
        return exitStatus;
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (V_Exception *exception) {
        std::fprintf(stderr, "vl: %s\n", printable(exception->getErrorMessage()).c_str());
    } catch (const std::filesystem::filesystem_error &error) {
        std::fprintf(stderr, "vl: %s: %s\n", vl::platform::textOf(error.path1()).c_str(),
                     error.code().message().c_str());
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "vl: %s\n", exception.what());
    }
    return 1;
}
