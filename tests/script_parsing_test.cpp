// Typed parsing: tables, the conversions and their formats, numbers beside the standard library's, and what
// fails.

#include "tests/support/memory_scripts.h"
#include "tests/support/script_test.h"

#include <random>

namespace {

class ScriptParsing : public ScriptTest {
  protected:
    ~ScriptParsing() override { V_Script::setIgnoreUnknownVariables(false); }

    /// Parses the block [a] with these statements by one row named x; "" or the message of the failure.
    std::string parse(const std::string &statements, const V_Script::Format &format, void *data,
                      const char *defaultText = nullptr) {
        m_files.m_files["s.txt"] = "[a] " + statements;
        vl::EnvironmentScript script("s.txt", {&m_files});
        const V_Script::Variables table[] = {{"x", data, defaultText, &format}, {}};
        try {
            script.parse(table, "a", 0, true);
            return "";
        } catch (V_ScriptException *exception) {
            return exception->getErrorMessage();
        }
    }
    template <class T>
    ::testing::AssertionResult gives(const std::string &text, const V_Script::Format &format, T expected) {
        // Not aligned, and the neighbours must stay as they are.
        unsigned char memory[sizeof(T) + 2];
        std::memset(memory, 0xEE, sizeof memory);
        const std::string message = parse("x=" + text + ";", format, memory + 1);
        T value;
        std::memcpy(&value, memory + 1, sizeof value);
        if (message.empty() && value == expected && memory[0] == 0xEE && memory[sizeof(T) + 1] == 0xEE)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << text << " gave " << value << ' ' << message;
    }
    ::testing::AssertionResult fails(const std::string &text, const V_Script::Format &format) {
        char memory[64] = {};
        return ::testing::AssertionResult(parse("x=" + text + ";", format, memory).find("Can't parse") !=
                                          std::string::npos);
    }

    void expectFailures(const V_Script::Format &format, std::initializer_list<const char *> texts) {
        for (const char *text : texts)
            EXPECT_TRUE(fails(text, format)) << text;
    }

