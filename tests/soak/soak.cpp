// The library in long use: one process that starts it, works with it at random and shuts it down, over and
// over. Whatever is read is compared with what is known to be there, the counters of allocations and releases
// must agree after every shutdown, and resident memory must not grow once everything has been in use.
//
//     soak [--seconds N] [--seed N] [--round N] [--margin MIB]
//
// A round depends on the seed and its number alone: a failure is looked at again with --seed and --round.

#include "tests/support/archive_builder.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/memory_file_bytes.h"
#include "tests/support/plain_wildcards.h"
#include "tests/support/random_tree.h"
#include "tests/support/temporary_directory.h"
#include "vl/vl.h"

#include <CLI/CLI.hpp>
#if defined(_WIN32)
#include <windows.h>
// The above comes first.
#include <psapi.h>
#else
#include <malloc.h>
#include <unistd.h>
#endif

#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <random>

namespace {

using Random = std::mt19937;

int routinesRun;

void require(bool holds, const std::string &what) {
    if (!holds)
        throw std::runtime_error(what);
}

/// Whether `action` throws, also by finding something else than it requires.
template <class Expected = V_Exception, class Action>
bool fails(Action action) {
    try {
        action();
    } catch (Expected *) {
        return true;
    } catch (const std::runtime_error &) {
        return true;
    }
    return false;
}

class Soak {
  public:
    /// Files on disk and in archives of every storage method, many under the same names.
    explicit Soak(unsigned int seed) : m_random(seed) {
        ArchiveBuilder archives[PlaceCount];
        for (unsigned int number = 0; number < 30; ++number) {
            const std::string directory = "DIR" + std::to_string(number % 3);
            const std::string name = directory + "\\FILE" + std::to_string(number);
            m_names.push_back(name);
            std::filesystem::create_directories(diskPath(directory));
            for (unsigned int place = 0; place < PlaceCount; ++place) {
                if (roll(3) != 0)
                    continue;
                const std::string content = someBytes(1 + roll(number < 3 ? 400'000 : 20'000));
                m_files[place][name] = content;
                if (place == Disk)
                    write(name, content);
                else
                    archives[place].add('\\' + name, content, 1 + roll(3));
            }
        }
        write("LOOSE.TXT", "#define MAXIMUM 250\n");
        archives[First].add("\\PACKED.TXT", "#define MAXIMUM 250\n").write(diskPath("A.VAS"));
        archives[Second].write(diskPath("B.VAS"));
        archives[Priority].write(diskPath("PRIORITY.BIN"));
        write("CUT.BIN", archives[First].bytes().substr(0, 60));
    }

    /// One start-up, what is done with the library, and its shutdown.
    void round(Random random) {
        m_random = random;
        std::filesystem::current_path(m_directory.path());
        V_Memory::resetNewDeleteCounts();
        if (roll(4) == 0)
            failToStart();
        const int routines = routinesRun;
        std::vector<std::unique_ptr<V_VantorInit>> library(1 + roll(3));
        for (auto &holder : library)
            holder = std::make_unique<V_VantorInit>();
        Sys->ceaseVerbose(1);
        Sys->add([] { ++routinesRun; }, "soak");
        m_bPriority = false;
        File->setFileSystemRoot(m_directory.enginePath().c_str());
        File->setArchiveHandling(static_cast<int>(roll(3)));
        for (unsigned int i = 10 + roll(40); i > 0; --i) {
            static constexpr void (Soak::*actions[])() = {&Soak::read,    &Soak::read,    &Soak::store,
                                                          &Soak::search,  &Soak::data,    &Soak::rearrange,
                                                          &Soak::scripts, &Soak::strings, &Soak::frames};
            (this->*actions[roll(std::size(actions))])();
        }
        library.clear();
        require(!Sys && !File && routinesRun == routines + 1, "the routines of shutdown");
        require(V_Memory::getNewCount() == V_Memory::getDeleteCount(), "balance of allocations and releases");
        for (unsigned int i = 0; i < 5; ++i)
            if (m_files[Disk].erase(storedName(i)) != 0)
                std::filesystem::remove(diskPath(storedName(i)));
    }

