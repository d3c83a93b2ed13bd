// What a program may say before the start: which directory and log are the library's, what becomes of bad
// archives, how messages write paths; and what a start that fails says.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/program.h"

#include "platform/native.h"

#include "vl/memoryfile.h"
#include "vl/script.h"

#include <set>

namespace fs = std::filesystem;

namespace {

/// A root, and a directory that is the process's and has to stay as empty as it is.
class StartSettings : public ::testing::Test {
  protected:
    StartSettings() { fs::current_path(m_elsewhere.path()); }
    ~StartSettings() override {
        m_pLibrary.reset();
        EXPECT_TRUE(fs::is_empty(m_elsewhere.path()));
        fs::current_path(fs::temp_directory_path());
        V_VantorInit::settings({});
    }

    void start(V_StartSettings settings) {
        m_pLibrary.reset();
        if (!settings.root)
            settings.root = m_strRoot.c_str();
        V_VantorInit::settings(settings);
        m_pLibrary = std::make_unique<V_VantorInit>();
    }

    fs::path root() const { return m_root.path(); }

    /// Every path below the root but the log of the default name, sorted, and whether that is there.
    std::string files() const {
        std::set<std::string> names;
        for (const auto &entry : fs::recursive_directory_iterator(root())) {
            const std::string name = fs::relative(entry, root()).generic_string();
            names.insert(name.starts_with("verbose") ? "(log)" : name);
        }
        std::string text;
        for (const std::string &name : names)
            text += name + ' ';
        return text;
    }

    const TemporaryDirectory m_root, m_elsewhere;
    /// A path below the root as the system writes it.
    std::string shown(const fs::path &path) const { return (root() / path).make_preferred().string(); }

