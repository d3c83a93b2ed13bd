// The tool's archive commands, run as a user runs them.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/program.h"

#include "platform/native.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <map>
#include <random>
#include <thread>

namespace {

namespace fs = std::filesystem;

class ArchiveTool : public LibraryTest {
  protected:
    ArchiveTool() {
        std::mt19937 random(3);
        for (int i = 0; i < 30; ++i) {
            std::string content;
            for (auto length = random() % 5000; length != 0; --length)
                content += static_cast<char>('a' + random() % (i + 1));
            addFile("dir" + std::to_string(i % 4) + "/File " + std::to_string(i) + (i % 2 ? ".txt" : ".dat"),
                    content);
        }
        addFile("empty", "");
        fs::create_directories(tree() / "hollow");
    }

    fs::path tree() const { return root() / "tree"; }
    fs::path archive() const { return root() / "OUT.VAS"; }

    void addFile(const std::string &name, const std::string &content) {
        writeFile(tree() / name, content);
        m_contents[name] = content;
    }

    Outcome create(const std::string &options = "") const {
        return runTool("archive create " + quoted(archive()) + " " + quoted(tree()) + " " + options);
    }
    Outcome extract(const fs::path &target, const std::string &patterns = "") const {
        return runTool("archive extract " + quoted(archive()) + " -d " + quoted(target) + " " + patterns);
    }
    Outcome verify() const { return runTool("archive verify " + quoted(archive())); }

    bool isAnythingPartial() const {
        const fs::directory_iterator entries(root());
        return std::any_of(begin(entries), end(entries),
                           [](const auto &entry) { return entry.path().extension() == ".partial"; });
    }
    void expectNothingPartial() const { EXPECT_FALSE(isAnythingPartial()); }

