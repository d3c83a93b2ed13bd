// V_Script: the cursor, the queries and the locks.

#include "tests/support/script_test.h"

namespace {

class ScriptQueries : public ScriptTest {
  protected:
    ScriptQueries() {
        write("Vehicles.txt",
              "[car]{ [wheel] r=1; [Big Wheel]{ } [wheel] r=2; s; }\n[bike] x=1; y=2; x=3; y;");
        m_pScript = std::make_unique<V_Script>("Vehicles.txt");
    }

    std::unique_ptr<V_Script> m_pScript;
};

TEST_F(ScriptQueries, AnswerForTheCurrentBlockAndItsChildren) {
    V_Script &script = *m_pScript;
    EXPECT_STREQ(script.staticNesting(), "[Vehicles.txt]");
    EXPECT_EQ(script.getLvalue(0), nullptr);
    EXPECT_EQ(script.getBlockName(2), nullptr);
    for (unsigned int i = 0; i < 3; ++i) {
        EXPECT_EQ(script.isParent(i), i == 0);
        EXPECT_EQ(script.isData(i), i == 1);
    }
    EXPECT_TRUE(script.isParent("[CAR]", 0));
    EXPECT_FALSE(script.isParent("car", 1));
    EXPECT_TRUE(script.isData("bike", 0));

    script.lock("car", 0);
    EXPECT_STREQ(script.getScriptName(), "Vehicles.txt");
    EXPECT_EQ(script.getIndent(), 1u);
    EXPECT_EQ(script.getBlockIndex("[WHEEL]", 1), 2u);
    EXPECT_EQ(script.getBlockIndex("big wheel", 0), 1u);
    EXPECT_FALSE(script.isParent("[big wheel]", 0));
    EXPECT_FALSE(script.isData("[big wheel]", 0));
}

TEST_F(ScriptQueries, CompareWholeNamesWithoutCase) {
    V_Script &script = *m_pScript;
    for (const char *name : {"car", "CAR", "[car]", "[Car]"})
        EXPECT_EQ(script.count(name), 1u) << name;
    for (const char *name : {"ca", "cars", "[ca]", "[cars]", "[car", "car]", "", "[]", "[", "[[car]]", "*"})
        EXPECT_EQ(script.count(name), 0u) << name;
}

TEST_F(ScriptQueries, CountStatementsOfOneNameFromTheLast) {
    V_Script &script = *m_pScript;
    const V_ScriptLock lock(&script, "bike", 0);
    EXPECT_EQ(script.countLvalues(), 4u);
    EXPECT_EQ(script.countLvalues("X"), 2u);
    EXPECT_EQ(script.countLvalues("[x]"), 0u);
    EXPECT_STREQ(script.getAssignment("X", 0), "3");
    EXPECT_STREQ(script.getAssignment("x", 1), "1");
    EXPECT_EQ(script.getAssignment("x", 2), nullptr);
    EXPECT_EQ(script.getAssignment("y", 0), nullptr) << "the last one has no right side";
    EXPECT_STREQ(script.getAssignment("y", 1), "2");
    EXPECT_EQ(script.getAssignment(4), nullptr);
    EXPECT_EQ(script.getLvalue(4), nullptr);
}

TEST_F(ScriptQueries, MoveTheCursorByLocks) {
    V_Script &script = *m_pScript;
    EXPECT_FALSE(script.unlock());
    {
        const V_ScriptLock car(&script, 0);
        {
            const V_ScriptLock wheel(&script, "wheel", 1);
            EXPECT_STREQ(script.staticNesting(), "[wheel]/[car]/[Vehicles.txt]");
            EXPECT_STREQ(script.getAssignment("r", 0), "2");
        }
        EXPECT_STREQ(script.getBlockName(), "car");
        EXPECT_EQ(messageOf<V_ScriptException_BlockNotFound>([&] { V_ScriptLock(&script, 3); }),
                  "V_Script: There is no block number 3\nin [car]/[Vehicles.txt]!");
        EXPECT_EQ(
            messageOf<V_ScriptException_NamedBlockNotFound>([&] { V_ScriptLock(&script, "[Wheel]", 2); }),
            "V_Script: There is no block number 2 named \"[Wheel]\"\nin [car]/[Vehicles.txt]!");
        EXPECT_EQ(messageOf<V_ScriptException_NamedBlockNotFound>([&] { script.getBlockIndex("x", 7); }),
                  "V_Script: There is no block number 7 named \"x\"\nin [car]/[Vehicles.txt]!");
        EXPECT_STREQ(script.getBlockName(), "car");
    }
    EXPECT_FALSE(script.unlock()) << "it is at the root again";
}

/// What a string marking kept in capitals, no name matches, nor part of one.
TEST_F(ScriptQueries, TellMarkedNamesFromWhatBeginsLikeThem) {
    write("m.txt", "[\"Alpha\"] x=1; [\"Beta Gamma\"]{ [q] y=2; }");
    V_Script script("m.txt");
    EXPECT_THROW(script.lock("\"B!!nonsense", 0), V_ScriptException_NamedBlockNotFound *);
    for (const char *name : {"\"Axyz", "\"Alpha\"", "\"", "[\"Axyz]", "[\"Alpha\"]"})
        EXPECT_EQ(script.count(name), 0u) << name;
    const V_Script::Blocks table[] = {{"\"A", 0, 1}, {"\"B?", 0, 1}, {}};
    EXPECT_THROW(script.blockCheck(table, false), V_ScriptException_UnknownBlock *);
}

} // namespace
