// vl archive: create, list, extract, verify and describe VAS archives.

#include "archive_writer.h"
#include "commands.h"
#include "input_tree.h"
#include "opened_archive.h"
#include "printable.h"
#include "progress.h"

#include "file/names/name_rules.h"
#include "platform/native.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace fs = std::filesystem;
using json = nlohmann::ordered_json;
using vl::platform::nativePath;
using vl::platform::textOf;

namespace {

const std::map<std::string, V_File::Method> methods = {{"lzss", V_File::METHOD_LZSS},
                                                       {"scrambled", V_File::METHOD_LZSS_SCRAMBLED},
                                                       {"stored", V_File::METHOD_STORED}};

std::string methodName(unsigned int method) {
    for (const auto &[name, value] : methods)
        if (static_cast<unsigned int>(value) == method)
            return name;
    return "unknown " + std::to_string(method);
}

std::string timeText(const V_File::CalendarTime &time) {
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02uZ", time.year, time.month, time.day,
                  time.hour, time.minute, time.second);
    return text;
}

double percentage(double part, double whole) { return whole > 0 ? 100 * part / whole : 100; }

/// Prints JSON; names that are not UTF-8 are shown as well as they can be.
void print(const json &value) {
    std::puts(value.dump(2, ' ', false, json::error_handler_t::replace).c_str());
}

// ---- create --------------------------------------------------------------------------------------------

struct CreateOptions {
    std::string output, tree;
    std::string method = "lzss";
    std::vector<std::string> rules, exclude;
    ArchiveSettings settings;
};

MethodRule parseRule(const std::string &text) {
    const std::size_t equals = text.rfind('=');
    const auto method = equals == std::string::npos ? methods.end() : methods.find(text.substr(equals + 1));
    if (method == methods.end() || equals == 0)
        throw CLI::ValidationError("--rule", "'" + text + "' is not PATTERN=lzss, =scrambled or =stored");
    return {text.substr(0, equals), method->second};
}

/// "532 bytes", "1.4 MB".
std::string amount(std::uint64_t bytes) {
    char text[32];
    if (bytes < 10000)
        std::snprintf(text, sizeof text, "%llu bytes", static_cast<unsigned long long>(bytes));
    else
        std::snprintf(text, sizeof text, bytes < 1000000 ? "%.1f kB" : "%.1f MB",
                      static_cast<double>(bytes) / (bytes < 1000000 ? 1e3 : 1e6));
    return text;
}

void create(const CreateOptions &options) {
    std::vector<MethodRule> rules;
    for (const std::string &rule : options.rules)
        rules.push_back(parseRule(rule));
    const fs::path output = nativePath(options.output);
    const InputTree tree =
        listInput(nativePath(options.tree), options.exclude, methods.at(options.method), rules, output);
    const ArchiveSummary summary = writeArchive(tree, options.settings, output);
    std::printf("%s: %zu files in %zu directories, %s packed to %s (%.0f%%)\n", options.output.c_str(),
                tree.files.size(), tree.directories.size(), amount(summary.unpacked).c_str(),
                amount(summary.archive).c_str(),
                percentage(static_cast<double>(summary.archive), static_cast<double>(summary.unpacked)));
}

void addCreate(CLI::App &archive) {
    auto options = std::make_shared<CreateOptions>();
    CLI::App *command = archive.add_subcommand(
        "create",
        "Pack a directory tree into an archive. Equal input gives equal bytes; an interrupted or failed "
        "run leaves an older archive untouched.");
    command->add_option("OUT.VAS", options->output, "The archive to write")->required();
    command->add_option("DIR", options->tree, "The directory tree to pack")->required();
    command->add_option("-m,--method", options->method, "How files are stored: lzss, scrambled or stored")
        ->capture_default_str()
        ->check(CLI::IsMember({"lzss", "scrambled", "stored"}));
    command->add_option(
        "-r,--rule", options->rules,
        "PATTERN=METHOD: store files that match differently; the last rule that matches counts. A "
        "pattern with a slash is matched against the path below DIR, one without against the name");
    command->add_option("-x,--exclude", options->exclude,
                        "Leave out files and directories that match a pattern");
    command->add_option("--archiver-id", options->settings.archiverID,
                        "Identifier of the program that the archive is built for");
    command->add_option("--seed", options->settings.seed, "Seed of the scrambling")->capture_default_str();
    command->callback([options] { create(*options); });
}

// ---- list ----------------------------------------------------------------------------------------------

