// The library in long use: one process that starts it, works with it at random and shuts it down, over and
// over. Whatever is read is compared with what is known to be there, the counters of allocations and releases
// must agree after every shutdown, and resident memory must not grow once everything has been in use.
//
//     soak [--seconds N] [--seed N] [--round N] [--margin MIB]
//
// A round depends on the seed and its number alone: a failure is looked at again with --seed and --round.

#include "tests/soak/expect.h"
#include "tests/soak/world.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/memory_file_bytes.h"
#include "vl/vl.h"

#include <CLI/CLI.hpp>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <sstream>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

int routinesRun;

/// One start-up, what is done with the library, and its shutdown.
class Round {
  public:
    Round(World &world, Random random) : m_world(world), m_random(random) {}

    void run() {
        std::filesystem::current_path(m_world.root());
        V_Memory::resetNewDeleteCounts();
        if (roll(4) == 0)
            failToStart();
        start();
        for (unsigned int i = 10 + roll(40); i > 0; --i) {
            static constexpr void (Round::*actions[])() = {
                &Round::read,      &Round::read,   &Round::read,       &Round::store,   &Round::search,
                &Round::rearrange, &Round::data,   &Round::containers, &Round::scripts, &Round::strings,
                &Round::frames,    &Round::clocks, &Round::errors};
            (this->*actions[roll(std::size(actions))])();
        }
        stop();
    }

  private:
    unsigned int roll(std::size_t limit) { return draw(m_random, limit); }
    static bool archivesActive() { return File->getArchiveHandling() == V_File::AH_ARCHIVES; }

    /// Scripts and changes of the directory go by whole paths.
    static bool namesMayCarryDrives() { return File->getArchiveHandling() != V_File::AH_LOCAL_ROOT; }

    // ---- Start-up and shutdown ---------------------------------------------------------------------------

    /// One of the allocations of start-up fails, if it makes so many.
    void failToStart() {
        bool failed = false;
        try {
            const FailingAllocation fault(static_cast<int>(roll(15)));
            const V_VantorInit library;
        } catch (V_MemoryException_Allocation *) {
            failed = true;
        }
        require(!Sys && !File && V_VantorInit::count == 0, "no trace of a start that failed");
        const int left = V_Memory::getNewCount() - V_Memory::getDeleteCount();
        require(left == 0 || (failed && left == 1), "balance after a start that failed");
        V_Memory::resetNewDeleteCounts(); // the failed allocation itself is counted and never released
    }

    void start() {
        for (unsigned int holders = 1 + roll(3); holders > 0; --holders)
            m_library.push_back(std::make_unique<V_VantorInit>());
        m_bLogs = roll(4) == 0;
        if (m_bLogs)
            Sys->setVerboseCallback([](const char *) {});
        else
            Sys->ceaseVerbose(1);
        Sys->add([] { ++routinesRun; }, "soak");
        Sys->setAssertionCreatesException(true);
        File->setSecondaryArchiveSearchPath("");
        File->setFileSystemRoot(m_world.engineRoot().c_str());
        File->setArchiveHandling(static_cast<int>(roll(3)));
        updatePlaces();
    }

    void stop() {
        if (m_bLogs) {
            Sys->dump();
            Sys->ceaseVerbose(1);
        }
        const int routines = routinesRun;
        while (!m_library.empty())
            m_library.pop_back();
        require(!Sys && !File && routinesRun == routines + 1, "the routines of shutdown");
        require(V_Memory::getNewCount() == V_Memory::getDeleteCount(), "balance of allocations and releases");
        m_world.removeStored();
    }

    // ---- The file system ---------------------------------------------------------------------------------

    /// Archives come, go, and are parked.
    void rearrange() {
        const auto priority = [this](const char *name) {
            m_bPriority = false;
            File->enablePriorityArchive(name);
            m_bPriority = true;
        };
        switch (roll(7)) {
        case 0:
            File->setArchiveHandling(V_File::AH_ARCHIVES); // parked archives would stay beside the new ones
            File->setFileSystemRoot(m_world.engineRoot().c_str());
            m_bPriority = false;
            break;
        case 1:
            File->setArchiveHandling(V_File::AH_ARCHIVES);
            m_bPriority = false;
            m_bSecondary = roll(2) == 0;
            require(File->setSecondaryArchiveSearchPath(m_bSecondary ? "SECOND" : "") == m_bSecondary,
                    "the secondary directory");
            break;
        case 2:
            priority(World::archiveNames[World::Priority]);
            break;
        case 3:
            File->disablePriorityArchive();
            m_bPriority = false;
            break;
        case 4:
            expectFailure<V_FileException>([&] { priority(roll(2) ? "CUT.BIN" : "DAMAGED.BIN"); },
                                           "a damaged archive is refused");
            break;
        default:
            File->setArchiveHandling(static_cast<int>(roll(3)));
        }
        updatePlaces();
    }

