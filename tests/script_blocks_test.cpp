// The block builder: the tree it makes of a text, each of its errors, the limit of the frame, and a
// straightforward recursive builder as judge.

#include "tests/support/memory_scripts.h"
#include "tests/support/script_test.h"

#include <memory>
#include <random>

namespace {

class ScriptBlocks : public ScriptTest {};

TEST_F(ScriptBlocks, FollowTheText) {
    const std::pair<const char *, const char *> cases[] = {
        {"// nothing", ""},
        {"[car] speed=100; gears=5;", "{car(speed=100;gears=5)}"},
        {"[a]{ [b] x=1; [c]{ } }", "{a{b(x=1) c}}"},
        {"[a]{[b]{[c]x=1;}[d]{}}[e]y;[a]{}", "{a{b{c(x=1)} d} e(y) a}"},
        {"[Top Speed] x;", "{top speed(x)}"},
        {"[\"A B\"] x;", "{\"A B\"(x)}"},
        {"[a] flag;", "{a(flag)}"},
        {"[a] ;; x=1;;", "{a(x=1)}"},
        {"[a];", "{a}"},
        {"[a] x=1; x=2; X = 3 ;", "{a(x=1;x=2;x=3)}"},
        {"[a] pos = (1, 2, 3);", "{a(pos=(1,2,3))}"},
        {"[a] name = \"Big Car\" 2 \" x\";", "{a(name=Big Car2 x)}"},
        {"[a] s = \"say \\\"hi\\\"\"; t=\"\"; u=\\x;", "{a(s=say \\\"hi\\\";t=;u=\\x)}"},
        {"[a] s=\"a=b;c\"; t=\"[x]{}\"; [b] u=1;", "{a(s=a=b;c;t=[x]{}) b(u=1)}"},
        {"[a]{ [b] s=\"}\"; }", "{a{b(s=})}}"},
    };
    for (const auto &[content, expected] : cases) {
        EXPECT_EQ(tree(content), expected) << content;
    }
    // Zero bytes between items are nothing; in a text they end it.
    const char zeros[] = "\0[a]x=1\0;y\0=2;\0[b\0c]{\0}";
    EXPECT_EQ(tree(std::string(zeros, sizeof zeros - 1)), "{a(x=1;y=2) b}");
}

TEST_F(ScriptBlocks, NameTheBlockOfEachError) {
    const std::pair<const char *, const char *> cases[] = {
        {"[a]{ []x=1; }", "Tag brackets [ ] cannot\nbe empty: block [[a]/[main.txt]]!"},
        {"[x]{ [a] }", "Either { } nesting or data must\nfollow each tag in block [[x]/[main.txt]]!"},
        {"[a] [b] x=1;", "Either { } nesting or data must\nfollow each tag in block [[main.txt]]!"},
        {"{ }", "There can't be a nested block\nwithout tag inside block [[main.txt]]!"},
        {"[a] x=1; { }", "There can't be a nested block\nwithout tag inside block [[main.txt]]!"},
        {"[a]{ x=1; }", "There can't be data\nwithout tag inside block [[a]/[main.txt]]!"},
        {"\" \"", "There can't be data\nwithout tag inside block [[main.txt]]!"},
        {"[a] x=1", "Statements separating semicolon\nmissing inside block [[a]/[main.txt]]!"},
        {"[a] x=1; y", "Statements separating semicolon\nmissing inside block [[a]/[main.txt]]!"},
        {"[a] x=1; [b]", "Statements separating semicolon\nmissing inside block [[b]/[main.txt]]!"},
        {"[a] \"x;\";\"", "Statements separating semicolon\nmissing inside block [[a]/[main.txt]]!"},
        {"[a] =1;", "Left side of an assignment\noperator = is missing in block [[a]/[main.txt]]!"},
        {"[a] x=1; y=2 z=3;", "Only single assignments are supported!\nCheck \"y=...\" in block "
                              "[[a]/[main.txt]].\n(Semicolon missing?)"},
        {"[a] x==1;", "Only single assignments are supported!\nCheck \"x=...\" in block "
                      "[[a]/[main.txt]].\n(Semicolon missing?)"},
        {"[a] x= ;", "Right side of assignment \"x=\"\nin block [[a]/[main.txt]] cannot be empty!"},
        {"[a] my var=1;", "Left side of an assignment can't\ncontain spaces! Check \"my=...\" in block "
                          "[[a]/[main.txt]]."},
        {"[a] \"x\"y=1;", "Left side of an assignment can't\ncontain spaces! Check \"\"=...\" in block "
                          "[[a]/[main.txt]]."},
        {"[a] \"=\";x;", "Right side of an assignment can't\ncontain spaces! Check \"\"=...\" in block "
                         "[[a]/[main.txt]]."},
        // Brackets in definitions are not checked, so what they leave open is found here.
        {"#define t [\n t x;", "Either { } nesting or data must\nfollow each tag in block [[main.txt]]!"},
        {"#define o {\n[a] o [b] x;",
         "Either { } nesting or data must\nfollow each tag in block [[main.txt]]!"},
        {"#define c }\n[a]{ [b] x; c [c] y; }",
         "There can't be data\nwithout tag inside block [[main.txt]]!"},
        {"#define c }\nc", "There can't be data\nwithout tag inside block [[main.txt]]!"},
    };
    for (const auto &[content, message] : cases) {
        EXPECT_EQ(failure<V_ScriptLoaderException>(content), std::string("V_ScriptLoader: ") + message)
            << content;
        EXPECT_EQ(tree("[a] x=1;"), "{a(x=1)}") << "after " << content;
    }
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

// ---- The judge --------------------------------------------------------------------------------------------

/// Builds the tree by recursion and by searching anew at every level; gives its description, or the first
/// words of the error.
class PlainBuilder {
  public:
    explicit PlainBuilder(std::string text) : m_text(std::move(text)) {}

    std::string build() {
        try {
            const std::string children = region(0, m_text.size());
            return children.empty() ? "" : "{" + children + "}";
        } catch (const char *error) {
            return error;
        }
    }

  private:
    static bool blank(char c) { return c == ' '; }
    void blanks(std::size_t &p, std::size_t end) const {
        while (p < end && blank(m_text[p]))
            ++p;
    }
    bool escaped(std::size_t p) const { return m_text.compare(p, 2, "\\\"") == 0; }

    std::string region(std::size_t p, std::size_t end) {
        std::string children;
        for (;;) {
            while (p < end && (blank(m_text[p]) || m_text[p] == 0))
                ++p;
            if (p >= end)
                return children;
            if (m_text[p] == '{')
                throw "There can't be a nested block";
            if (m_text[p] != '[')
                throw "There can't be data";
            const std::size_t close = m_text.find(']', p);
            if (close == p + 1)
                throw "Tag brackets [ ] cannot";
            std::size_t q = close + 1;
            if (close < end)
                blanks(q, end);
            if (close >= end || q >= end || m_text[q] == '}' || m_text[q] == '[')
                throw "Either { } nesting or data must";
            children += (children.empty() ? "" : " ") + m_text.substr(p + 1, close - p - 1);
            p = m_text[q] == '{' ? nesting(q + 1, end, children) : data(q, end, children);
        }
    }
    std::size_t nesting(std::size_t start, std::size_t end, std::string &out) {
        bool marked = false;
        int depth = 1;
        for (std::size_t p = start; p < end; ++p) {
            if (escaped(p))
                ++p;
            else if (m_text[p] == '"')
                marked = !marked;
            else if (!marked && m_text[p] == '{')
                ++depth;
            else if (!marked && m_text[p] == '}' && --depth == 0) {
                const std::string children = region(start, p);
                out += children.empty() ? "" : "{" + children + "}";
                return p + 1;
            }
        }
        throw "Either { } nesting or data must";
    }
    std::size_t data(std::size_t start, std::size_t end, std::string &out) {
        std::size_t p = start;
        bool marked = false;
        unsigned int semicolons = 0;
        for (; p < end; ++p) {
            if (escaped(p))
                ++p;
            else if (m_text[p] == '"')
                marked = !marked;
            else if (!marked && std::string_view("[{}").find(m_text[p]) != std::string_view::npos)
                break;
            else
                semicolons += !marked && m_text[p] == ';';
        }
        p = std::min(p, end);
        const std::string content = m_text.substr(start, p - start);
        const std::size_t last = content.find_last_not_of(std::string(" \0", 2));
        if (semicolons == 0 || last == std::string::npos || content[last] != ';')
            throw "Statements separating semicolon";
        out += statements(content, semicolons);
        return p;
    }
    static std::string statements(const std::string &s, unsigned int count) {
        std::string out;
        std::size_t q = 0;
        const auto skip = [&] {
            while (q < s.size() && blank(s[q]))
                ++q;
        };
        for (unsigned int i = 0; i < count; ++i) {
            skip();
            if (q >= s.size())
                throw "Statements separating semicolon";
            if (s[q] == '=')
                throw "Left side of an assignment\noperator";
            if (s[q] == ';') {
                ++q;
                continue;
            }
            const std::size_t left = q;
            while (q < s.size() && s[q] != '=' && s[q] != ';' && !blank(s[q])) {
                q += s.compare(q, 2, "\\\"") == 0 ? 2 : 1;
                if (s[q - 1] == '"' && (q - left < 2 || s[q - 2] != '\\'))
                    break;
            }
            const std::string name = s.substr(left, q - left);
            skip();
            if (q >= s.size())
                throw "Statements separating semicolon";
            const char separator = s[q++];
            skip();
            if (separator != '=' && separator != ';')
                throw "Left side of an assignment can't";
            out += (out.empty() ? "" : ";") + name;
            if (separator == ';')
                continue;
            bool marked = false;
            const std::size_t right = q;
            std::string value;
            for (; q < s.size() && (marked || s[q] != ';'); ++q) {
                if (s.compare(q, 2, "\\\"") == 0) {
                    value += "\\\"";
                    ++q;
                } else if (s[q] == '"')
                    marked = !marked;
                else if (!marked && s[q] == '=')
                    throw "Only single assignments are supported!";
                else if (marked || !blank(s[q]))
                    value += s[q];
            }
            if (q == right)
                throw "Right side of assignment ";
            if (q >= s.size())
                throw "Right side of an assignment can't";
            ++q;
            out += '=' + value;
        }
        return out.empty() ? "" : "(" + out + ")";
    }

    std::string m_text;
};

TEST_F(ScriptBlocks, AgreeWithAStraightforwardBuilder) {
    // Brackets come through definitions, too, which the preprocessor lets pass unbalanced.
    const std::string definitions = "#define o {\n#define c }\n#define l [t\n#define r ]\n#define q \\\"\n";
    const char *const pieces[] = {
        "o",   "c",     "l",  "r",     "q",     "[a]",   "[b]{", "}",     "x=1;",  "[\"]",
        ";",   "y;",    "=",  "z=",    "\"v\"", "\" \"", "\\\"", "\"{\"", "\"}\"", "[c]w=\"1;\";",
        "[d]", "o [e]", "c;", "[f]{}", "\"]\""};
    MemoryScripts files;
    std::mt19937 random(7);
    int built = 0, failed = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string content = definitions;
        int open = 0;
        for (std::size_t n = random() % 14; n != 0; --n) {
            std::string piece = pieces[random() % std::size(pieces)];
            if (piece == "}" && open-- == 0)
                piece = "c", open = 0;
            open += piece == "[b]{";
            content += piece + " ";
        }
        content += std::string(static_cast<std::size_t>(open), '}');
        if (random() % 4 == 0)
            content += '"';

        files.m_files["main.txt"] = content;
        std::string preprocessed;
        try {
            preprocessed = text();
        } catch (V_ScriptLoaderException *) {
            continue; // a marking that ends where the piece did not mean it to
        }
        const std::string expected = PlainBuilder(preprocessed + '\0').build();
        try {
            V_Script script("main.txt");
            ASSERT_EQ(describeBlock(script), expected) << preprocessed;
            ++built;
        } catch (V_ScriptLoaderException *exception) {
            const std::string message = exception->getErrorMessage();
            ASSERT_EQ(message.substr(0, 16 + expected.size()), "V_ScriptLoader: " + expected) << preprocessed;
            ++failed;
        }
    }
    EXPECT_GT(built, 500);
    EXPECT_GT(failed, 500);
}

} // namespace