    MemoryScripts m_files;
};

TEST_F(ScriptParsing, TakesStatementsThenDefaults) {
    m_files.m_files["main.txt"] = "[car] Speed=2.5; name=\"Big \\\"Car\\\"; 1\";";
    vl::EnvironmentScript script("main.txt", {&m_files});
    float speed = 0, drag = 7;
    int gears = 42;
    char name[32] = "", horn[8] = "";
    const V_Script::Variables table[] = {
        {"SPEED", &speed, "1", &V_Script::t_float},   {"gears", &gears, "5", &V_Script::t_int},
        {"name", name, nullptr, &V_Script::t_string}, {"horn", horn, "\"a; b\"", &V_Script::t_string},
        {"drag", &drag, "25%", &V_Script::t_float},   {}};
    script.lock("car", 0);
    script.parse(table, false);
    EXPECT_EQ(gears, 42);
    EXPECT_STREQ(script.getBlockName(), "car");
    script.unlock();
    script.parse(table, 0u, true);
    EXPECT_EQ(speed, 2.5f);
    EXPECT_EQ(gears, 5);
    EXPECT_STREQ(name, "Big \"Car\"; 1");
    EXPECT_STREQ(horn, "a; b");
    EXPECT_EQ(drag, 0.25f);
}

TEST_F(ScriptParsing, ReportsWhatATableDoesNotAllow) {
    const auto message = [this](const std::string &statements, const char *defaultText = nullptr) {
        int value = 0;
        return parse(statements, V_Script::t_int, &value, defaultText);
    };
    const std::string in = "\nin [a]/[s.txt]!";
    EXPECT_EQ(message("x=1; Why=2;"), "V_Script: Unknown variable \"why\"" + in);
    EXPECT_EQ(message("x=1; x=2; y=1;"), "V_Script: Unknown variable \"y\"" + in);
    EXPECT_EQ(message("x=1; x=2;"), "V_Script: Double variables named \"x\"" + in);
    EXPECT_EQ(message("x;", "1"), "V_Script: Variables \"x\" doesn't have a default value" + in +
                                      "\nYou have to assign a value to it.");
    EXPECT_EQ(message(";"), message("x;"));
    EXPECT_EQ(message("x=maybe;"), "V_Script: Can't parse assignment to variable \"x\"" + in +
                                       "\nAssignment: \"maybe\"  Format:\"%d\"");
    EXPECT_EQ(message(";", "1 "), "V_Script: Can't parse assignment to variable \"x\"" + in +
                                      "\nAssignment: \"1 \"  Format:\"%d\"");
    V_Script::setIgnoreUnknownVariables(true);
    EXPECT_TRUE(V_Script::getIgnoreUnknownVariables());
    EXPECT_EQ(message("z=2; x=1; y;"), "");
    EXPECT_EQ(message("x=1; x=2;"), "V_Script: Double variables named \"x\"" + in);

    vl::EnvironmentScript script("s.txt", {&m_files});
    int first = 0, second = 0;
    const V_Script::Variables table[] = {
        {"y", &first, "8", &V_Script::t_int}, {"x", &second, nullptr, &V_Script::t_float3}, {}};
    EXPECT_THROW(script.parse(table, 0u, true), V_ScriptException_DoubleVariable *);
    EXPECT_THROW(script.parse(table, 1, true), V_ScriptException_BlockNotFound *);
    EXPECT_THROW(script.parse(table, "b", 0, true), V_ScriptException_NamedBlockNotFound *);
    EXPECT_STREQ(script.getBlockName(), "s.txt");
    EXPECT_EQ(message(";", "7"), "");
    vl::EnvironmentScript later("s.txt", {&m_files});
    EXPECT_THROW(later.parse(table, "a", 0, true), V_ScriptException_NoDefault *);
    EXPECT_EQ(first, 8) << "rows before the failure are converted";
}

TEST_F(ScriptParsing, ConvertsWordsAndText) {
    for (const char *word : {"true", "YES", "\"On\""})
        EXPECT_TRUE(gives(word, V_Script::t_int, 1));
    for (const char *word : {"False", "no", "OFF"})
        EXPECT_TRUE(gives(word, V_Script::t_unsigned, 0u));
    EXPECT_TRUE(gives("ff", V_Script::t_hex, 255u));
    EXPECT_TRUE(gives("FF", V_Script::t_hex, 255u));
    EXPECT_TRUE(gives("%", V_Script::t_char, '%'));
    EXPECT_TRUE(gives("4000000000", V_Script::t_unsigned, 4000000000u));
    expectFailures(V_Script::t_int, {"ya", "\"\"", "tru", "-yes", "12 3.5", "1%"});
    expectFailures(V_Script::t_hex, {"\"FF\"", "0x10", "100000000", "-1", "\"\""});
    expectFailures(V_Script::t_float3, {"(1,2)", "(1,2,3)x", "1,2,3", "(1,2,3", "(1,,3)"});
    expectFailures(V_Script::t_char, {"ab", "\"\""});
}

TEST_F(ScriptParsing, FollowsTheFormatsOfItsClients) {
    struct {
        char name[8];
        int number;
        char letter;
        char rest[9];
    } record;
    const auto with = [&](const char *format, std::initializer_list<int> strides, const char *text) {
        std::memset(&record, 0xEE, sizeof record);
        const V_Script::Format client = {format, strides.begin()};
        return parse("x=" + std::string(text) + ";", client, &record).empty();
    };
    EXPECT_TRUE(with("%s:%i/%c%8s", {8, 4, 1, 9, 0}, "Wheel:-7/q\"rest: x\""));
    EXPECT_STREQ(record.name, "wheel");
    EXPECT_EQ(record.number, -7);
    EXPECT_EQ(record.letter, 'q');
    EXPECT_STREQ(record.rest, "rest: x");

    // A text followed by another value must fit before it; a width bounds any.
    EXPECT_TRUE(with("%s:%d", {8, 0}, "1234567:5"));
    EXPECT_FALSE(with("%s:%d", {8, 0}, "12345678:5"));
    EXPECT_TRUE(with("%7s", {0}, "1234567"));
    EXPECT_FALSE(with("%7s", {0}, "12345678"));
    EXPECT_STREQ(record.name, "1234567");
    EXPECT_EQ(record.number, static_cast<int>(0xEEEEEEEE));
    EXPECT_TRUE(with("%99999999999999999999999s", {0}, "1234567"));
    EXPECT_TRUE(with("%0s", {0}, "\"\""));

    // The array of strides ends: no conversion after that has a place.
    EXPECT_TRUE(with("%d", {0}, "1"));
    EXPECT_TRUE(with("%d,%d", {4, 0}, "1,2"));
    EXPECT_FALSE(with("%d,%d,%d", {4, 0}, "1,2,3"));

    for (const char *format : {"%%", "%p", "%3d", "%9", "%ss", "%D", "%c%", "x%d"})
        EXPECT_FALSE(with(format, {4, 4, 0}, "1")) << format;
    EXPECT_TRUE(with("%", {0}, "%"));
    EXPECT_TRUE(with("%d%", {0}, "1%"));
    EXPECT_TRUE(with("", {0}, "\"\""));
    EXPECT_FALSE(with("a\"", {0}, "\"a\\\"\"")) << "a pair is kept as two characters";
}

TEST_F(ScriptParsing, ReadsNumbersAsTheStandardConversionsDo) {
    EXPECT_TRUE(gives("12ab", V_Script::t_int, 12));
    EXPECT_TRUE(gives("+5-3", V_Script::t_int, 5));
    EXPECT_TRUE(gives("-1", V_Script::t_unsigned, 4294967295u));
    EXPECT_TRUE(gives("-4294967295", V_Script::t_unsigned, 1u));
    EXPECT_TRUE(gives("-2147483648", V_Script::t_int, -2147483647 - 1));
    expectFailures(V_Script::t_int,
                   {"2147483648", "-2147483649", "99999999999999999999", "+-5", "--5", "+", "\"\""});
    expectFailures(V_Script::t_unsigned, {"4294967296", "-4294967296", "-"});

    EXPECT_TRUE(gives("1e3", V_Script::t_float, 1000.0f));
    EXPECT_TRUE(gives("+.5", V_Script::t_float, 0.5f));
    EXPECT_TRUE(gives("-5.", V_Script::t_float, -5.0f));
    EXPECT_TRUE(gives("1.5.2-e", V_Script::t_float, 1.5f));
    EXPECT_TRUE(gives("1e2e", V_Script::t_float, 100.0f));
    EXPECT_TRUE(gives("-250%", V_Script::t_float, -2.5f));
    EXPECT_TRUE(gives("3.4028235e38", V_Script::t_float, 3.4028235e38f));
    expectFailures(V_Script::t_float, {"1e", "1e+", "1E-", ".", "+", "e5", "-.e5", "+-1", "1e39", "-1e39",
                                       "1e-99", "inf", "nan", "1%%", "\"\""});

    std::mt19937 random(11);
    const auto token = [&](const std::string &alphabet) {
        std::string result;
        for (std::size_t n = 1 + random() % 9; n != 0; --n)
            result += alphabet[random() % alphabet.size()];
        return result;
    };
    for (int i = 0; i < 4000; ++i) {
        const std::string integer = token("0123456789012345678901234567+-x");
        int expected = 0;
        const bool isInteger = std::sscanf(integer.c_str(), "%d", &expected) == 1;
        EXPECT_TRUE(isInteger ? gives(integer, V_Script::t_int, expected) : fails(integer, V_Script::t_int))
            << integer;

        // Exponents apart: the C library lets one without digits pass.
        const std::string real = token("0123456789012345678901234567+-.");
        float value = 0;
        const bool isReal = std::sscanf(real.c_str(), "%f", &value) == 1;
        EXPECT_TRUE(isReal ? gives(real, V_Script::t_float, value) : fails(real, V_Script::t_float)) << real;
    }
}

} // namespace