void list(const std::string &path, bool asJson) {
    const OpenedArchive archive(nativePath(path));
    if (asJson) {
        json files = json::array();
        for (const V_File::VASFileEntry *file : archive.files())
            files.push_back({{"path", archive.pathOf(*file)},
                             {"size", file->size},
                             {"storedSize", file->storedSize},
                             {"offset", file->offset},
                             {"method", methodName(file->method)},
                             {"modified", timeText(file->time)}});
        print({{"archive", path}, {"directories", archive.directories()}, {"files", files}});
        return;
    }
    std::printf("%-9s %10s %10s %6s  %-20s  %s\n", "method", "size", "stored", "ratio", "modified", "path");
    for (const V_File::VASFileEntry *file : archive.files())
        std::printf("%-9s %10u %10u %5.0f%%  %-20s  %s\n", methodName(file->method).c_str(), file->size,
                    file->storedSize, percentage(file->storedSize, file->size), timeText(file->time).c_str(),
                    printable(archive.pathOf(*file)).c_str());
}

void addList(CLI::App &archive) {
    auto path = std::make_shared<std::string>();
    auto asJson = std::make_shared<bool>(false);
    CLI::App *command = archive.add_subcommand("list", "List the files of an archive.");
    command->add_option("ARCHIVE", *path, "The archive")->required();
    command->add_flag("--json", *asJson, "As JSON");
    command->callback([path, asJson] { list(*path, *asJson); });
}

// ---- extract -------------------------------------------------------------------------------------------

/// Whether every element of a path with slashes is the name of a file here, so that it cannot lead out of a
/// directory.
bool staysBelow(std::string_view path) {
    while (true) {
        const std::size_t end = std::min(path.find('/'), path.size());
        if (!vl::platform::canNameFile(path.substr(0, end)))
            return false;
        if (end == path.size())
            return true;
        path.remove_prefix(std::min(path.find_first_not_of('/', end), path.size()));
    }
}

void refuseLink(const fs::path &place) {
    if (fs::is_symlink(fs::symlink_status(place)))
        throw std::runtime_error(textOf(place) + ": a link stands there, nothing was written through it");
}

/// `name`, a file's or directory's path in the archive `path`, as a path below a directory of the disk.
fs::path checkedPath(const std::string &path, const std::string &name, const std::string &relative) {
    if (!staysBelow(relative))
        throw std::runtime_error(path + ": the name '" + printable(name) +
                                 "' would lead out of the target directory");
    return nativePath(relative);
}

/// Makes a directory below `target`, its parents included. Throws where a link would lead elsewhere.
fs::path directoryBelow(const fs::path &target, const fs::path &relative) {
    fs::path place = target;
    for (const fs::path &element : relative) {
        place /= element;
        refuseLink(place);
        fs::create_directory(place);
    }
    return place;
}

void setTime(const fs::path &path, const V_File::CalendarTime &time) {
    using namespace std::chrono;
    // Nothing sensible was recorded, or nothing that file systems can tell: an unset time is of 1601.
    if (!year_month_day(year(time.year), month(time.month), day(time.day)).ok() || time.year < 1900 ||
        time.year > 2400)
        return;
    vl::platform::setLastWrite(path, {time.year, time.month, time.dayOfWeek, time.day, time.hour, time.minute,
                                      time.second, time.milliseconds});
}

void extract(const std::string &path, const std::string &targetName,
             const std::vector<std::string> &patterns) {
    const OpenedArchive archive(nativePath(path));
    const fs::path target = nativePath(targetName);
    std::vector<const V_File::VASFileEntry *> chosen;
    for (const V_File::VASFileEntry *file : archive.files()) {
        const std::string relative = archive.relativePathOf(*file);
        if (patterns.empty() ||
            std::any_of(patterns.begin(), patterns.end(),
                        [&](const std::string &pattern) { return matchesPath(pattern, relative); }))
            chosen.push_back(file);
    }
    if (chosen.empty() && !patterns.empty())
        throw std::runtime_error(path + ": no file matches");
    fs::create_directories(target);
    // Directories without a file in them come with the whole archive only.
    for (const std::string &directory :
         patterns.empty() ? archive.directories() : std::vector<std::string>()) {
        std::string relative = relativePath(directory);
        if (relative.empty())
            continue; // the root
        if (relative.back() == '/')
            relative.pop_back();
        directoryBelow(target, checkedPath(path, directory, relative));
    }
    Progress progress("extracting", chosen.size());
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        const std::string relative = archive.relativePathOf(*chosen[i]);
        progress.show(i, relative);
        const fs::path below = checkedPath(path, archive.pathOf(*chosen[i]), relative);
        const fs::path place = directoryBelow(target, below.parent_path()) / below.filename();
        refuseLink(place);
        const std::string content = archive.read(*chosen[i]);
        std::ofstream stream(place, std::ios::binary | std::ios::trunc);
        stream << content;
        stream.close();
        if (!stream)
            throw std::runtime_error(textOf(place) + ": cannot be written");
        setTime(place, chosen[i]->time);
    }
    std::printf("%zu files extracted to %s\n", chosen.size(), targetName.c_str());
    if (archive.orphans() != 0)
        std::fprintf(stderr, "vl: %s: %zu files belong to no directory and were left out\n", path.c_str(),
                     archive.orphans());
}

