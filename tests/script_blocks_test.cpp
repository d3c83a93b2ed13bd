// The block builder: the tree it makes of a text, each of its errors, and the limit of the frame. The fuzz
// target of scripts has a straightforward recursive builder as judge.

#include "tests/support/script_test.h"

namespace {

class ScriptBlocks : public ScriptTest {};

TEST_F(ScriptBlocks, FollowTheText) {
    const std::pair<const char *, const char *> cases[] = {
        {"[car] speed=100; gears=5;", "{car(speed=100;gears=5)}"},
        {"[a]{[b]{[c]x=1;}[d]{}}[e]y;[a]{}", "{a{b{c(x=1)} d} e(y) a}"},
        {"[Top Speed] x;", "{top speed(x)}"},
        {"[\"A B\"] x;", "{\"A B\"(x)}"},
        {"[a] x=1; x=2; X = 3 ;", "{a(x=1;x=2;x=3)}"},
        {"[a] pos = (1, 2, 3);", "{a(pos=(1,2,3))}"},
        {"[a] name = \"Big Car\" 2 \" x\";", "{a(name=Big Car2 x)}"},
        {"[a] s = \"say \\\"hi\\\"\"; t=\"\"; u=\\x;", "{a(s=say \\\"hi\\\";t=;u=\\x)}"},
        {"[a] s=\"a=b;c\"; t=\"[x]{}\"; [b] u=1;", "{a(s=a=b;c;t=[x]{}) b(u=1)}"},
        {"[a]{ [b] s=\"}\"; }", "{a{b(s=})}}"},
    };
    for (const auto &[content, expected] : cases)
        EXPECT_EQ(tree(content), expected) << content;
    // Zero bytes between items are nothing; in a text they end it.
    const char zeros[] = "\0[a]x=1\0;y\0=2;\0[b\0c]{\0}";
    EXPECT_EQ(tree(std::string(zeros, sizeof zeros - 1)), "{a(x=1;y=2) b}");
}

TEST_F(ScriptBlocks, NameTheBlockOfEachError) {
    const std::string main = "main.txt]]!", a = "a]/[" + main;
    const std::string either = "Either { } nesting or data must\nfollow each tag in block [[";
    const std::string nested = "There can't be a nested block\nwithout tag inside block [[";
    const std::string data = "There can't be data\nwithout tag inside block [[";
    const std::string semicolon = "Statements separating semicolon\nmissing inside block [[";
    const std::string single = "Only single assignments are supported!\nCheck ";
    const std::string missing = "=...\" in block [[a]/[main.txt]].\n(Semicolon missing?)";
    const std::string spaces = "side of an assignment can't\ncontain spaces! Check ";
    const std::pair<const char *, std::string> cases[] = {
        {"[a]{ []x=1; }", "Tag brackets [ ] cannot\nbe empty: block [[" + a},
        {"[x]{ [a] }", either + "x]/[" + main},
        {"[a] [b] x=1;", either + main},
        {"{ }", nested + main},
        {"[a] x=1; { }", nested + main},
        {"[a]{ x=1; }", data + a},
        {"\" \"", data + main},
        {"[a] x=1", semicolon + a},
        {"[a] x=1; y", semicolon + a},
        {"[a] x=1; [b]", semicolon + "b]/[" + main},
        {"[a] \"x;\";\"", semicolon + a},
        {"[a] =1;", "Left side of an assignment\noperator = is missing in block [[" + a},
        {"[a] x=1; y=2 z=3;", single + "\"y" + missing},
        {"[a] x==1;", single + "\"x" + missing},
        {"[a] x= ;", "Right side of assignment \"x=\"\nin block [[a]/[main.txt]] cannot be empty!"},
        {"[a] my var=1;", "Left " + spaces + "\"my=...\" in block [[a]/[main.txt]]."},
        {"[a] \"x\"y=1;", "Left " + spaces + "\"\"=...\" in block [[a]/[main.txt]]."},
        // Brackets in definitions are not checked, so what they leave open is found here.
        {"#define t [\n t x;", either + main},
        {"#define o {\n[a] o [b] x;", either + main},
        {"#define c }\n[a]{ [b] x; c [c] y; }", data + main},
        {"#define c }\nc", data + main}};
    for (const auto &[content, message] : cases) {
        EXPECT_EQ(failure<V_ScriptLoaderException>(content), "V_ScriptLoader: " + message) << content;
        EXPECT_EQ(tree("[a] x=1;"), "{a(x=1)}") << "after " << content;
    }
    EXPECT_EQ(failure<V_ScriptLoaderException_RValueSpaces>("[a] x\"=\";"),
              "V_ScriptLoader: Right " + spaces + "\"x\"=...\" in block [[a]/[main.txt]].");
}

TEST_F(ScriptBlocks, CutTheNestingTextToItsBuffers) {
    const std::string name(100, 'n');
    std::string nested = "[]";
    for (int i = 0; i < 20; ++i)
        nested = "[" + name + "]{" + nested + "}";
    const std::string element = "[" + name.substr(0, 60) + "]/";
    std::string nesting = "[n";
    while (nesting.size() < 511)
        nesting += element;
    EXPECT_EQ(failure<V_ScriptLoaderException_EmptyTag>(nested),
              "V_ScriptLoader: Tag brackets [ ] cannot\nbe empty: block [" +
                  ("[" + name.substr(0, 61) + "]/" + nesting.substr(2)).substr(0, 511) + "]!");
}

TEST_F(ScriptBlocks, FillTheFrameToItsLastByte) {
    // The root's name; one record, its name, two pointers, and the data with the text's terminating zero.
    const std::size_t around =
        sizeof "main.txt" + sizeof(ScriptBlock) + sizeof "a" + 2 * sizeof(char *) + sizeof "x=;";
    const std::string value(SCRIPT_BLOCK_MEMORYFRAME_SIZE - around, '1');
    EXPECT_EQ(tree("[a] x=" + value + ";"), "{a(x=" + value + ")}");
    const std::string message =
        "V_ScriptLoader: The frame memory allocator used by generateBlock() and generateContent() is out of "
        "memory. Increase SCRIPT_BLOCK_MEMORYFRAME_SIZE(=524288) in V_Scrip!";
    EXPECT_EQ(failure<V_ScriptLoaderException_OutOfBlockMemory>("[a] x=1" + value + ";"), message);
    EXPECT_EQ(failure<V_ScriptLoaderException_OutOfBlockMemory>("[a] " + std::string(5000000, ';')), message);

    // Names of every length put the records at every distance from an aligned place; data likewise.
    std::string content, expected;
    for (std::size_t i = 1; i < 1000; ++i) {
        const std::string name(i % 17 + 1, 'b');
        content += "[" + name + "]" + (i % 3 ? "v=" + name + ";" : "{}");
        expected += (i > 1 ? " " : "") + name + (i % 3 ? "(v=" + name + ")" : "");
    }
    EXPECT_EQ(tree(content), "{" + expected + "}");
}

TEST_F(ScriptBlocks, NestAsDeepAsTheFrameAllows) {
    const unsigned int depth =
        (SCRIPT_BLOCK_MEMORYFRAME_SIZE - sizeof "main.txt") / (sizeof(ScriptBlock) + 2);
    std::string content;
    for (unsigned int i = 0; i < depth; ++i)
        content += "[a]{";
    // A long text behind the opening brackets must not be searched once per level.
    const std::string wide = "//" + std::string(1000, 'x') + '\n' + std::string(depth, '}');
    write("main.txt", content + wide);
    {
        V_Script script("main.txt");
        while (script.count() == 1)
            script.lock(0);
        EXPECT_EQ(script.getIndent(), depth);
    }
    EXPECT_EQ(failure<V_ScriptLoaderException_OutOfBlockMemory>("[a]{" + content + wide + "}").substr(0, 40),
              "V_ScriptLoader: The frame memory allocat");
}

} // namespace
