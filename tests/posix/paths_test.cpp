// Translation of paths and the current directory.

#include "tests/support/temporary_directory.h"

#include "platform/platform.h"
#include "platform/posix/paths.h"

#include <gtest/gtest.h>

#include <sstream>

namespace fs = std::filesystem;
using namespace vl::platform;

namespace {

std::string translated(const std::string &path) {
    SystemPath out;
    return toSystemPath(out, path) ? std::string(out.text, out.length) : "refused";
}

TEST(PlatformPaths, ResolvesDotsDrivesAndSeparatorsByText) {
    std::istringstream known(R"(
        C:\ /   c:/data//a.txt /data/a.txt   \data\ /data   C:\\data\.\x\..\a /data/a   C:\..\..\a /a
        \a\.. /   a\.. .   C: .   C:a a   . .   a\..\..\b ../b   ..\..\a\..\b ../../b   ..\a\.. ..
        a...\.b a.../.b   D:\a refused   d: refused   \\srv\share refused   //srv/share refused
        \\?\C:\a refused)");
    for (std::string engine, expected; known >> engine >> expected;)
        EXPECT_EQ(translated(engine), expected) << engine;
    EXPECT_EQ(translated(""), "refused");
}

TEST(PlatformPaths, TakesWhatFitsAndRefusesTheFirstCharacterMore) {
    const std::string longest = "C:\\" + std::string(maxPath - 3, 'a');
    PathBuffer out;
    EXPECT_TRUE(fullPath(out, longest.c_str()));
    EXPECT_EQ(out, longest);
    EXPECT_FALSE(fullPath(out, (longest + 'a').c_str()));
    EXPECT_EQ(translated(std::string(maxPath, 'a')), std::string(maxPath, 'a'));
    EXPECT_EQ(translated(std::string(maxPath + 1, 'a')), "refused");
    // Only what is left counts.
    std::string detour;
    for (int i = 0; i < 200; ++i)
        detour += "abc\\..\\.\\";
    EXPECT_EQ(translated("C:\\" + detour + "x"), "/x");
}

TEST(PlatformCurrentDirectory, IsTakenAndToldInTheEnginesForm) {
    const TemporaryDirectory directory;
    fs::create_directory(directory.path() / "Inner");
    PathBuffer out;

    ASSERT_TRUE(setCurrentDirectory((directory.enginePath() + "\\INNER\\").c_str()));
    ASSERT_TRUE(currentDirectory(out));
    EXPECT_EQ(out, directory.enginePath() + "\\Inner");
    ASSERT_TRUE(fullPath(out, "..\\x\\.\\y\\"));
    EXPECT_EQ(out, directory.enginePath() + "\\x\\y");
    EXPECT_FALSE(setCurrentDirectory("missing"));

    ASSERT_TRUE(setCurrentDirectory("\\"));
    ASSERT_TRUE(currentDirectory(out));
    EXPECT_STREQ(out, "C:\\");
    ASSERT_TRUE(fullPath(out, "..\\x"));
    EXPECT_STREQ(out, "C:\\x");

    fs::current_path(directory.path());
    while (fs::current_path().string().size() <= maxPath) {
        const std::string name(100, 'n');
        fs::create_directory(name);
        fs::current_path(name);
    }
    EXPECT_FALSE(currentDirectory(out));
    EXPECT_FALSE(fullPath(out, "x"));
    fs::current_path(fs::temp_directory_path());
}

TEST(PlatformCurrentDirectory, RelativeNamesFollowItAlthoughTheirListingsAreKept) {
    const TemporaryDirectory directory;
    for (const char *name : {"one", "two"})
        fs::create_directories(directory.path() / name / "sub" / (std::string("Only-") + name));
    for (int i = 0; i < 50; ++i) {
        for (const bool first : {true, false}) {
            fs::current_path(directory.path() / (first ? "one" : "two"));
            EXPECT_EQ(fileKind("SUB\\only-ONE") == FileKind::Directory, first);
            EXPECT_EQ(fileKind("SUB\\only-TWO") == FileKind::Directory, !first);
        }
    }
    fs::current_path(fs::temp_directory_path());
}

} // namespace