void addExtract(CLI::App &archive) {
    struct Options {
        std::string path, target = ".";
        std::vector<std::string> patterns;
    };
    auto options = std::make_shared<Options>();
    CLI::App *command = archive.add_subcommand(
        "extract", "Unpack files of an archive, keeping their times. Existing files are replaced.");
    command->add_option("ARCHIVE", options->path, "The archive")->required();
    command->add_option("PATTERN", options->patterns,
                        "Only files that match: by path when it holds a slash, else by name");
    command->add_option("-d,--directory", options->target, "Where to")->capture_default_str();
    command->callback([options] { extract(options->path, options->target, options->patterns); });
}

// ---- verify and info -----------------------------------------------------------------------------------

void verify(const std::string &path, int &exitStatus) {
    try {
        const OpenedArchive archive(nativePath(path));
        std::string bad, why;
        std::size_t failures = 0;
        {
            Progress progress("verifying", archive.files().size());
            for (std::size_t i = 0; i < archive.files().size(); ++i) {
                const V_File::VASFileEntry &file = *archive.files()[i];
                progress.show(i, archive.relativePathOf(file));
                try {
                    archive.read(file);
                } catch (V_Exception *exception) {
                    if (++failures == 1)
                        bad = archive.pathOf(file), why = exception->getErrorMessage();
                } catch (const std::runtime_error &error) {
                    if (++failures == 1)
                        bad = archive.pathOf(file), why = error.what();
                }
            }
        }
        for (const V_File::VASFileEntry *file : archive.files())
            if (!vl::isNameablePath(archive.pathOf(*file)))
                std::printf("%s: no name leads the library to %s\n", path.c_str(),
                            printable(archive.pathOf(*file)).c_str());
        if (failures == 0 && archive.orphans() == 0) {
            std::printf("%s: sound, %zu files\n", path.c_str(), archive.files().size());
            return;
        }
        if (failures != 0)
            std::printf("%s: DAMAGED: %zu of %zu files; the first is %s (%s)\n", path.c_str(), failures,
                        archive.files().size(), printable(bad).c_str(), printable(why).c_str());
        if (archive.orphans() != 0)
            std::printf("%s: DAMAGED: %zu files belong to no directory\n", path.c_str(), archive.orphans());
    } catch (V_FileException_ArchiveNotFound *) {
        throw; // which says nothing about the archive
    } catch (V_Exception *exception) {
        std::printf("%s: DAMAGED: %s\n", path.c_str(), exception->getErrorMessage());
    }
    exitStatus = 1;
}

void addVerify(CLI::App &archive, int &exitStatus) {
    auto path = std::make_shared<std::string>();
    CLI::App *command = archive.add_subcommand(
        "verify", "Check every checksum and unpack every file; exit status 1 names the first bad one.");
    command->add_option("ARCHIVE", *path, "The archive")->required();
    command->callback([path, &exitStatus] { verify(*path, exitStatus); });
}

void describe(const std::string &path, bool asJson) {
    const OpenedArchive archive(nativePath(path));
    std::map<std::string, std::size_t> perMethod;
    std::uint64_t size = 0, stored = 0;
    for (const V_File::VASFileEntry *file : archive.files()) {
        ++perMethod[methodName(file->method)];
        size += file->size;
        stored += file->storedSize;
    }
    if (asJson) {
        print({{"archive", path},
               {"files", archive.files().size()},
               {"directories", archive.header().dirCount},
               {"bytes", size},
               {"storedBytes", stored},
               {"methods", perMethod},
               {"seed", archive.header().seed},
               {"archiverID", archive.header().archiverID}});
        return;
    }
    std::printf("archive      %s\nversion      %.2f\narchiver id  %u\nseed         %u\nfiles        %zu\n"
                "directories  %u\nunpacked     %llu bytes\nstored       %llu bytes (%.0f%%)\n",
                path.c_str(), static_cast<double>(archive.header().version), archive.header().archiverID,
                archive.header().seed, archive.files().size(), archive.header().dirCount,
                static_cast<unsigned long long>(size), static_cast<unsigned long long>(stored),
                percentage(static_cast<double>(stored), static_cast<double>(size)));
    for (const auto &[method, count] : perMethod)
        std::printf("%-12s %zu files\n", method.c_str(), count);
}

void addInfo(CLI::App &archive) {
    auto path = std::make_shared<std::string>();
    auto asJson = std::make_shared<bool>(false);
    CLI::App *command = archive.add_subcommand("info", "Describe an archive as a whole.");
    command->add_option("ARCHIVE", *path, "The archive")->required();
    command->add_flag("--json", *asJson, "As JSON");
    command->callback([path, asJson] { describe(*path, *asJson); });
}

} // namespace

void addArchiveCommand(CLI::App &app, int &exitStatus) {
    CLI::App *archive = app.add_subcommand("archive", "Make, list, unpack and check VAS archives.");
    archive->require_subcommand(1);
    addCreate(*archive);
    addList(*archive);
    addExtract(*archive);
    addVerify(*archive, exitStatus);
    addInfo(*archive);
}
