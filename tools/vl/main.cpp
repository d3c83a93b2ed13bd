// `vl`: archives, scripts and data files of the Vantor library from the command line.

#include "commands.h"
#include "printable.h"

#include "vl/core/exception.h"
#include "vl/version.h"

#include <cstdio>
#include <exception>
#include <filesystem>

int main(int count, char **arguments) {
    CLI::App app("Archives, scripts and data files of the Vantor library.", "vl");
    app.set_version_flag("--version", "vl " VL_VERSION_STRING);
    app.require_subcommand(1);
    app.set_help_all_flag("--help-all", "Print the help of every command");

    int exitStatus = 0;
    addArchiveCommand(app, exitStatus);
    addScriptCommand(app, exitStatus);
    addDumpCommand(app, exitStatus);
    addSystemCommand(app, exitStatus);

    try {
        app.parse(count, arguments);
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
        std::fprintf(stderr, "vl: %s: %s\n", error.path1().c_str(), error.code().message().c_str());
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "vl: %s\n", exception.what());
    }
    return 1;
}