    std::map<std::string, std::string> m_contents;
};

TEST_F(ArchiveTool, MakesArchivesThatTheLibraryReads) {
    for (const char *options : {"", "--method stored", "--method scrambled --seed 0",
                                "--rule '*.txt=stored' --rule 'DIR1/*=scrambled' --seed 4294967295"}) {
        const Outcome outcome = create(options);
        ASSERT_EQ(outcome.status, 0) << outcome.output;
        File->setFileSystemRoot(engineRoot().c_str());
        for (const auto &[name, content] : m_contents) {
            ASSERT_EQ(File->where(name.c_str()), V_File::LOC_ARCHIVE) << name;
            ASSERT_EQ(File->size(name.c_str()), content.size());
            if (!content.empty()) {
                ASSERT_EQ(loaded(name), content) << name << options;
            }
        }
        EXPECT_EQ(File->isDirectory("\\HOLLOW"), 1);
    }
    EXPECT_EQ(File->getMethod("dir0/File 0.dat"), V_File::METHOD_LZSS);
    EXPECT_EQ(File->getMethod("dir3/File 3.txt"), V_File::METHOD_STORED);
    EXPECT_EQ(File->getMethod("dir1/File 1.txt"), V_File::METHOD_LZSS_SCRAMBLED);

    create("--method scrambled --archiver-id 77");
    const std::string first = readFile(archive());
    create("--method scrambled --archiver-id 77");
    EXPECT_EQ(readFile(archive()), first);
    File->setFileSystemRoot(engineRoot().c_str());
    File->verifyArchiverID(77);
}

TEST_F(ArchiveTool, ExtractsWhatItPacked) {
    using namespace std::chrono_literals;
    const auto time = fs::last_write_time(tree() / "empty") - 100h;
    fs::last_write_time(tree() / "empty", time);
    create();
    const fs::path out = root() / "out";
    ASSERT_EQ(extract(out).status, 0);
    for (const auto &[name, content] : m_contents)
        ASSERT_EQ(readFile(out / name), content) << name;
    EXPECT_LT(std::chrono::abs(fs::last_write_time(out / "empty") - time), 1ms);
    EXPECT_TRUE(fs::is_directory(out / "hollow"));

    const fs::path some = root() / "some";
    ASSERT_EQ(extract(some, "'dir1/*' EMPTY").status, 0);
    EXPECT_TRUE(fs::exists(some / "dir1/File 1.txt"));
    EXPECT_TRUE(fs::exists(some / "empty"));
    EXPECT_FALSE(fs::exists(some / "dir0"));
    EXPECT_EQ(extract(some, "nothing").status, 1);
}

TEST_F(ArchiveTool, NeverExtractsOutsideTheTarget) {
    create("--method stored --exclude 'dir*' --exclude hollow");
    const fs::path out = root() / "out";
    fs::create_directories(out);
    if (canLink(root() / "victim", out / "empty")) {
        const Outcome throughLink = extract(out);
        EXPECT_EQ(throughLink.status, 1);
        EXPECT_NE(throughLink.output.find("a link stands there"), std::string::npos) << throughLink.output;
        EXPECT_FALSE(fs::exists(root() / "victim"));

        fs::remove(out / "empty");
        fs::create_directories(root() / "victim");
        fs::create_directory_symlink(root() / "victim", out / "dir1");
        create();
        EXPECT_EQ(extract(out).status, 1);
        EXPECT_TRUE(fs::is_empty(root() / "victim"));
    }

    ArchiveBuilder().add("\\..\\..\\x", "evil").write(archive());
    const Outcome upwards = extract(out / "a");
    EXPECT_EQ(upwards.status, 1);
    EXPECT_NE(upwards.output.find("would lead out of the target directory"), std::string::npos)
        << upwards.output;
}

TEST_F(ArchiveTool, VerifyNamesTheFirstBadEntry) {
    create();
    EXPECT_EQ(verify().status, 0);
    const auto listed = nlohmann::json::parse(runTool("archive list --json " + quoted(archive())).output);
    ASSERT_EQ(listed["files"].size(), m_contents.size());
    const auto &entry = listed["files"][5];
    std::string bytes = readFile(archive());
    bytes.replace(entry["offset"].get<std::size_t>() + 3, 4, "????");
    writeFile(archive(), bytes);
    const auto expect = [this](const std::string &text) {
        const Outcome outcome = verify();
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.output.find(text), std::string::npos) << outcome.output;
    };
    expect(entry["path"].get<std::string>());
    writeFile(archive(), bytes.substr(0, 60));
    expect("Unable to read data from");
}

TEST_F(ArchiveTool, TellsOfNamesThatNothingLeadsTo) {
    addFile("x..y", "1");
    const bool takesDots = vl::platform::canNameFile("end.");
    if (takesDots)
        addFile("end./in", "2");
    const std::string packed = create().output;
    EXPECT_NE(packed.find("x..y: packed, but no name"), std::string::npos) << packed;
    EXPECT_EQ(packed.find("end.: packed, but no name") != std::string::npos, takesDots) << packed;
    ArchiveBuilder().add("\\sound", "1").add("\\x..y", "1").add("\\..\\z", "1").write(archive());
    const Outcome outcome = verify();
    EXPECT_EQ(outcome.status, 0);
    for (const char *name : {"\\x..y\n", "\\..\\z\n", "sound, 3 files"})
        EXPECT_NE(outcome.output.find(name), std::string::npos) << outcome.output;
    EXPECT_EQ(outcome.output.find("\\sound\n"), std::string::npos) << outcome.output;
}

TEST_F(ArchiveTool, InterruptedLeavesTheOldArchive) {
#if defined(_WIN32)
    GTEST_SKIP() << "interrupt.sh does this from outside: a program has no console to interrupt another with";
#endif
    create();
    const std::string old = readFile(archive());
    std::mt19937 random(5);
    std::string noise;
    noise.resize(30000000); // takes a while
    for (char &c : noise)
        c = static_cast<char>(random());
    writeFile(tree() / "noise", noise);
    RunningProgram tool(toolProgram(), "archive create " + quoted(archive()) + " " + quoted(tree()), root());
    while (!isAnythingPartial())
        std::this_thread::yield();
    EXPECT_TRUE(tool.interrupt());
    EXPECT_EQ(readFile(archive()), old);
    expectNothingPartial();
}