    const std::string m_strRoot = m_root.path().string();
    std::unique_ptr<V_VantorInit> m_pLibrary;
};

V_StartSettings alone() {
    V_StartSettings settings;
    settings.leaveDirectoryAlone = true;
    return settings;
}

V_StartSettings quiet() {
    V_StartSettings settings = alone();
    settings.noLog = true;
    return settings;
}

TEST_F(StartSettings, LeftAloneItsDirectoryIsTheProgramsAlone) {
    ArchiveBuilder().add("\\in\\archive.txt", "archived").write(root() / "A.vas");
    start(alone());
    EXPECT_EQ(fs::current_path(), m_elsewhere.path());
    const TemporaryDirectory wandered;
    fs::current_path(wandered.path());

    EXPECT_EQ(File->save("new/a.txt", "[a] x = 1;    ", 14), 1);
    EXPECT_EQ(File->append("new/a.txt", "\n", 1), 1);
    EXPECT_EQ(File->append("log/appended.txt", "b", 1), 1);
    EXPECT_EQ(V_Script("new/a.txt").count("a"), 1u);
    EXPECT_EQ(V_FileStream("NEW/A.TXT", 0).size(), 15u);
    EXPECT_EQ(V_UnbufferedFileStream("new/a.txt", 0).size(), 15u);
    {
        V_MemoryFile through(64, "through.dat");
        through << 1;
        V_MemoryFile held;
        held << 2;
        EXPECT_EQ(held.save("new/held.dat"), 1);
    }
    int value = 0;
    V_MemoryFile through("through.dat", V_MemoryFile::AM_DEFAULT);
    through >> value;
    EXPECT_EQ(value, 1);
    EXPECT_STREQ(File->findFirst("new/*.txt"), "a.txt");
    EXPECT_EQ(File->where("in/archive.txt"), V_File::LOC_ARCHIVE);
    char archived[8];
    File->load(archived, "in/archive.txt", 8);
    EXPECT_EQ(std::string(archived, 8), "archived");
    File->changeDirectory("new");
    EXPECT_EQ(File->exists("a.txt"), 1);

    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    EXPECT_EQ(File->save("C:colon.txt", "c", 1), 1); // relative, on this drive
    const bool takesColons = vl::platform::canNameFile("1:");
    EXPECT_EQ(File->save("1:digit.txt", "1", 1), takesColons);
    EXPECT_EQ(File->save("Q:colon.txt", "d", 1), 0); // no such drive
    EXPECT_EQ(File->save("plain/p.txt", "p", 1), 1);
    File->setArchiveHandling(V_File::AH_ARCHIVES);

    Sys->verbose("here");
    File->setFileSystemRoot("new\\..\\NEW"); // relative to the root
    EXPECT_EQ(File->size("a.txt"), 15u);
    EXPECT_THROW(File->setFileSystemRoot("a.txt"), V_FileException_DirectoryNotFound *);
    File->setFileSystemRoot("..");
    EXPECT_EQ(File->exists("in/archive.txt"), 1);
    Sys->clearVerbose();

    EXPECT_EQ(fs::current_path(), wandered.path());
    EXPECT_TRUE(fs::is_empty(wandered.path()));
    EXPECT_EQ(
        files(),
        std::string("(log) ") + (takesColons ? "1:digit.txt " : "") +
            "A.vas colon.txt log log/appended.txt new new/a.txt new/held.dat plain plain/p.txt through.dat ");
    fs::current_path(m_elsewhere.path());
}

TEST_F(StartSettings, WithoutThemOnlyTheProgramsOwnPathsFollowItsDirectory) {
    V_StartSettings settings;
    start(settings);
    EXPECT_EQ(fs::current_path(), root());
    fs::current_path(m_elsewhere.path());
    EXPECT_EQ(File->save("new/a.txt", "a", 1), 1);
    EXPECT_EQ(File->append("other/a.txt", "a", 1), 1);
    EXPECT_EQ(files(), "new new/a.txt other other/a.txt ");
    { const V_MemoryFile through(64, "through.dat"); }
    EXPECT_TRUE(fs::remove(m_elsewhere.path() / "through.dat"));
    Sys->ceaseVerbose(1);
}

TEST_F(StartSettings, AreGivenBeforeTheStartAndCopiedAndStay) {
    {
        std::string root = m_strRoot + "/";
        V_StartSettings settings = quiet();
        settings.root = root.c_str();
        V_VantorInit::settings(settings);
        root.assign(root.size(), 'x');
    }
    for (int round = 0; round < 2; ++round) {
        m_pLibrary = std::make_unique<V_VantorInit>();
        EXPECT_EQ(File->save("mine.txt", "", 0), 1);
        EXPECT_EQ(messageOf<V_StartUpException_AlreadyStarted>([] { V_VantorInit::settings({}); }),
                  "The library has been started already");
        EXPECT_EQ(File->save("mine.txt", "", 0), 1);
        m_pLibrary.reset();
        EXPECT_EQ(files(), "mine.txt ");
        fs::remove(root() / "mine.txt");
    }
    V_StartSettings settings;
    const std::string tooLong(256, 'x');
    settings.root = tooLong.c_str();
    EXPECT_THROW(V_VantorInit::settings(settings), V_FileException_PathTooLong *);
    m_pLibrary = std::make_unique<V_VantorInit>(); // as before
    EXPECT_EQ(fs::current_path(), m_elsewhere.path());

    settings = quiet();
    settings.root = "/no/such place";
    EXPECT_EQ(messageOf<V_FileException_DirectoryNotFound>([&] { start(settings); }),
              "Directory /no/such place not found");
    EXPECT_EQ(V_VantorInit::count, 0);
}

TEST_F(StartSettings, TheLogLiesWhereTheySayOrNowhere) {
    V_StartSettings settings = quiet();
    start(settings);
    Sys->verbose("lost");
    Sys->clearVerbose();
    m_pLibrary.reset();
    EXPECT_EQ(files(), "");

    for (const bool leave : {false, true}) {
        settings.leaveDirectoryAlone = leave;
        settings.noLog = false;
        settings.logFile = "a/../b.log";
        start(settings);
        fs::current_path(m_elsewhere.path());
        File->setFileSystemRoot("/");
        fs::current_path(m_elsewhere.path());
        m_pLibrary.reset();
        EXPECT_EQ(files(), "b.log ");
        fs::remove(root() / "b.log");
    }
    const TemporaryDirectory logs;
    const std::string log = (logs.path() / "there").string();
    settings.logFile = log.c_str();
    start(settings);
    m_pLibrary.reset();
    EXPECT_TRUE(fs::is_regular_file(log));
    EXPECT_EQ(files(), "");
}

TEST_F(StartSettings, ABadArchiveIsThrownOrToldInTheLogAndSkipped) {
    writeFile(root() / "bad.vas", "cut short");
    ArchiveBuilder().add("\\first", "1").write(root() / "a.vas");
    ArchiveBuilder().add("\\last", "2").write(root() / "z.vas");
    const std::string message = "Unable to read data from \"" + m_root.enginePath() + "\\bad.vas\"";
    V_StartSettings settings = alone();
    settings.logFile = "log";
    EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([&] { start(settings); }), message);
    EXPECT_NE(readText(root() / "log").find(message + "\n"), std::string::npos);
    EXPECT_FALSE(V_VantorInit::count || Sys || File);
    fs::remove(root() / "log");

