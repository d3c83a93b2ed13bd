// Writing and reading piece by piece, and operations on names: beside strings that do the same, and under
// failures of the disk.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/program.h"
#include "tests/support/refusing_disk.h"

#include <chrono>
#include <cstdlib>
#include <optional>
#include <thread>

namespace {

namespace fs = std::filesystem;
using Writing = LibraryTest;

/// Whether a message tells a failure with this reason, which each system words in its own way.
testing::AssertionResult tells(const std::string &message, const std::string &failure,
                               [[maybe_unused]] const std::string &reason) {
#if defined(_WIN32)
    const bool told = message.starts_with(failure) && message.size() > failure.size();
#else
    const bool told = message == failure + reason;
#endif
    return (told ? testing::AssertionSuccess() : testing::AssertionFailure()) << message;
}

std::size_t filesIn(const fs::path &directory) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

TEST_F(Writing, WritesWhatAStringHolds) {
    std::mt19937 random(21);
    const std::string data = pattern(200'000);
    const V_FileWriter::Mode modes[] = {V_FileWriter::CREATE, V_FileWriter::APPEND, V_FileWriter::UPDATE,
                                        V_FileWriter::REPLACE};
    std::string content; // of the file
    writeFile(root() / "Dir" / "file", content);
    for (int round = 0; round < 60; ++round) {
        const V_FileWriter::Mode mode = modes[random() % 4];
        V_FileWriter writer("dir\\FILE", mode);
        std::string expected = mode == V_FileWriter::CREATE || mode == V_FileWriter::REPLACE ? "" : content;
        std::size_t position = mode == V_FileWriter::APPEND ? expected.size() : 0;
        for (auto operations = random() % 200; operations > 0; --operations) {
            const auto kind = random() % 32;
            if (kind == 0) {
                position = random() % (expected.size() + 1000);
                writer.seek(static_cast<unsigned int>(position));
            } else if (kind == 1) {
                expected.resize(random() % (expected.size() + 1000));
                writer.truncate(static_cast<unsigned int>(expected.size()));
            } else if (kind == 2) {
                writer.flush();
            } else {
                const std::size_t size = kind == 3 ? random() % data.size() : random() % 300;
                if (position + size > expected.size() && size != 0)
                    expected.resize(position + size);
                expected.replace(position, size, data, 0, size);
                writer.write(data.data(), static_cast<unsigned int>(size));
                position += size;
            }
            ASSERT_EQ(writer.getPosition(), position);
            ASSERT_EQ(writer.getSize(), expected.size());
        }
        const bool replaces = mode == V_FileWriter::REPLACE;
        const auto end = random() % 3;
        if (end == 0)
            writer.close();
        else if (end == 1)
            writer.commit();
        if (!replaces || end == 1)
            content = expected;
        if (end == 2)
            continue; // the destructor
        ASSERT_EQ(readFile(root() / "Dir" / "file"), content);
        ASSERT_EQ(filesIn(root() / "Dir"), 1u);
    }
}

TEST_F(Writing, ReadsEveryKindOfFileAlike) {
    const std::string content = pattern(300'000);
    ArchiveBuilder()
        .add("\\1", content, 1)
        .add("\\2", content, 2)
        .add("\\3", content, 3)
        .write(root() / "a.vas");
    writeFile(root() / "0", content);
    File->setFileSystemRoot(engineRoot().c_str());
    std::mt19937 random(22);
    for (const char *name : {"0", "1", "2", "3"}) {
        V_FileReader reader(name);
        File->enablePriorityArchive("a.vas"); // the archive may go
        File->disablePriorityArchive();
        EXPECT_STREQ(reader.getName(), name);
        EXPECT_EQ(reader.getSize(), content.size());
        std::size_t position = 0;
        std::string out(content.size(), ' ');
        for (int operation = 0; operation < 2000; ++operation) {
            if (random() % 8 == 0) {
                position = random() % (content.size() + 100);
                reader.seek(static_cast<unsigned int>(position));
                position = std::min(position, content.size());
            } else {
                const std::size_t wanted = random() % 50 == 0 ? random() % content.size() : random() % 5000;
                const std::size_t size = std::min(wanted, content.size() - position);
                ASSERT_EQ(reader.read(out.data(), static_cast<unsigned int>(wanted)), size);
                ASSERT_EQ(content.compare(position, size, out, 0, size), 0) << name << " at " << position;
                position += size;
            }
            ASSERT_EQ(reader.getPosition(), position);
            ASSERT_EQ(reader.isEnd(), position == content.size());
        }
        reader.seek(0xFFFFFFFF);
        EXPECT_EQ(reader.read(nullptr, 0), 0u);
    }
    EXPECT_THROW(V_FileReader("none"), V_FileException_FileNotFound *);
    V_FileReader cut("0");
    fs::resize_file(root() / "0", 1000);
    char bytes[5000];
    EXPECT_THROW(cut.read(bytes, sizeof bytes), V_FileException_UnableToReadData *);
    EXPECT_EQ(cut.getPosition(), 0u);
}

TEST_F(Writing, TellsWhenTheDiskIsFull) {
    if (!FullDisk::isPossible)
        GTEST_SKIP();
    const std::string large = pattern(150'000);
    const auto size = static_cast<unsigned int>(large.size());
    V_FileWriter writer("full");
    {
        const FullDisk disk(100'000);
        for (unsigned int i = 0; i < 120; ++i) // of which the buffer still holds the last
            writer.write(large.data() + 1000 * i, 1000);
        EXPECT_EQ(messageOf<V_FileException_OperationFailed>([&] { writer.flush(); }),
                  "Unable to write \"full\": File too large");
        EXPECT_EQ(writer.getPosition(), 120'000u);
    }
    writer.close(); // what waited is written now that there is room
    EXPECT_EQ(readFile(root() / "full"), large.substr(0, 120'000));
    EXPECT_EQ(messageOf<V_FileException_OperationFailed>([&] { writer.write("x", 1); }),
              "Unable to write \"full\": the file is closed");

    File->saveAtomically("safe", "old", 3);
    {
        const FullDisk disk(100'000);
        V_FileWriter atClose("small");
        atClose.write(large.data(), 60'000);
        atClose.seek(90'000);
        atClose.write(large.data(), 30'000);
        EXPECT_THROW(atClose.close(), V_FileException_OperationFailed *);
        EXPECT_EQ(messageOf<V_FileException_OperationFailed>(
                      [&] { File->saveAtomically("safe", large.data(), size); }),
                  "Unable to write \"safe\": File too large");
        EXPECT_THROW(File->copy("full", "safe"), V_FileException_OperationFailed *);
    }
    for (unsigned int room = 0; room < 100'000; room += 1000) {
        const FullDisk disk(room);
        EXPECT_THROW(File->saveAtomically("safe", large.data(), size), V_FileException_OperationFailed *);
        ASSERT_EQ(readFile(root() / "safe"), "old");
    }
    EXPECT_EQ(filesIn(root()), 3u);
}

TEST_F(Writing, TellsWhyANameIsRefused) {
    File->save("safe", "1", 1);
    fs::create_directory(root() / "dir");
    const struct {
        const char *name;
        V_FileWriter::Mode mode;
        const char *reason;
    } refusals[] = {{"none", V_FileWriter::UPDATE, "No such file or directory"},
                    {"no\\such\\dir\\file", V_FileWriter::CREATE, "No such file or directory"},
                    {"safe\\file", V_FileWriter::CREATE, "Not a directory"},
                    {"dir", V_FileWriter::APPEND, "Is a directory"},
                    {"dir", V_FileWriter::REPLACE, "Is a directory"}};
    for (const auto &refusal : refusals)
        EXPECT_TRUE(tells(
            messageOf<V_FileException_OperationFailed>([&] { V_FileWriter(refusal.name, refusal.mode); }),
            std::string("Unable to open \"") + refusal.name + "\": ", refusal.reason));
}

TEST_F(Writing, AKilledProcessLeavesTheOldFileOrTheNewOne) {
    const char *const wanted = std::getenv("VL_KILLS");
    const std::string contents[] = {pattern(20'000), pattern(70'000), pattern(1)};
    File->saveAtomically("saved", contents[0].data(), 20'000);
    std::mt19937 random(23);
    for (int kill = wanted ? std::atoi(wanted) : 10; kill > 0; --kill) {
        fs::remove(root() / "begun");
        std::optional<RunningProgram> child(
            std::in_place, ownProgram(),
            "--gtest_also_run_disabled_tests --gtest_filter=SavingProcess.DISABLED_*", root());
        while (!fs::exists(root() / "begun"))
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
        child.reset();
        const std::string found = readFile(root() / "saved");
        ASSERT_TRUE(found == contents[0] || found == contents[1] || found == contents[2]) << found.size();
    }
    // What killed processes left does no harm to those behind them.
    File->saveAtomically("saved", "done", 4);
    EXPECT_EQ(readFile(root() / "saved"), "done");
}

/// Run by the test above, until it is killed.
TEST(SavingProcess, DISABLED_NeverEnds) {
    V_StartSettings settings;
    const std::string root = enginePath(fs::current_path());
    settings.root = root.c_str();
    settings.noLog = settings.leaveDirectoryAlone = true;
    V_VantorInit::settings(settings);
    const V_VantorInit library;
    const std::string contents[] = {pattern(20'000), pattern(70'000), pattern(1)};
    std::ofstream("begun").close();
    for (unsigned int i = 0;; ++i) {
        const std::string &content = contents[i % 3];
        File->saveAtomically("saved", content.data(), static_cast<unsigned int>(content.size()));
    }
}

TEST_F(Writing, TellsOfMissingRights) {
    File->saveAtomically("safe", "old", 3);
    {
        const MissingRights missing(root() / "safe");
        for (int i = 0; i < 100; ++i)
            EXPECT_TRUE(tells(
                messageOf<V_FileException_OperationFailed>([] { File->saveAtomically("safe", "new", 3); }),
                "Unable to open \"safe\": ", "Permission denied"));
    }
    EXPECT_EQ(readFile(root() / "safe"), "old");
    EXPECT_EQ(filesIn(root()), 1u);
}

TEST_F(Writing, ReplacesWhatANameLeadsToAndKeepsItsRights) {
    writeFile(root() / "other" / "File.txt", "old");
    fs::permissions(root() / "other" / "File.txt", fs::perms(0640));
    const fs::perms rights = fs::status(root() / "other" / "File.txt").permissions();
    if (canLink(root() / "other" / "File.txt", root() / "Link")) {
        File->saveAtomically("LINK", "new", 3);
        EXPECT_TRUE(fs::is_symlink(root() / "Link"));
        EXPECT_EQ(readFile(root() / "other" / "File.txt"), "new");
        EXPECT_EQ(fs::status(root() / "other" / "File.txt").permissions(), rights);
    }
    File->saveAtomically("OTHER\\FILE.TXT", "newer", 5);
    EXPECT_EQ(readFile(root() / "other" / "File.txt"), "newer");
    EXPECT_EQ(fs::status(root() / "other" / "File.txt").permissions(), rights);
    EXPECT_EQ(filesIn(root() / "other"), 1u);
}

TEST_F(Writing, ChangesNamesAndDirectories) {
    ArchiveBuilder().add("\\archived", pattern(100'000), 1).write(root() / "a.vas");
    File->setFileSystemRoot(engineRoot().c_str());
    File->createDirectory("one\\Two\\three");
    File->createDirectory("ONE\\two");
    EXPECT_TRUE(fs::is_directory(root() / "one" / "Two" / "three"));
    EXPECT_EQ(filesIn(root() / "one"), 1u);
    File->copy("archived", "one\\two\\copy");
    EXPECT_EQ(readFile(root() / "one" / "Two" / "copy"), pattern(100'000));
    File->rename("one\\two\\COPY", "one\\TWO\\Copy"); // another spelling of itself
    EXPECT_TRUE(fs::exists(root() / "one" / "Two" / "Copy"));
    writeFile(root() / "Target", "old");
    File->rename("one\\two\\copy", "TARGET");
    EXPECT_EQ(readFile(root() / "Target"), pattern(100'000));
    EXPECT_FALSE(fs::exists(root() / "one" / "Two" / "Copy"));
    File->rename("one\\two\\three", "moved");
    EXPECT_TRUE(fs::is_directory(root() / "moved"));
    File->removeDirectory("MOVED");
    EXPECT_FALSE(fs::exists(root() / "moved"));

    const auto reason = [](auto action) { return messageOf<V_FileException_OperationFailed>(action); };
    EXPECT_TRUE(tells(reason([] { File->removeDirectory("one"); }),
                      "Unable to remove directory \"one\": ", "Directory not empty"));
    EXPECT_TRUE(tells(reason([] { File->removeDirectory("target"); }),
                      "Unable to remove directory \"target\": ", "Not a directory"));
    EXPECT_TRUE(tells(reason([] { File->createDirectory("target\\x"); }),
                      "Unable to create directory \"target\\x\": ", "Not a directory"));
    EXPECT_TRUE(tells(reason([] { File->rename("archived", "x"); }), // only what is on disk can be renamed
                      "Unable to rename \"archived\": ", "No such file or directory"));
    EXPECT_TRUE(tells(reason([] { File->rename("target", "one"); }),
                      "Unable to rename \"target\": ", "Is a directory"));
    EXPECT_THROW(File->copy("none", "x"), V_FileException_FileNotFound *);
    EXPECT_FALSE(fs::exists(root() / "x"));

    TemporaryDirectory home;
    setEnvironment(userDataVariable, home.path().string());
    V_String user;
    File->getUserDirectory("maker", "My Game", user);
    EXPECT_EQ(user.c_str(), home.enginePath() + "\\maker\\My Game");
    EXPECT_TRUE(fs::is_directory(home.path() / "maker" / "My Game"));
    for (const char *odd : {"", "..", "a\\b", "a/b", "C:x"})
        EXPECT_THROW(File->getUserDirectory("maker", odd, user), V_FileException_OperationFailed *) << odd;
#if !defined(_WIN32)
    setEnvironment(userDataVariable, "");
    setEnvironment("HOME", home.path().string());
    File->getUserDirectory("maker", "game", user);
    EXPECT_TRUE(fs::is_directory(home.path() / ".local" / "share" / "maker" / "game"));
#endif

    // None leads out of the directory that is written to.
    if (!canLink(root(), home.path() / "maker" / "link"))
        return;
    File->setWriteDirectory((home.enginePath() + "\\maker").c_str());
    for (void (*escape)() :
         {+[] { File->createDirectory("link\\new"); }, +[] { File->removeDirectory("link\\one"); },
          +[] { File->rename("link\\target", "here"); }, +[] { File->copy("archived", "link\\x"); },
          +[] { File->saveAtomically("link\\x", "1", 1); }, +[] { V_FileWriter("link\\target"); }})
        EXPECT_THROW(escape(), V_FileException_OutsideWriteDirectory *);
    EXPECT_EQ(readFile(root() / "Target"), pattern(100'000));
}

} // namespace
