// Names and paths as this system has them: what names no file, characters beyond ASCII, drives, what is open.

#include "tests/support/library_test.h"

#include "platform/native.h"
#include "platform/platform.h"
#include "platform/windows/text.h"

#include <sstream>

namespace fs = std::filesystem;
using namespace vl::platform;

namespace {

std::string full(const std::string &path) {
    PathBuffer out;
    return fullPath(out, path.c_str()) ? out : "refused";
}

TEST(PlatformPaths, AreResolvedByTextWithTheirDrives) {
    std::istringstream known(R"(
        C:\ C:\   C:/data//a.txt C:\data\a.txt   Q:\data\ Q:\data   C:\\data\.\x\..\a C:\data\a   C:\..\..\a C:\a
        \\srv\share\a\..\b \\srv\share\b   //srv/share/x \\srv\share\x
        1:\a refused   C:\a:b refused   C:\a|b refused   C:\a* refused   \\?\C:\a refused   \\.\pipe\x refused
        C:\con refused   C:\x\NUL.txt\a refused   C:\com1 refused   C:\Lpt9.a.b refused   C:\com10 C:\com10
        C:\console C:\console   C:\a. refused   C:\a.\b refused   C:\a..b C:\a..b   C:\conin$ refused)");
    for (std::string path, expected; known >> path >> expected;)
        EXPECT_EQ(full(path), expected) << path;
    for (const char *path : {"", "C:\\a ", "C:\\a \\b", "C:\\nul .txt", "C:\\a\tb", "C:\\com\xC2\xB9"})
        EXPECT_EQ(full(path), "refused") << path;
}

TEST(PlatformPaths, TakesWhatFitsAndRefusesTheFirstByteMore) {
    const std::string longest = "C:\\" + std::string(maxPath - 3, 'a');
    EXPECT_EQ(full(longest), longest);
    EXPECT_EQ(full(longest + 'a'), "refused");
    std::string umlauts = "C:\\";
    while (umlauts.size() < maxPath - 1)
        umlauts += "\xC3\xA4";
    EXPECT_EQ(full(umlauts), umlauts);
    EXPECT_EQ(full(umlauts + "\xC3\xA4"), "refused");
}

TEST(PlatformText, HasAFormOnTheOtherSideWhateverItIs) {
    const auto wide = [](std::string_view text) {
        std::wstring out(toWide(nullptr, 0, text), L'?');
        EXPECT_EQ(toWide(out.data(), out.size(), text), out.size());
        return out;
    };
    const auto utf8 = [](std::wstring_view text) {
        std::string out(toUtf8(nullptr, 0, text), '?');
        EXPECT_EQ(toUtf8(out.data(), out.size(), text), out.size());
        return out;
    };
    // The characters at either side of each length's limits, from RFC 3629.
    const std::pair<std::string, std::wstring> known[] = {
        {"A\x7F", L"A\x7F"},
        {"\xC2\x80\xDF\xBF", L"\x80\x7FF"},
        {"\xE0\xA0\x80\xEF\xBF\xBF", L"\x800\xFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\xD800\xDC00\xDBFF\xDFFF"},
        {"\xED\xA0\x80x\xED\xBF\xBF", L"\xD800x\xDFFF"}}; // halves of pairs that stand alone
    for (const auto &[bytes, units] : known) {
        EXPECT_EQ(wide(bytes), units);
        EXPECT_EQ(utf8(units), bytes);
    }
    // Bytes that are no UTF-8: stray, overlong, cut short, beyond the last character.
    EXPECT_EQ(wide("Stra\xDF"
                   "e"),
              L"Stra\xDF"
              L"e");
    EXPECT_EQ(wide("\x80\xC0\xAF\xE0\x80\x80"), L"\x80\xC0\xAF\xE0\x80\x80");
    EXPECT_EQ(wide("\xE2\x82"), L"\xE2\x82");
    EXPECT_EQ(wide("\xF4\x90\x80\x80\xF5"), L"\xF4\x90\x80\x80\xF5");
    std::mt19937 random(13);
    for (int i = 0; i < 20'000; ++i) {
        std::wstring units(random() % 8, L'\0');
        for (wchar_t &unit : units)
            unit = static_cast<wchar_t>(1 + random() % 0xFFFF);
        ASSERT_EQ(wide(utf8(units)), units);
    }
}

TEST(PlatformFiles, AreNotThereUnderNamesOfDevicesOrWithEndsThatTheSystemDrops) {
    const TemporaryDirectory directory;
    writeFile(directory.path() / "a.dat", "1");
    const std::string in = directory.enginePath() + "\\";
    FileIdentity identity;
    for (const char *name :
         {"CON", "nul.txt", "aux", "a.dat.", "a.dat ", "a.dat::$DATA", "a.dat:stream", "a?dat"}) {
        EXPECT_EQ(fileKind(in + name), FileKind::None) << name;
        EXPECT_EQ(openFile((in + name).c_str(), "wb"), nullptr) << name;
        EXPECT_EQ(openForReading((in + name).c_str(), identity, OpenAs::Named), noFile) << name;
        EXPECT_EQ(openForWriting((in + name).c_str(), WriteMode::Keep, identity), noFile) << name;
        EXPECT_FALSE(createDirectory((in + name).c_str())) << name;
        EXPECT_FALSE(canNameFile(name)) << name;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(directory.path()), fs::directory_iterator()), 1);
    EXPECT_EQ(fileKind(in + "A.DAT"), FileKind::File);
    EXPECT_EQ(fileKind(in + "a.dat\\"), FileKind::None);
}

TEST(PlatformFiles, AreKnownByNamesBeyondASCII) {
    const TemporaryDirectory directory;
    const std::string in = directory.enginePath() + "\\";
    const std::string names[] = {"\xC3\xA4.txt", "\xE6\x96\x87", "\xF0\x9F\x8E\xAE.dat"};
    for (const std::string &name : names) {
        std::FILE *const file = openFile((in + name).c_str(), "wb");
        ASSERT_NE(file, nullptr) << name;
        std::fclose(file);
        EXPECT_TRUE(fs::exists(directory.path() / nativePath(name)));
    }
    EXPECT_EQ(fileKind(in + "\xE4.txt"), FileKind::File) << "an old name in Latin-1";
    Enumeration *const enumeration = startEnumeration((in + "*").c_str());
    for (const std::string &name : names)
        EXPECT_STREQ(nextName(enumeration), name.c_str());
    EXPECT_EQ(nextName(enumeration), nullptr);
    endEnumeration(enumeration);
}

TEST(PlatformFiles, ThatAreOpenCanBeRenamedRemovedAndReadOn) {
    const TemporaryDirectory directory;
    const std::string in = directory.enginePath() + "\\";
    writeFile(directory.path() / "a", "old");
    FileIdentity identity, again;
    const FileHandle file = openForReading((in + "a").c_str(), identity, OpenAs::Known);
    ASSERT_NE(file, noFile);
    EXPECT_TRUE(vl::platform::rename((in + "a").c_str(), (in + "b").c_str()));
    writeFile(directory.path() / "a", "new");
    EXPECT_TRUE(removeFile((in + "b").c_str()));
    const FileHandle other = duplicate(file, again);
    EXPECT_EQ(identity, again);
    closeFile(file);
    char text[4] = {};
    EXPECT_EQ(readAt(other, 0, text, 4), 3u);
    EXPECT_STREQ(text, "old");
    closeFile(other);
    EXPECT_EQ(readFile(directory.path() / "a"), "new");
}

} // namespace