  private:
    /// In the order in which they answer for a name.
    enum Place { Disk, Priority, First, Second, PlaceCount };

    /// From 0 to limit - 1.
    unsigned int roll(std::size_t limit) { return static_cast<unsigned int>(m_random() % limit); }

    std::string someBytes(std::size_t size) {
        std::string bytes(size, '\0');
        for (char &byte : bytes)
            byte = static_cast<char>(roll(4) == 0 ? m_random() : 'a');
        return bytes;
    }

    std::filesystem::path diskPath(std::string name) const {
        std::replace(name.begin(), name.end(), '\\', '/');
        return m_directory.path() / name;
    }
    void write(const std::string &name, const std::string &content) const {
        std::ofstream(diskPath(name), std::ios::binary) << content;
    }
    static std::string storedName(unsigned int i) { return "DIR1\\STORED" + std::to_string(i) + ".TXT"; }

    bool isActive(unsigned int place) const {
        return place == Disk ||
               (File->getArchiveHandling() == V_File::AH_ARCHIVES && (place != Priority || m_bPriority));
    }

    /// One of the allocations of start-up fails, if it makes so many.
    void failToStart() {
        const bool failed = fails<V_MemoryException_Allocation>([this] {
            const FailingAllocation fault(static_cast<int>(roll(15)));
            const V_VantorInit library;
        });
        require(!Sys && !File && V_VantorInit::count == 0, "no trace of a start that failed");
        const int left = V_Memory::getNewCount() - V_Memory::getDeleteCount();
        require(left == 0 || (failed && left == 1), "balance after a start that failed");
        V_Memory::resetNewDeleteCounts(); // the failed allocation itself is counted and never released
    }

    /// Archives come, go, and are parked.
    void rearrange() {
        const unsigned int kind = roll(6);
        if (kind > 3) {
            File->setArchiveHandling(static_cast<int>(roll(3)));
            return;
        }
        m_bPriority = kind == 1;
        if (kind == 1) {
            File->enablePriorityArchive("PRIORITY.BIN");
        } else if (kind == 2) {
            File->disablePriorityArchive();
        } else if (kind == 3) {
            require(fails([] { File->enablePriorityArchive("CUT.BIN"); }), "refusal of a damaged archive");
        } else {
            File->setArchiveHandling(V_File::AH_ARCHIVES); // parked archives would stay beside the new ones
            File->setFileSystemRoot(m_directory.enginePath().c_str());
        }
    }

    /// What is found under a name now; null for nothing.
    const std::string *find(const std::string &name) const {
        for (unsigned int place = 0; place < PlaceCount; ++place)
            if (const auto file = m_files[place].find(name); isActive(place) && file != m_files[place].end())
                return &file->second;
        return nullptr;
    }