    void updatePlaces() {
        const bool archives = archivesActive();
        for (World::Place &place : m_world.places)
            place.active = archives;
        m_world.places[World::Disk].active = true;
        m_world.places[World::Priority].active &= m_bPriority;
        m_world.places[World::Secondary].active &= m_bSecondary;
    }

    /// One file, by one of the ways in which files are read.
    void read() {
        const std::string &path = m_world.names[roll(m_world.names.size())];
        const std::string *const content = m_world.find(path);
        std::string name = path;
        for (char &c : name)
            c = c == '\\' && roll(2) ? '/' : roll(2) ? static_cast<char>(std::tolower(c)) : c;
        V_FileDirectoryChange change;
        if (roll(4) == 0 && namesMayCarryDrives()) {
            change.construct(V_String(name.substr(0, 4).c_str()));
            name.erase(0, 5);
        }
        require((File->exists(name.c_str()) != 0) == (content != nullptr), "whether a file is there");
        if (!content)
            return expectFailure<V_FileException_FileNotFound>([&] { File->load(name.c_str(), 10); },
                                                               "a missing file is not found");
        const auto size = static_cast<unsigned int>(content->size());
        require(File->size(name.c_str()) == size, "a file's size");
        const bool stored = File->getMethod(name.c_str()) == V_File::METHOD_STORED;
        const int bufferSize = static_cast<int>(roll(10'000));
        switch (roll(5)) {
        case 0: {
            const unsigned int wanted = roll(2) ? size : 1 + roll(size);
            char *const block = File->load(name.c_str(), wanted);
            require(content->compare(0, wanted, block, wanted) == 0, "what is loaded");
            File->free(block);
            break;
        }
        case 1: {
            std::string buffer(size, '\0');
            File->load(buffer.data(), name.c_str(), V_File::WHOLE_FILE);
            require(buffer == *content, "what is loaded into a buffer");
            break;
        }
        case 2: {
            V_MemoryFile file(name.c_str(), roll(2) ? V_MemoryFile::AM_STREAM : V_MemoryFile::AM_MEMORY);
            readInPieces(*content, [&](char *out, unsigned int n) {
                n = std::min(n, file.getSize() - file.getPosition());
                file.read(out, static_cast<int>(n));
                return n;
            });
            break;
        }
        case 3:
            if (!stored)
                return expectFailure<V_FileException_FileNotAStream>(
                    [&] { V_UnbufferedFileStream(name.c_str(), 0); }, "a compressed file is no stream");
            readStream(V_UnbufferedFileStream(name.c_str(), bufferSize), *content);
            break;
        default:
            V_FileStream stream(name.c_str(), bufferSize);
            if (stored) {
                const unsigned int offset = roll(size), length = roll(size);
                readStream(V_FileStream(stream, static_cast<int>(offset), static_cast<int>(length)),
                           content->substr(offset, length));
            }
            readStream(std::move(stream), *content);
        }
    }

    void readStream(V_FileStream &&stream, const std::string &expected) {
        readInPieces(expected, [&](char *out, unsigned int n) { return stream.read(out, n); });
    }

    template <class Read>
    void readInPieces(const std::string &expected, Read read) {
        std::string text(expected.size() + 1, '\0');
        unsigned int done = 0;
        for (unsigned int n = 1; n != 0; done += n)
            n = read(&text[done], 1 + roll(text.size() - done));
        require(done == expected.size() && expected.compare(0, done, text, 0, done) == 0,
                "what is read in pieces");
    }

    /// Files that exist on disk alone are written, continued and deleted.
    void store() {
        const std::string path = "DIR1\\STORED" + std::to_string(roll(5)) + ".TXT";
        auto &files = m_world.places[World::Disk].files;
        const bool there = files.count(path) != 0, mayReplace = roll(2) == 0;
        const std::string bytes = someBytes(m_random, roll(3000));
        const auto size = static_cast<unsigned int>(bytes.size());
        File->setOverride(mayReplace);
        switch (roll(3)) {
        case 0:
            require(File->save(path.c_str(), bytes.data(), size) == (!there || mayReplace), "saving");
            if (!there || mayReplace)
                files[path] = bytes;
            break;
        case 1:
            require(File->append(path.c_str(), bytes.data(), size) == 1, "appending");
            files[path] += bytes;
            break;
        default:
            require(File->del(path.c_str()) == there, "deleting");
            files.erase(path);
        }
        File->setOverride(1);
        if (const std::string *const content = m_world.find(path))
            readStream(V_FileStream(path.c_str(), 0), *content);
    }

    void search() {
        static constexpr const char *patterns[] = {"*.DAT", "*.TXT", "file?.d*", "*E0.*"};
        const std::string directory = "DIR" + std::to_string(roll(3)) + '\\', pattern = patterns[roll(4)];
        std::vector<std::string> found;
        for (const char *name = File->findFirst((directory + pattern).c_str()); name;
             name = File->findNext()) {
            found.emplace_back(name);
            if (roll(200) == 0)
                return; // a search that is left unfinished
        }
        std::sort(found.begin(), found.end());
        require(found == m_world.search(directory, pattern), "what a search finds");
    }

    // ---- Data and settings -------------------------------------------------------------------------------

    /// A tree of chunks goes to memory and to disk and comes back by every road.
    void data() {
        const Random seed(m_random());
        const auto write = [&seed](V_MemoryFile &file) {
            Random random = seed;
            visitTree(file, true, random);
        };
        const auto check = [&seed](V_MemoryFile file) {
            Random random = seed;
            visitTree(file, false, random);
        };
        V_MemoryFile out(1 + roll(10'000)),
            through(1 + roll(10'000), m_world.diskPath("THROUGH.BIN").c_str());
        write(through);
        through.destruct();
        out << 1; // an empty file could not be loaded
        write(out);
        require(out.save("SAVED.BIN") == 1, "saving a memory file");
        const std::string bytes = bytesOf(out), rest = bytes.substr(2);
        check(over(rest));
        check(V_MemoryFile("THROUGH.BIN", V_MemoryFile::AM_STREAM));
        check(V_MemoryFile(V_FileStream("SAVED.BIN", 512), 2, -1));
        require(bytesOf(V_MemoryFile("SAVED.BIN", V_MemoryFile::AM_MEMORY)) == bytes, "a saved memory file");
        mayFail([&] { check(over(damaged(rest))); });
    }

    /// A byte changed, and perhaps the end cut off.
    std::string damaged(std::string bytes) {
        if (!bytes.empty())
            bytes[roll(bytes.size())] = static_cast<char>(m_random());
        return roll(3) == 0 ? bytes.substr(0, roll(bytes.size() + 1)) : bytes;
    }

    void containers() {
        const std::string bytes = someBytes(m_random, roll(5000));
        const auto size = static_cast<unsigned int>(bytes.size());
        using Block = std::unique_ptr<char, void (*)(char *)>;
        const auto hold = [](void *block) {
            return Block(static_cast<char *>(block), [](char *held) { File->free(held); });
        };
        const Block packed = hold(File->compress(bytes.data(), size));
        const Block hidden = hold(File->encrypt(bytes.data(), size));
        for (const Block &back : {hold(File->decompress(packed.get())), hold(File->decrypt(hidden.get()))})
            require(bytes.compare(0, size, back.get(), size) == 0, "what a container holds");
        require(File->CRC32(bytes.data(), size) == crcPlainly(bytes), "a checksum");
        if (size > 100) {
            packed.get()[12 + roll(50)] ^= static_cast<char>(1 + roll(255)); // behind the header
            mayFail([&] { hold(File->decompress(packed.get())); });
        }
    }

    void scripts() {
        if (!namesMayCarryDrives())
            return;
        const unsigned int wheels = roll(20);
        std::string text =
            archivesActive() && roll(2) ? "#include \"packed.txt\"\n" : "#include <Loose.txt>\n";
        text += "[Car] { [Engine] power = MAXIMUM; name = LABEL;\n";
        for (unsigned int i = 0; i < wheels; ++i)
            text += "[Wheel] pos = (" + std::to_string(i) + ", 1.5, 0); // a wheel\n";
        saveScript(text + '}');
        {
            V_Script script("SCRIPT.TXT");
            const V_ScriptLock car(&script, "car", 0);
            const V_Script::Blocks blocks[] = {{"engine", 1, 1}, {"wheel", 0, 20}, {}};
            script.blockCheck(blocks, false);
            int power = 0;
            char name[32] = "";
            const V_Script::Format name31 = {"%31s", V_Script::m_argsizes_string};
            const V_Script::Variables engine[] = {
                {"power", &power, nullptr, &V_Script::t_int}, {"name", name, nullptr, &name31}, {}};
            script.parse(engine, "engine", 0, true);
            require(power == 250 && std::strcmp(name, "Big Block") == 0, "settings");
            require(script.count("wheel") == wheels, "the number of blocks");
            for (unsigned int i = 0; i < wheels; ++i) {
                float position[3] = {};
                const V_Script::Variables wheel[] = {{"pos", position, "(9,9,9)", &V_Script::t_float3}, {}};
                script.parse(wheel, "wheel", i, false);
                require(position[0] == static_cast<float>(i) && position[1] == 1.5F, "a vector");
            }
            expectFailure<V_ScriptException>([&] { script.lock("trailer", 0); }, "a missing block");
        }
        saveScript(damaged(text + '}'));
        mayFail([] { V_Script script("SCRIPT.TXT"); });
        saveScript(roll(2) ? text : "[a] #include \"missing.txt\"");
        expectFailure<V_Exception>([] { V_Script script("SCRIPT.TXT"); }, "a broken script");
    }

    static void saveScript(const std::string &text) {
        require(File->save("SCRIPT.TXT", text.data(), static_cast<unsigned int>(text.size())) == 1, "saving");
    }

    void strings() {
        V_SharedStringPool pool(static_cast<int>(roll(50)));
        std::vector<std::string> known;
        for (unsigned int i = roll(500); i > 0; --i) {
            const std::string word = std::to_string(roll(200));
            const auto id = static_cast<std::size_t>(pool.getSharedString(V_String(word.c_str())).getID());
            if (id == known.size())
                known.push_back(word);
            require(id < known.size() && known[id] == word, "a shared string");
        }
        const V_SharedStringPool copy(pool);
        for (std::size_t id = 0; id < known.size(); ++id)
            require(known[id] == copy.getStringByID(static_cast<short>(id)), "a copied string");
    }

    // ---- The frame loop ----------------------------------------------------------------------------------

    void frames() {
        V_ProfileTrace trace;
        if (roll(3) == 0)
            trace.start();
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
        trace.stop();
        std::ostringstream out;
        V_writeProfileTable(out);
        trace.write(out);
        if (roll(4) == 0)
            V_Profile::reset();
    }

    void clocks() {
        V_Timer timer;
        V_Mutex mutex;
        int count = 0;
        const auto work = [&] {
            for (int i = 0; i < 100; ++i) {
                const V_MutexLock lock(&mutex), again(&mutex);
                ++count;
                V_STR("%d", count);
            }
        };
        std::thread other(work);
        work();
        other.join();
        require(count == 200, "mutual exclusion");
        timer.sample();
        timer.pause();
        const float age = timer.getAge();
        require(age >= 0 && timer.getAge() == age, "a paused timer");
    }

    void errors() {
        if (roll(2))
            return expectFailure<V_DebugException_Verify>([] { V_VERIFY(V_VantorInit::count == 0); },
                                                          "a check");
        const std::string tooLong(300, 'x');
        expectFailure<V_FileException_PathTooLong>([&] { File->exists(tooLong.c_str()); }, "a long path");
        const std::string before = File->getCurrentDirectory();
        expectFailure<V_FileException_DirectoryNotFound>([] { File->changeDirectory("NOWHERE"); },
                                                         "a missing directory");
        require(before == File->getCurrentDirectory(), "the directory after a failure");
    }

    World &m_world;
    Random m_random;
    std::vector<std::unique_ptr<V_VantorInit>> m_library;
    bool m_bLogs = false, m_bPriority = false, m_bSecondary = false;
};

/// In KiB, without what malloc keeps for later.
long residentMemory() {
    malloc_trim(0);
    long total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

} // namespace

// Every exception of the library is caught as a V_Exception *, which the check does not see of pointers.
int main(int count, char **arguments) { // NOLINT(bugprone-exception-escape)
    CLI::App app("Starts, uses and stops the library at random, over and over.", "soak");
    double seconds = 3600, margin = 1;
    unsigned int seed = std::random_device()(), onlyRound = 0, round = 0;
    app.add_option("--seconds", seconds, "how long, 3600 by default");
    app.add_option("--seed", seed, "of all random numbers; another one each time by default");
    app.add_option("--round", onlyRound, "only this round, counted from 1");
    app.add_option("--margin", margin, "MiB by which resident memory may grow after a tenth of the time");
    CLI11_PARSE(app, count, arguments);

    std::printf("seed %u\n", seed);
    std::fflush(stdout);
    const auto elapsed = [begin = Clock::now()] {
        return std::chrono::duration<double>(Clock::now() - begin).count();
    };
    try {
        World world{Random(seed)};
        long warm = 0;
        for (double nextReport = 60; onlyRound ? round < 1 : elapsed() < seconds;) {
            ++round;
            std::seed_seq ofRound{seed, onlyRound ? onlyRound : round};
            Round(world, Random(ofRound)).run();
            if (warm == 0 && elapsed() >= seconds / 10)
                warm = residentMemory();
            if (elapsed() >= nextReport) {
                std::fprintf(stderr, "%.0f s: %u rounds, %ld KiB resident\n", elapsed(), round,
                             residentMemory());
                nextReport += 60;
            }
        }
        const long end = residentMemory();
        std::printf(
            "%u rounds in %.0f s, counters balanced after each; resident memory %ld KiB after a tenth, %ld "
            "KiB at the end\n",
            round, elapsed(), warm, end);
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
