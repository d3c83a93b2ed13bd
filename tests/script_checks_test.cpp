// Block checks: the rows of a table against the children of a block.

#include "tests/support/script_test.h"

namespace {

class ScriptChecks : public ScriptTest {
  protected:
    /// "" or the message with which the children of [car] fail the table.
    std::string check(const std::string &children, const V_Script::Blocks *table, bool allowUnknown = false) {
        write("s.txt", "[car]{" + children + "}");
        V_Script script("s.txt");
        std::string message;
        try {
            script.blockCheck(table, "[Car]", 0, allowUnknown);
        } catch (V_ScriptException *exception) {
            message = exception->getErrorMessage();
        }
        EXPECT_STREQ(script.getBlockName(), "s.txt");
        return message;
    }
};

const V_Script::Blocks vehicle[] = {{"[Wheel]", 2, 4}, {"engine", 1, 1}, {"bomb", 0, 0}, {}};
const std::string in = "[car]/[s.txt]!";

TEST_F(ScriptChecks, AcceptWhatTheTableAllows) {
    EXPECT_EQ(check("[wheel]{}[WHEEL] x;[engine]{}[wheel]{}", vehicle), "");
    EXPECT_EQ(check("[wheel]{}[wheel]{}[engine]{}[seat]{}", vehicle, true), "");
    const V_Script::Blocks none[] = {{"x", 0, 9}, {}};
    EXPECT_EQ(check("", none), "");
    EXPECT_EQ(check("", none + 1), "");
}

TEST_F(ScriptChecks, ReportTheFirstViolation) {
    const std::string wheel = "V_Script: Block \"[Wheel]\" has to appear at ";
    EXPECT_EQ(check("[wheel]{}[seat]{}[door]{}", vehicle),
              "V_Script: A block \"seat\" should not exist\nin " + in);
    EXPECT_EQ(check("[x]{}", vehicle + 3), "V_Script: A block \"x\" should not exist\nin " + in);
    EXPECT_EQ(check("[wheel]{}", vehicle), wheel + "least\n2 times in " + in);
    EXPECT_EQ(check("[wheel]{}[wheel]{}[wheel]{}[wheel]{}[wheel]{}", vehicle),
              wheel + "maximum\n4 times in " + in);
    EXPECT_EQ(check("[wheel]{}[wheel]{}[engine]{}[bomb]{}", vehicle, true),
              "V_Script: Block \"bomb\" has to appear at maximum\n0 times in " + in);
}

TEST_F(ScriptChecks, FindTheBlockAsLocksDo) {
    write("s.txt", "[car]{[wheel]{}}");
    V_Script script("s.txt");
    EXPECT_THROW(script.blockCheck(vehicle, false), V_ScriptException_UnknownBlock *);
    EXPECT_THROW(script.blockCheck(vehicle, 0u, false), V_ScriptException_TooFewBlocks *);
    EXPECT_THROW(script.blockCheck(vehicle, 1u, false), V_ScriptException_BlockNotFound *);
    EXPECT_STREQ(script.getBlockName(), "s.txt");
}

} // namespace
