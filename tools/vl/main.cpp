// `vl`: archives, scripts and data files of the Vantor library from the command line.

#include "commands.h"

#include "vl/core/exception.h"

#include <cstdio>
#include <exception>

int main(int count, char **arguments) {
    CLI::App app("Archives, scripts and data files of the Vantor library.", "vl");
    app.set_version_flag("--version", "vl " VL_VERSION);
    app.require_subcommand(1);
    app.set_help_all_flag("--help-all", "Print the help of every command");

    int exitStatus = 0;
    addArchiveCommand(app, exitStatus);
    addDumpCommand(app, exitStatus);
    addSystemCommand(app, exitStatus);

    try {
        app.parse(count, arguments);
        return exitStatus;
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (V_Exception *exception) {
        std::fprintf(stderr, "vl: %s\n", exception->getErrorMessage());
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "vl: %s\n", exception.what());
    }
    return 1;
}