TEST_F(ArchiveTool, ShowsAndUnpacksNothingThatATerminalOrAReaderWouldObey) {
    ArchiveBuilder builder;
    builder.add("\\\x1b[31mred", "content");
    builder.time = {1601, 1, 1, 1, 0, 0, 0, 0};
    builder.add("\\timeless", "content").add("\\unknown", "content", 9).add("\\cut", "content");
    builder.records.back().size = builder.records.back().storedSize = 0xF0000000;
    builder.write(archive());
    const Outcome listed = runTool("archive list " + quoted(archive()));
    EXPECT_EQ(listed.status, 0);
    EXPECT_NE(listed.output.find("?[31mred"), std::string::npos) << listed.output;
    EXPECT_EQ(listed.output.find('\x1b'), std::string::npos);

    const fs::path out = root() / "out";
    EXPECT_EQ(extract(out, "timeless").status, 0);
    EXPECT_NE(extract(out, "unknown").output.find("method 9 is unknown"), std::string::npos);
    EXPECT_FALSE(fs::exists(out / "unknown"));
    EXPECT_NE(extract(out, "cut").output.find("Unable to read data from"), std::string::npos);
    EXPECT_NE(verify().output.find("2 of 4 files"), std::string::npos);
    const Outcome missing = runTool("archive verify " + quoted(root() / "no.vas"));
    EXPECT_EQ(missing.output.find("DAMAGED"), std::string::npos) << missing.output;
    if (fs::exists("/dev/full")) {
        EXPECT_EQ(runTool("archive list " + quoted(archive()) + " >/dev/full").status, 1);
    }
}

TEST_F(ArchiveTool, RefusesWhatTheFormatCannotHoldAndKeepsTheOldArchive) {
    create();
    const std::string old = readFile(archive());
    const auto refused = [&](const std::string &why, const fs::path &cause) {
        const Outcome outcome = create();
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.output.find(why), std::string::npos) << outcome.output;
        EXPECT_EQ(readFile(archive()), old);
        expectNothingPartial();
        fs::remove_all(tree() / cause);
    };
    if (areNamesExact()) {
        addFile("dir0/FILE 0.DAT", "twin");
        refused("File 0.dat: differs only in case from 'FILE 0.DAT'", "dir0/FILE 0.DAT");
        fs::create_directories(tree() / "DIR1");
        refused("differs only in case from", "DIR1");
        addFile("back\\slash", "");
        refused("the name holds a backslash", "back\\slash");
    }
    const std::string name(45, 'd');
    if (areNamesExact()) { // elsewhere no such tree can be made
        addFile(name + "/" + name + "/" + name + "/" + name + "/" + name + "/" + name + "/x", "");
        refused("the path inside the archive exceeds 254 characters", name);
    }
    addFile("huge", "");
    fs::resize_file(tree() / "huge", 0x100000000);
    refused("huge: exceeds 4294967295 bytes", "huge");

    fs::create_directories(root() / "elsewhere");
    for (const fs::path &place : {tree(), root() / "elsewhere"}) { // a directory is no place for an archive
        const Outcome outcome =
            runTool("archive create " + quoted(place) + " " + quoted(root() / "elsewhere"));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.output.find("is there and not a file"), std::string::npos) << outcome.output;
    }

    EXPECT_EQ(runTool("archive create").status, 2);
    EXPECT_EQ(runTool("archive create x.vas " + quoted(tree()) + " --rule '*=zip'").status, 2);
    EXPECT_EQ(runTool("archive list " + quoted(root() / "no.vas")).status, 1);
}

} // namespace