    settings.badArchives = V_StartSettings::BA_SKIP_AND_TELL;
    start(settings);
    EXPECT_EQ(File->exists("first") + File->exists("last"), 2);
    EXPECT_THROW(File->enablePriorityArchive("bad.vas"), V_FileException_UnableToReadData *);
    EXPECT_FALSE(File->setSecondaryArchiveSearchPath("nowhere"));
    const std::string log = readText(root() / "log");
    EXPECT_NE(log.find(message + "\n" + message + "\n"), std::string::npos) << log;

    settings.loadArchives = false;
    start(settings);
    EXPECT_EQ(File->exists("first"), 0);
    fs::create_directory(root() / "second");
    fs::copy(root() / "z.vas", root() / "second/z.vas");
    EXPECT_TRUE(File->setSecondaryArchiveSearchPath("second"));
    EXPECT_EQ(File->exists("first") + File->exists("last"), 1);
}

TEST_F(StartSettings, WhatOnlyLooksLikeAnArchiveIsPassedOverOnRequest) {
    ArchiveBuilder().add("\\in", "1").write(root() / "real");
    fs::create_directory(root() / "a.vas");
    const bool linked = canLink("nowhere", root() / "b.vas") && canLink("real", root() / "c.vas");
    if (!linked)
        fs::copy(root() / "real", root() / "c.vas");
    V_StartSettings settings = quiet();
    EXPECT_EQ(messageOf<V_FileException_ArchiveNotFound>([&] { start(settings); }),
              "Archive " + m_root.enginePath() + "\\a.vas not found");
    settings.passOverOddArchives = true;
    start(settings);
    EXPECT_EQ(File->exists("in"), 1);
    writeFile(root() / "d.vas", ""); // a file, however odd
    EXPECT_THROW(start(settings), V_FileException_UnableToReadData *);
}

TEST_F(StartSettings, MessagesWritePathsOnDiskAsTheSystemDoesOnRequest) {
    V_StartSettings settings = quiet();
    settings.systemPaths = true;
    start(settings);
    writeFile(root() / "bad.vas", "cut short");
    writeFile(root() / "s.txt", "[a] { b }");
    EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([] { File->enablePriorityArchive("bad.vas"); }),
              "Unable to read data from \"" + shown("bad.vas") + "\"");
    char buffer[16];
    EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([&] { File->load(buffer, "S.txt", 16); }),
              "Unable to read data from \"" + shown("S.txt") + "\"");
    EXPECT_EQ(messageOf<V_FileException_FileNotFound>([] { File->load("no/file", 1); }),
              "File \\NO\\FILE not found");
    EXPECT_EQ(messageOf<V_FileException_DirectoryNotFound>([] { File->changeDirectory("C:\\x"); }),
              "Directory \\C:\\x not found");
    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    EXPECT_EQ(messageOf<V_FileException_DirectoryNotFound>([] { File->changeDirectory("gone"); }),
              "Directory " + shown("gone") + " not found");
    File->save("open.txt", "[a] {", 5);
    EXPECT_EQ(messageOf<V_ScriptLoaderException_NoClosingBracket>([] { V_Script("open.txt"); }),
              "V_ScriptLoader: File \"" + shown("open.txt") + "\" ends with\nopened bracket from line 1!");
    const std::string path = m_root.enginePath() + "\\no\\file";
    EXPECT_EQ(
        messageOf<V_MemoryFileException_UnableToOpenFileForWrite>([&] { V_MemoryFile(1, path.c_str()); }),
        "V_MemoryFile: Unable to open file (\"" + shown("no/file") + "\") for write");
}

/// The guide's static object: what it throws nobody can catch.
TEST(FailingStart, SaysWhyBeforeTheProgramEnds) {
    const TemporaryDirectory directory(ownProgram().parent_path());
    writeFile(directory.path() / "DATA.VAS", std::string(44, 'x'));
    const Outcome outcome = runTextProgram(
        ownProgramIn(directory.path()),
        "--gtest_also_run_disabled_tests --gtest_filter=FailingStart.DISABLED_*", directory.path());
    const std::string line =
        "The library cannot be started: Archive \"" + directory.enginePath() + "\\DATA.VAS\" is corrupted\n";
    EXPECT_NE(outcome.status, 0);
    EXPECT_NE(outcome.output.find("\n" + line), std::string::npos) << outcome.output;
    for (const auto &entry : fs::directory_iterator(directory.path()))
        if (entry.path().extension() == ".txt") {
            EXPECT_NE(readText(entry.path()).find(line), std::string::npos);
        }
}

/// Run by the test above.
TEST(FailingStart, DISABLED_WithAStaticObject) {
    []() noexcept { static V_VantorInit library; }();
}

} // namespace
