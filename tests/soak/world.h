// What the soak reads: files on disk and in archives of every storage method, and the knowledge of what must
// be found under each name while places come and go.
#pragma once

#include "tests/support/archive_builder.h"
#include "tests/support/plain_wildcards.h"
#include "tests/support/temporary_directory.h"

#include <array>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

using Random = std::mt19937;

/// From 0 to limit - 1.
inline unsigned int draw(Random &random, std::size_t limit) {
    return static_cast<unsigned int>(random() % limit);
}

inline std::string someBytes(Random &random, std::size_t size) {
    std::string bytes(size, '\0');
    for (char &byte : bytes)
        byte = static_cast<char>(draw(random, 4) == 0 ? random() : 'a');
    return bytes;
}

class World {
  public:
    /// In the order in which they answer for a name.
    enum PlaceName { Disk, Priority, First, Second, Secondary, PlaceCount };

    static constexpr const char *archiveNames[] = {"", "PRIORITY.BIN", "A.VAS", "B.VAS", "SECOND/C.VAS"};

    struct Place {
        bool active;
        std::map<std::string, std::string> files; ///< content by path, like `DIR1\FILE7.DAT`
    };

    explicit World(Random random) {
        std::filesystem::create_directory(root() / "SECOND");
        std::array<ArchiveBuilder, PlaceCount> archives;
        for (int directory = 0; directory < 3; ++directory) {
            std::filesystem::create_directory(root() / ("DIR" + std::to_string(directory)));
            for (int number = 0; number < 10; ++number) {
                names.push_back("DIR" + std::to_string(directory) + "\\FILE" + std::to_string(number) +
                                ".DAT");
                for (unsigned int place = 0; place < PlaceCount; ++place) {
                    if (draw(random, 3) != 0)
                        continue;
                    const std::size_t largest = number == 0 ? 400'000 : 20'000;
                    const std::string content = someBytes(random, 1 + draw(random, largest));
                    places[place].files[names.back()] = content;
                    if (place == Disk)
                        write(names.back(), content);
                    else
                        archives[place].add('\\' + names.back(), content, 1 + draw(random, 3));
                }
            }
        }
        write("LOOSE.TXT", values);
        archives[First].add("\\PACKED.TXT", values, scrambled);
        for (unsigned int place = Priority; place < PlaceCount; ++place)
            archives[place].write(root() / archiveNames[place]);
        const std::string bytes = archives[First].bytes();
        write("CUT.BIN", bytes.substr(0, 60));
        write("DAMAGED.BIN", someBytes(random, 100) + bytes.substr(100));
    }

    /// What a script finds under LOOSE.TXT, and under PACKED.TXT while archives are active.
    static constexpr const char *values = "#define MAXIMUM 250\n#define LABEL \"Big Block\"\n";

    /// What is found under a name now; null for nothing.
    const std::string *find(const std::string &name) const {
        for (const Place &place : places)
            if (place.active)
                if (const auto file = place.files.find(name); file != place.files.end())
                    return &file->second;
        return nullptr;
    }

    /// What a search finds, sorted: each name as often as there are places that hold it.
    std::vector<std::string> search(const std::string &directory, const std::string &pattern) const {
        std::vector<std::string> found;
        for (const Place &place : places)
            if (place.active)
                for (const auto &file : place.files)
                    if (file.first.compare(0, directory.size(), directory) == 0 &&
                        matchesPlainly(pattern, file.first.substr(directory.size())))
                        found.push_back(file.first.substr(directory.size()));
        std::sort(found.begin(), found.end());
        return found;
    }

    /// Takes what the soak has written from the disk again.
    void removeStored() {
        auto &files = places[Disk].files;
        for (auto file = files.begin(); file != files.end();)
            if (file->first.find("STORED") != std::string::npos) {
                std::filesystem::remove(diskPath(file->first));
                file = files.erase(file);
            } else {
                ++file;
            }
    }

    std::filesystem::path root() const { return m_directory.path(); }
    std::filesystem::path diskPath(std::string name) const {
        std::replace(name.begin(), name.end(), '\\', '/');
        return root() / name;
    }
    std::string engineRoot() const { return m_directory.enginePath(); }

    std::vector<std::string> names;
    std::array<Place, PlaceCount> places{};

  private:
    static constexpr std::uint32_t scrambled = 2;

    void write(const std::string &name, const std::string &content) const {
        std::ofstream(diskPath(name), std::ios::binary) << content;
    }

    TemporaryDirectory m_directory;
};