    /// One file, by one of the ways in which files are read.
    void read() {
        std::string name = m_names[roll(m_names.size())];
        const std::string *const content = find(name);
        for (char &c : name)
            c = c == '\\' && roll(2) ? '/' : roll(2) ? static_cast<char>(std::tolower(c)) : c;
        require((File->exists(name.c_str()) != 0) == (content != nullptr), "whether a file is there");
        if (!content)
            return require(fails<V_FileException_FileNotFound>([&] { File->load(name.c_str(), 10); }), name);
        const unsigned int size = File->size(name.c_str());
        require(size == content->size(), "a file's size");
        const bool stored = File->getMethod(name.c_str()) == V_File::METHOD_STORED;
        const unsigned int kind = roll(4), offset = roll(size), length = 1 + roll(size);
        const int bufferSize = static_cast<int>(roll(10'000));
        if (kind == 0) {
            char *const block = File->load(name.c_str(), length);
            require(content->compare(0, length, block, length) == 0, "what is loaded");
            File->free(block);
        } else if (kind == 1) {
            require(bytesOf(V_MemoryFile(name.c_str(), V_MemoryFile::AM_MEMORY)) == *content, "a copy");
        } else if (!stored && kind == 2) {
            require(fails<V_FileException_FileNotAStream>([&] { V_UnbufferedFileStream(name.c_str(), 0); }),
                    "a compressed file is no stream");
        } else if (kind == 2) {
            readStream(V_UnbufferedFileStream(name.c_str(), bufferSize), *content);
        } else {
            V_FileStream stream(name.c_str(), bufferSize);
            if (stored)
                readStream(V_FileStream(stream, static_cast<int>(offset), static_cast<int>(length)),
                           content->substr(offset, length));
            readStream(std::move(stream), *content);
        }
    }

    void readStream(V_FileStream &&stream, const std::string &expected) {
        std::string text(expected.size() + 1, '\0');
        unsigned int done = 0;
        for (unsigned int n = 1; n != 0; done += n)
            n = stream.read(&text[done], 1 + roll(text.size() - done));
        require(text.substr(0, done) == expected, "what is read in pieces");
    }

    /// Files that exist on disk alone are written, continued and deleted.
    void store() {
        const std::string name = storedName(roll(5)), bytes = someBytes(roll(3000));
        const auto size = static_cast<unsigned int>(bytes.size());
        if (roll(3) == 0) {
            require(File->del(name.c_str()) == (m_files[Disk].erase(name) != 0), "deleting");
        } else if (std::string &content = m_files[Disk][name]; roll(2) == 0) {
            require(File->save(name.c_str(), bytes.data(), size) == 1, "saving");
            content = bytes;
        } else {
            require(File->append(name.c_str(), bytes.data(), size) == 1, "appending");
            content += bytes;
        }
        if (const std::string *const content = find(name))
            readStream(V_FileStream(name.c_str(), 0), *content);
    }

    void search() {
        static constexpr const char *patterns[] = {"*", "*.TXT", "file?", "*5*"};
        const std::string directory = "DIR" + std::to_string(roll(3)) + '\\', pattern = patterns[roll(4)];
        std::vector<std::string> expected, found;
        for (unsigned int place = 0; place < PlaceCount; ++place)
            for (const auto &[path, content] : m_files[place])
                if (isActive(place) && matchesPlainly(directory + pattern, path))
                    expected.push_back(path.substr(directory.size()));
        const char *name = File->findFirst((directory + pattern).c_str());
        for (; name; name = File->findNext()) {
            found.emplace_back(name);
            if (roll(200) == 0)
                return; // a search that is left unfinished
        }
        std::sort(expected.begin(), expected.end());
        std::sort(found.begin(), found.end());
        require(found == expected, "what a search finds");
    }

    /// A tree of chunks goes to memory and to disk and comes back by every road.
    void data() {
        const auto visit = [seed = Random(m_random())](V_MemoryFile &&file, bool writing) {
            Random random = seed;
            visitTree(file, writing, random);
        };
        V_MemoryFile out(1 + roll(10'000));
        visit(static_cast<V_MemoryFile &&>(out), true);
        visit(V_MemoryFile(1 + roll(10'000), diskPath("THROUGH.BIN").string().c_str()), true);
        require(out.save("SAVED.BIN") == 1, "saving a memory file");
        visit(over(bytesOf(out)), false);
        visit(V_MemoryFile("SAVED.BIN", V_MemoryFile::AM_MEMORY), false);
        visit(V_MemoryFile("THROUGH.BIN", V_MemoryFile::AM_STREAM), false);
        fails([&] { visit(over(damaged(bytesOf(out))), false); });
    }

    /// A byte changed, and perhaps the end cut off.
    std::string damaged(std::string bytes) {
        bytes[roll(bytes.size())] = static_cast<char>(m_random());
        return roll(3) == 0 ? bytes.substr(0, roll(bytes.size() + 1)) : bytes;
    }

    void scripts() {
        if (File->getArchiveHandling() == V_File::AH_LOCAL_ROOT)
            return; // scripts go by whole paths, with a drive
        const unsigned int wheels = 1 + roll(20);
        std::string text = isActive(First) ? "#include \"packed.txt\"\n" : "#include <Loose.txt>\n";
        text += "[Car] { [Engine] power = MAXIMUM;\n";
        for (unsigned int i = 0; i < wheels; ++i)
            text += "[Wheel] pos = (" + std::to_string(i) + ", 1.5, 0); // a wheel\n";
        write("SCRIPT.TXT", text + '}');
        {
            V_Script script("SCRIPT.TXT");
            const V_ScriptLock car(&script, "car", 0);
            int power = 0;
            float position[3] = {};
            const V_Script::Variables engine[] = {{"power", &power, nullptr, &V_Script::t_int}, {}};
            const V_Script::Variables wheel[] = {{"pos", position, "(9,9,9)", &V_Script::t_float3}, {}};
            script.parse(engine, "engine", 0, false);
            script.parse(wheel, "wheel", wheels - 1, true);
            require(power == 250 && position[0] == static_cast<float>(wheels - 1), "settings");
            require(script.count("wheel") == wheels, "the number of blocks");
        }
        const auto load = [] { V_Script script("SCRIPT.TXT"); };
        write("SCRIPT.TXT", damaged(text + '}'));
        fails(load);
        write("SCRIPT.TXT", roll(2) ? text : "[a] #include \"missing.txt\"");
        require(fails(load), "a broken script");
    }

    void strings() {
        V_SharedStringPool pool(static_cast<int>(roll(50)));
        std::map<std::string, short> known;
        for (unsigned int i = roll(500); i > 0; --i) {
            const std::string word = std::to_string(roll(200));
            const short id = pool.getSharedString(V_String(word.c_str())).getID();
            require(known.try_emplace(word, id).first->second == id, "a shared string");
            require(word == pool.getStringByID(id), "its text");
        }
    }

    void frames() {
        for (int frame = 0; frame < 3; ++frame) {
            V_Profile::startFrame();
            const int sections = static_cast<int>(1 + roll(20));
            for (int i = 0; i < sections; ++i) {
                const V_Profile outer("soak"), inner(V_STR("soak %d", i));
                V_Memory::freeCounted(V_Memory::allocateCounted(100));
            }
            V_Profile::endFrame();
            require(V_Profile::request("soak")->callsThisFrame == sections, "the calls of a section");
        }
        if (roll(4) == 0)
            V_Profile::reset();
    }

    TemporaryDirectory m_directory;
    Random m_random;
    std::vector<std::string> m_names;
    std::map<std::string, std::string> m_files[PlaceCount]; ///< content by path, like `DIR1\FILE7`
    bool m_bPriority = false;
};

/// In KiB, without what the allocator keeps for later.
long residentMemory() {
#if defined(_WIN32)
    PROCESS_MEMORY_COUNTERS memory{};
    memory.cb = sizeof memory;
    HeapCompact(GetProcessHeap(), 0);
    K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    return static_cast<long>(memory.PagefileUsage / 1024);
#else
    malloc_trim(0);
    long total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
#endif
}

} // namespace

int main(int count, char **arguments) {
    CLI::App app("Starts, uses and stops the library at random, over and over.", "soak");
    double seconds = 3600, margin = 1;
    unsigned int seed = std::random_device()(), onlyRound = 0, round = 0;
    app.add_option("--seconds", seconds, "how long, 3600 by default");
    app.add_option("--seed", seed, "of all random numbers; another one each time by default");
    app.add_option("--round", onlyRound, "only this round, counted from 1");
    app.add_option("--margin", margin, "MiB by which memory may grow after a tenth of the time");
    CLI11_PARSE(app, count, arguments);

    std::fprintf(stderr, "seed %u\n", seed);
    const auto elapsed = [begin = std::chrono::steady_clock::now()] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    };
    try {
        Soak soak(seed);
        long warm = 0;
        while (onlyRound ? round < 1 : elapsed() < seconds) {
            ++round;
            std::seed_seq ofRound{seed, onlyRound ? onlyRound : round};
            soak.round(Random(ofRound));
            if (warm == 0 && elapsed() >= seconds / 10)
                warm = residentMemory();
        }
        const long end = residentMemory();
        std::printf("%u rounds; resident memory from %ld KiB to %ld KiB\n", round, warm, end);
        std::filesystem::current_path(std::filesystem::temp_directory_path());
        require(warm == 0 || static_cast<double>(end - warm) <= margin * 1024, "flat memory");
        return 0;
    } catch (V_Exception *exception) {
        std::fprintf(stderr, "soak: round %u: unexpected: %s\n", round, exception->getErrorMessage());
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "soak: round %u: failed: %s\n", round, exception.what());
    }
    return 1;
}
