// The preprocessor: its text, its directives, and each of its errors with the state they leave behind.

#include "tests/support/failing_allocation.h"
#include "tests/support/script_test.h"

namespace {

class ScriptPreprocessor : public ScriptTest {};

TEST_F(ScriptPreprocessor, GivesTheTextOfItsWords) {
    const std::pair<const char *, const char *> cases[] = {
        {"#define MAX 100\n[Car]\nspeed = MAX;   // top speed\n", "[car] speed = 100;"},
        {" \t\r\n\v[A]\r\n\r\nX = 1;\r\n", "[a] x = 1;"},
        {" /* nothing */ // at all", ""},
        {"[A] Name = \"Big  Car\";", "[a] name = \"Big  Car\";"},
        {"[a] s = \"say \\\"Hi\\\" // not /* a comment\";",
         "[a] s = \"say \\\"Hi\\\" // not /* a comment\";"},
        {"a/*x*/b", "ab"},
        {"a /*x*/ b", "a b"},
        {"a/*x*/ b//y\nc", "a b c"},
        {"/*/ x */y", "y"},
        {"a/b*c/", "a/b*c/"},
        {"path = a//b;\nc", "path = a c"},
        {"A\fB", "a\fb"},
        {"a\"", "a\""},
        // Definitions: whole words only, with or without a semicolon, from their line on.
        {"a A; #define A x\nA A; B=A A=B \"A\" [A]", "a a; x x; b=a a=b \"A\" [a]"},
        {"#define one B\n#define b 2\nONE b", "b 2"},
        {"#DEFINE \t a \t \"X  y\\\"Z\" \t {W}  \r\na", "\"X  y\\\"Z\" {w}"},
        {"#define max 100 // top speed\nmax", "100"},
        {"#define max 100 /* top\nspeed */ 200\nmax", "200 100"},
        {"#define u \"http://x\"\nu", "\"http://x\""},
        {"#define a\tb c", ""},
        {"#define /**/ a /", ""},
        {"#define \"X\" 1\n\"x\" a#b", "1 a#b"},
        // A directive at the end of the file waits in vain.
        {"x #include", "x"},
        {"x #define // a 1", "x"},
    };
    for (const auto &[content, expected] : cases)
        EXPECT_EQ(text(content), expected) << content;
}

TEST_F(ScriptPreprocessor, ComparesTheFirst127CharactersOfAWord) {
    const std::string name(127, 'n');
    EXPECT_EQ(text("#define " + name + ' ' + std::string(127, 'V') + '\n' + name + "; " + name + "more; " +
                   std::string(126, 'n')),
              std::string(127, 'v') + "; " + std::string(127, 'v') + "; " + std::string(126, 'n'));
}

TEST_F(ScriptPreprocessor, PutsIncludedTextInPlace) {
    write("sub/a.txt", "#include \"b.txt\"\nA one\n#define one 1");
    write("b.txt", "// nothing but this");
    write("Upper.txt", "u");
    EXPECT_EQ(text("x #INCLUDE \"sub/a.txt\" one\none #include <UPPER.TXT>\ny"), "x 1  a one 1 u y");
    // On the line of the directive a definition comes first, on a later line it comes behind.
    EXPECT_EQ(text("#define d v\n#include \"b.txt\" d d;\nd"), "v v;  v");
    // An include is outside all brackets between a tag and its data.
    write("settings.txt", "x=1; y=2;");
    EXPECT_EQ(tree("[a] #include \"settings.txt\"\n[b] z=3;"), "{a(x=1;y=2) b(z=3)}");
}

TEST_F(ScriptPreprocessor, ResolvesAllNamesAgainstTheRootsDirectory) {
    write("game/main.txt", "#include \"sub/a.txt\"\n[m] x=1;");
    write("game/sub/a.txt", "#include \"b.txt\"");
    write("game/b.txt", "[b] x=2;");
    write("game/sub/b.txt", "[wrong] x=2;");
    for (const char *name :
         {File->getFullPathName("game/main.txt"), "game/main.txt", "game\\main.txt", "\\GAME\\main.txt"}) {
        V_Script script(name);
        EXPECT_STREQ(script.getScriptName(), "main.txt");
        EXPECT_EQ(describeBlock(script), "{b(x=2) m(x=1)}");
        EXPECT_STREQ(File->getCurrentDirectory(), "\\");
    }
}

TEST_F(ScriptPreprocessor, NamesTheFileAndLineOfEachError) {
    write("once.txt", "\n\n#include \"twice.txt\"");
    write("twice.txt", "x #include \"once.txt\"");
    write("wrong.txt", "\n}");
    // @ stands for the quoted path of main.txt.
    const std::pair<std::string, std::string> cases[] = {
        {"\n/*\n\n*", "Block comment /*...*/ starting\nin line 2 of @ doesn't end!"},
        {"x /*/", "Block comment /*...*/ starting\nin line 1 of @ doesn't end!"},
        {"//\n\n a}", "Closing bracket \"}\" in line 3\nof @ found without opening bracket!"},
        {"{\n[\n}", "Closing bracket \"}\" in line 3 of\n@ doesn't fit bracket in line 2 (expected: \"]\")!"},
        {"/*\n*/ a<b;\nc]",
         "Closing bracket \"]\" in line 3 of\n@ doesn't fit bracket in line 2 (expected: \">\")!"},
        {"a\n b=\"x\n\"", "String marking \"...\" starting\nin line 2 of @ doesn't end!"},
        {"\"x\\\"", "String marking \"...\" starting\nin line 1 of @ doesn't end!"},
        {"[a]\n{\n#include \"b\" }",
         "#include directive in line 3 of @\ncan't be used inside a bracketed block (starts in line 2)!"},
        {"#include <a b>",
         "#include directive in line 1 of @\ncan't be used inside a bracketed block (starts in line 1)!"},
        {"#include\n\"a.txt\";", "Syntax error in #include\ndirective in line 2 of @!"},
        {"#include \"", "Syntax error in #include\ndirective in line 1 of @!"},
        {"{\n#define a 1 }",
         "#define directive in line 2 of @\ncan't be used inside a bracketed block (starts in line 1)!"},
        {"#define a", "Syntax error in #define\ndirective in line 1 of @!"},
        {"\n#define a \t \n1", "Syntax error in #define\ndirective in line 2 of @!"},
        {"#define a// 1\nb", "Syntax error in #define\ndirective in line 1 of @!"},
        {"#define a \"b\n\"", "Syntax error in #define\ndirective in line 1 of @!"},
        {"#define a " + std::string(128, 'x'),
         "#define directive in line 1 of @\ncan't assign #define's longer than 127 characters!"},
        {"#define " + std::string(128, 'x') + " a",
         "#define directive in line 1 of @\ncan't assign #define's longer than 127 characters!"},
        {"#define A 1\n#define a 1",
         "Attempt to re-#define \"a\"\n(originally \"1\")\nas \"1\" in line 2 of @!"},
        {"a = #ff0000;", "Unknown preprocessor directive\nin line 1 of @!"},
        {"\n#include\"x.txt\"", "Unknown preprocessor directive\nin line 2 of @!"},
        {"a\n[\n{}\n", "File @ ends with\nopened bracket from line 2!"},
        // The first mistake in text order counts; a word that touches a comment is processed before it, a
        // bracket or a marking is seen before its word is complete.
        {"#wrong/*", "Unknown preprocessor directive\nin line 1 of @!"},
        {"#wrong}", "Closing bracket \"}\" in line 1\nof @ found without opening bracket!"},
        {"#wrong\"", "Unknown preprocessor directive\nin line 1 of @!"},
        {"#define a 1 } \" \"\n#wrong", "Unknown preprocessor directive\nin line 2 of @!"},
        // In an included file, of that file.
        {"#include \"once.txt\"", "Attempt to include file \"once.txt\" again in\nline1 of \"\\twice.txt\" "
                                  "(recursion problem)!"},
        {"#include \"wrong.txt\" \n#include <wrong.txt>",
         "Closing bracket \"}\" in line 2\nof \"\\wrong.txt\" found without opening bracket!"},
    };
    for (auto [content, message] : cases) {
        if (const std::size_t place = message.find('@'); place != std::string::npos)
            message.replace(place, 1, "\"\\main.txt\"");
        EXPECT_EQ(failure<V_ScriptLoaderException>(content), "V_ScriptLoader: " + message) << content;
        EXPECT_EQ(tree("[a] x=1;"), "{a(x=1)}") << "after " << content;
    }
}

TEST_F(ScriptPreprocessor, PassesOnWhatTheFileSystemThrows) {
    write("empty.txt", "");
    EXPECT_EQ(failure<V_FileException_FileNotFound>("[a] x=1;\n#include \"gone.txt\""),
              "File \\GONE.TXT not found");
    EXPECT_NE(failure<V_FileException_FileCorrupted>("#include \"empty.txt\"").find("is corrupted"),
              std::string::npos);
    EXPECT_NE(failure<V_FileException_FileCorrupted>("").find("is corrupted"), std::string::npos);
    EXPECT_EQ(failure<V_FileException_FileNotFound>("#include \"\""), "File  not found");

    std::filesystem::remove(root() / "main.txt");
    EXPECT_EQ(failure<V_FileException_FileNotFound>(), "File \\MAIN.TXT not found");
    EXPECT_EQ(messageOf<V_FileException_DirectoryNotFound>([] { V_Script script("no/main.txt"); }),
              "Directory \\no not found");

    // A name that resolves to a short path is too long all the same, and so is a short one in a deep place.
    std::string name;
    for (int i = 0; i < 60; ++i)
        name += "a/../";
    EXPECT_EQ(failure<V_FileException_PathTooLong>("#include \"" + name + "b.txt\""),
              "Path \"" + name + "b.txt\" exceeds 255 characters");
    EXPECT_NE(failure<V_FileException_PathTooLong>("#include <" + std::string(255, 'x') + ">"), "");
}

TEST_F(ScriptPreprocessor, SurvivesHostileFiles) {
    // Bytes that no editor writes, words and values without end.
    EXPECT_EQ(text(std::string("a\0b \xff\0\0", 7)), std::string("a\0b \xff\0\0", 7));
    const std::string huge(3000000, 'W');
    EXPECT_EQ(text(huge + " \"" + huge + '"'), std::string(3000000, 'w') + " \"" + huge + '"');
    EXPECT_EQ(failure<V_ScriptLoaderException_DefineTooLong>("#define x " + huge).size(),
              std::string("V_ScriptLoader: #define directive in line 1 of \"\\main.txt\"\ncan't assign "
                          "#define's longer than 127 characters!")
                  .size());
    const std::string open(200000, '{');
    EXPECT_NE(failure<V_ScriptLoaderException_NoClosingBracket>(open), "");
    EXPECT_EQ(text(open + std::string(200000, '}')).size(), 400000u);

    // A file that includes another, and that another, ...
    for (int i = 0; i < 3000; ++i)
        write(std::to_string(i) + ".txt",
              "#include \"" + std::to_string(i + 1) + ".txt\"\n" + (i % 1000 ? "" : std::to_string(i)));
    write("3000.txt", "end");
    EXPECT_EQ(text("#include \"0.txt\""), "end 2000 1000 0");

    // The same file under ever new names ends at the first name that comes again.
    EXPECT_NE(failure<V_ScriptLoaderException_MultipleInclusion>("#include \"./main.txt\""), "");
}

TEST_F(ScriptPreprocessor, KeepsNothingOfOneLoadForTheNext) {
    write("once.txt", "[o] x=1;");
    const V_Script kept("once.txt"); // keeps the loaders' shared state alive
    EXPECT_EQ(tree("#define a 1\n#include \"once.txt\"\n[b] x = a;"), "{o(x=1) b(x=1)}");
    for (int i = 0; i < 2; ++i) // the second time with nodes from its pools
        EXPECT_NE(failure<V_ScriptLoaderException_BlockComment>(
                      "#define a 3\n#include \"once.txt\"\n[b] x = a; /*"),
                  "");
    EXPECT_EQ(tree("#include \"once.txt\"\n[b] x = a;"), "{o(x=1) b(x=a)}");
}

TEST_F(ScriptPreprocessor, NeedsNoMoreAllocationsForMoreBlocks) {
    const auto allocations = [this](int blocks) {
        std::string content = "#define a 1\n";
        for (int i = 0; i < blocks; ++i)
            content += "[tag] { [data] x=1; y=(1,2,3); [more] z=\"text\"; }\n";
        write("main.txt", content);
        const int before = V_Memory::getNewCount();
        V_Script script("main.txt");
        return V_Memory::getNewCount() - before;
    };
    EXPECT_EQ(allocations(1000), allocations(1));
    EXPECT_LE(allocations(1), 16);
}

TEST_F(ScriptPreprocessor, SurvivesTheFailureOfEveryAllocation) {
    write("dir/main.txt", "#define speed 100\n#define name \"" + std::string(100, 'n') +
                              "\"\n#include <first.txt>\n[car] { [a] x = speed; y = name; }");
    write("dir/first.txt", "#include \"a-name-that-is-longer-than-short-strings.txt\"\n[first] v = speed;");
    write("dir/a-name-that-is-longer-than-short-strings.txt", "#define inner 1\n[second] v = inner;");
    const std::string expected = "{second(v=1) first(v=100) car{a(x=100;y=" + std::string(100, 'n') + ")}}";

    const int atRest = outstanding();
    const int failures = failEachAllocation<V_MemoryException_Allocation *>(
        [&] { V_Script script("dir/main.txt"); },
        [&] {
            expectAllReleased(atRest);
            EXPECT_STREQ(File->getCurrentDirectory(), "\\");
            V_Script script("dir/main.txt");
            EXPECT_EQ(describeBlock(script), expected);
        });
    EXPECT_GT(failures, 20);
}

} // namespace
