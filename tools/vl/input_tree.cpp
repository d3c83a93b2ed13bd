// Listing the tree that becomes an archive.

#include "input_tree.h"

#include "base/wildcards.h"
#include "file/archive/archive_format.h"
#include "file/names/name_rules.h"
#include "platform/native.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace fs = std::filesystem;
using vl::platform::textOf;

namespace {

/// A directory still to be listed.
struct Pending {
    fs::path path;
    std::string key;
};

/// All zeros when it cannot be told.
V_File::CalendarTime lastWrite(const fs::path &path) {
    vl::platform::CalendarTime time{};
    vl::platform::lastWrite(path, time);
    return {time.year, time.month,  time.dayOfWeek, time.day,
            time.hour, time.minute, time.second,    time.milliseconds};
}

std::string pathBelow(const std::string &directoryKey, const std::string &name) {
    std::string path = directoryKey.substr(1) + name;
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

[[noreturn]] void refuse(const fs::path &path, const std::string &why) {
    throw std::runtime_error(textOf(path) + ": " + why);
}

class Lister {
  public:
    Lister(const std::vector<std::string> &exclude, V_File::Method defaultMethod,
           const std::vector<MethodRule> &rules, const fs::path &output)
        : m_exclude(exclude), m_defaultMethod(defaultMethod), m_rules(rules), m_output(output) {}

    InputTree list(const fs::path &root) {
        std::vector<Pending> pending{{root, "\\"}};
        std::vector<std::pair<std::string, InputFile>> files; // with the key of their directory
        while (!pending.empty()) {
            const Pending directory = std::move(pending.back());
            pending.pop_back();
            listDirectory(directory, pending, files);
            m_tree.directories.push_back(directory.key);
        }
        if (m_tree.directories.size() > vl::archiveHighestDirIndex)
            refuse(root, "holds " + std::to_string(m_tree.directories.size()) +
                             " directories; an archive holds at most " +
                             std::to_string(vl::archiveHighestDirIndex));
        const auto keyLess = [](const std::string &a, const std::string &b) {
            return vl::compareArchiveNames(a.c_str(), b.c_str()) < 0;
        };
        std::sort(m_tree.directories.begin(), m_tree.directories.end(), keyLess);
        for (auto &[key, file] : files) {
            const auto place =
                std::lower_bound(m_tree.directories.begin(), m_tree.directories.end(), key, keyLess);
            file.dirIndex = static_cast<std::uint32_t>(place - m_tree.directories.begin());
            m_tree.files.push_back(std::move(file));
        }
        std::sort(m_tree.files.begin(), m_tree.files.end(), [](const InputFile &a, const InputFile &b) {
            return vl::compareArchiveFiles(a.dirIndex, a.name.c_str(), b.dirIndex, b.name.c_str()) < 0;
        });
        return std::move(m_tree);
    }

  private:
    bool excluded(const std::string &path) const {
        return std::any_of(m_exclude.begin(), m_exclude.end(),
                           [&path](const std::string &pattern) { return matchesPath(pattern, path); });
    }

    V_File::Method methodFor(const std::string &path) const {
        V_File::Method method = m_defaultMethod;
        for (const MethodRule &rule : m_rules)
            if (matchesPath(rule.pattern, path))
                method = rule.method;
        return method;
    }

    void listDirectory(const Pending &directory, std::vector<Pending> &pending,
                       std::vector<std::pair<std::string, InputFile>> &files) {
        std::vector<fs::directory_entry> entries;
        for (const auto &entry : fs::directory_iterator(directory.path))
            if (!excluded(pathBelow(directory.key, textOf(entry.path().filename()))))
                entries.push_back(entry);
        const auto nameLess = [](const fs::directory_entry &a, const fs::directory_entry &b) {
            return vl::compareArchiveNames(textOf(a.path().filename()).c_str(),
                                           textOf(b.path().filename()).c_str()) < 0;
        };
        std::sort(entries.begin(), entries.end(), nameLess);
        const auto twins = std::adjacent_find(entries.begin(), entries.end(),
                                              [&](const auto &a, const auto &b) { return !nameLess(a, b); });
        if (twins != entries.end())
            refuse(std::max(twins[0].path(), twins[1].path()),
                   "differs only in case from '" +
                       textOf(std::min(twins[0].path(), twins[1].path()).filename()) + "'");
        for (const auto &entry : entries)
            add(directory, entry, pending, files);
    }

    void add(const Pending &directory, const fs::directory_entry &entry, std::vector<Pending> &pending,
             std::vector<std::pair<std::string, InputFile>> &files) {
        const std::string name = textOf(entry.path().filename());
        if (name.find('\\') != std::string::npos)
            refuse(entry.path(), "the name holds a backslash, which separates directories in an archive");
        const bool isDirectory = entry.is_directory() && !entry.is_symlink();
        if (!vl::isNameable(name, isDirectory))
            std::fprintf(stderr, "vl: %s: packed, but no name leads the library to it (%s)\n",
                         textOf(entry.path()).c_str(),
                         isDirectory && name.ends_with('.') ? "a directory that ends in a dot"
                                                            : "two dots remove what is before them");
        if (directory.key.size() + name.size() > vl::platform::maxPath - 1)
            refuse(entry.path(), "the path inside the archive exceeds " +
                                     std::to_string(vl::platform::maxPath - 1) + " characters");
        if (isDirectory) {
            pending.push_back({entry.path(), directory.key + name + "\\"});
        } else if (entry.is_regular_file()) {
            std::error_code missing;
            if (fs::equivalent(entry.path(), m_output, missing))
                return;
            const std::uintmax_t size = entry.file_size();
            if (size > 0xFFFFFFFFu)
                refuse(entry.path(), "exceeds 4294967295 bytes");
            files.emplace_back(directory.key,
                               InputFile{entry.path(), name, 0, static_cast<std::uint32_t>(size),
                                         methodFor(pathBelow(directory.key, name)), lastWrite(entry.path())});
        } else {
            std::fprintf(stderr, "vl: %s: left out (%s)\n", textOf(entry.path()).c_str(),
                         entry.is_symlink() ? "a link to a directory, or to nothing" : "not a regular file");
        }
    }

    const std::vector<std::string> &m_exclude;
    V_File::Method m_defaultMethod;
    const std::vector<MethodRule> &m_rules;
    const fs::path &m_output;
    InputTree m_tree;
};

} // namespace

std::string InputTree::describe(const InputFile &file) const {
    return pathBelow(directories[file.dirIndex], file.name);
}

InputTree listInput(const fs::path &root, const std::vector<std::string> &exclude,
                    V_File::Method defaultMethod, const std::vector<MethodRule> &rules,
                    const fs::path &output) {
    if (!fs::is_directory(root))
        throw std::runtime_error(textOf(root) + ": not a directory");
    return Lister(exclude, defaultMethod, rules, output).list(root);
}

bool matchesPath(const std::string &pattern, const std::string &path) {
    const bool wholePath = pattern.find('/') != std::string::npos;
    const std::string subject = wholePath ? path : path.substr(path.rfind('/') + 1);
    return vl::matchesWildcards(pattern.c_str(), subject.c_str());
}
