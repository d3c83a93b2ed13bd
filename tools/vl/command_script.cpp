// vl script: check scripts, show their block trees and their preprocessed texts.

#include "commands.h"
#include "printable.h"
#include "script_source.h"

#include "core/counted.h"
#include "script/load_environment.h"
#include "script/loader.h"
#include "script/trace.h"
#include "vl/file.h"
#include "vl/script.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using json = nlohmann::ordered_json;

namespace {

struct Options {
    std::vector<std::string> files;
    std::string archive;
    bool asJson = false;
};

/// What is done with a script, given its name and the environment to load it in.
using Action = std::function<void(const std::string &name, const vl::LoadEnvironment &environment)>;

/// Runs `action` for the script `file`. When that fails, prints `file:line: message` to `out` and
/// gives false.
bool report(const ScriptSource &source, const std::string &file, std::FILE *out, const Action &action) {
    vl::ScriptTrace trace;
    try {
        action(source.nameOf(file), {nullptr, &trace});
        return true;
    } catch (V_MemoryException *) {
        throw;
    } catch (V_Exception *exception) {
        std::string message = exception->getErrorMessage();
        std::replace(message.begin(), message.end(), '\n', ' ');
        const bool located = trace.line() != 0;
        std::fprintf(out, "%s:%u: %s\n", located ? source.shown(trace.file()).c_str() : file.c_str(),
                     located ? trace.line() : 1, printable(message).c_str());
        return false;
    }
}

// ---- tree ----------------------------------------------------------------------------------------------

void printTree(V_Script &script) {
    const std::string indent(script.getIndent() * 2, ' ');
    std::printf(script.getIndent() ? "%s[%s]\n" : "%s%s\n", indent.c_str(), script.getBlockName());
    for (unsigned int i = 0; i < script.countLvalues(); ++i) {
        const char *value = script.getAssignment(i);
        std::printf("%s  %s%s%s\n", indent.c_str(), script.getLvalue(i), value ? " = " : "",
                    value ? value : "");
    }
    for (unsigned int i = 0; i < script.count(); ++i) {
        const V_ScriptLock lock(&script, i);
        printTree(script);
    }
}

json treeOf(V_Script &script) {
    json block = {{"name", script.getBlockName()}};
    for (unsigned int i = 0; i < script.countLvalues(); ++i) {
        const char *value = script.getAssignment(i);
        block["statements"].push_back(
            {{"name", script.getLvalue(i)}, {"value", value ? json(value) : json()}});
    }
    for (unsigned int i = 0; i < script.count(); ++i) {
        const V_ScriptLock lock(&script, i);
        block["blocks"].push_back(treeOf(script));
    }
    return block;
}

void showTree(V_Script &script, bool asJson) {
    if (asJson)
        std::puts(treeOf(script).dump(2, ' ', false, json::error_handler_t::replace).c_str());
    else
        printTree(script);
}

// ---- text ----------------------------------------------------------------------------------------------

void showText(const std::string &name, const vl::LoadEnvironment &environment) {
    const std::size_t directory = name.find_last_of("\\/") + 1;
    const V_FileDirectoryChange change(V_String(name.c_str(), directory));
    unsigned int length = 0;
    const vl::CountedArray<char> text(
        V_ScriptLoader::preprocessedText(name.c_str() + directory, length, environment));
    std::fwrite(text.get(), 1, length - 1, stdout);
    std::putchar('\n');
}

/// Runs `action` for every file's name and prints the mistakes to `out`; gives the exit status.
int forEachFile(const Options &options, std::FILE *out, const Action &action) {
    const ScriptSource source(options.archive);
    bool well = true;
    for (const std::string &file : options.files)
        well &= report(source, file, out, action);
    return well ? 0 : 1;
}

} // namespace

void addScriptCommand(CLI::App &app, int &exitStatus) {
    CLI::App *parent =
        app.add_subcommand("script", "Check scripts, and show what the library reads in them.");
    parent->require_subcommand(1);
    const auto options = std::make_shared<Options>();
    const auto add = [&](const char *name, const char *help) {
        CLI::App *command = parent->add_subcommand(name, help);
        command->add_option("FILE", options->files, "Script files; a mistake is shown as file:line: message")
            ->required();
        command->add_option("--archive", options->archive,
                            "Read the files, and all they include, in this archive");
        return command;
    };

    add("check",
        "Load scripts and report their mistakes, one a line; the exit status is 1 when there are any.")
        ->callback([options, &exitStatus] {
            exitStatus = forEachFile(*options, stdout,
                                     [](const std::string &name, const vl::LoadEnvironment &environment) {
                                         vl::EnvironmentScript script(name.c_str(), environment);
                                     });
        });

    CLI::App *tree = add("tree", "Print the blocks and statements of scripts.");
    tree->add_flag("--json", options->asJson, "As JSON");
    tree->callback([options, &exitStatus] {
        const auto show = [&](const std::string &name, const vl::LoadEnvironment &environment) {
            vl::EnvironmentScript script(name.c_str(), environment);
            showTree(script, options->asJson);
        };
        exitStatus = forEachFile(*options, stderr, show);
    });

    add("text", "Print the preprocessed texts of scripts.")->callback([options, &exitStatus] {
        exitStatus = forEachFile(*options, stderr, showText);
    });
}
