// vl script, and the client that reads settings, run as a user runs them.

#include "tests/support/library_test.h"
#include "tests/support/program.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

class ScriptTool : public LibraryTest {
  protected:
    void pack(const std::filesystem::path &directory, const std::string &archive) const {
        std::filesystem::create_directories((root() / archive).parent_path());
        const Outcome outcome =
            runTool("archive create " + quoted(root() / archive) + " " + quoted(directory));
        EXPECT_EQ(outcome.status, 0) << outcome.output;
    }

    /// Runs a command on disk/, then on what pack has made of it, which must come to the same.
    Outcome script(const std::string &arguments) const {
        const auto runIn = [this](const char *directory, const std::string &command) {
            return runTool("script " + command, root() / directory);
        };
        Outcome disk = runIn("disk", arguments);
#if defined(_WIN32)
        std::replace(disk.output.begin(), disk.output.end(), '\\', '/'); // of paths on disk
#endif
        const Outcome archive = runIn("elsewhere", arguments + " --archive ../A.VAS");
        EXPECT_EQ(disk.status, archive.status);
        EXPECT_EQ(disk.output, archive.output);
        return disk;
    }
};

TEST_F(ScriptTool, ChecksScriptsAndPointsAtTheirMistakes) {
    writeFile(root() / "disk/sound.txt", "[a] x=1;");
    writeFile(root() / "disk/outer.txt", "[a] x=1;\n#include \"data/inner.txt\"\n[b] y;");
    writeFile(root() / "disk/data/inner.txt", "// wrong in line 5\n[wheel]\n{ [hub]\n\n  radius = 1 }");
    writeFile(root() / "disk/untagged.txt", "\n\n{ }");
    writeFile(root() / "elsewhere/data/inner.txt", "what an archive does not see");
    pack(root() / "disk", "A.VAS");

    EXPECT_EQ(script("check sound.txt").status, 0);
    EXPECT_EQ(script("check sound.txt").output, "");
    EXPECT_EQ(script("check gone.txt >/dev/null").status, 1);
    const Outcome outcome = script("check outer.txt Sound.txt ./untagged.txt");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output,
              "data/inner.txt:5: V_ScriptLoader: Statements separating semicolon missing inside block "
              "[[hub]/[wheel]/[outer.txt]]!\n"
              "untagged.txt:3: V_ScriptLoader: There can't be a nested block without tag inside block "
              "[[untagged.txt]]!\n");
    EXPECT_EQ(script("tree outer.txt 2>/dev/null").output, "") << "a mistake is no tree";
    EXPECT_EQ(runTool("script check x --archive " + quoted(root() / "disk/sound.txt")).output,
              "vl: " + (root() / "disk/sound.txt").string() + ": not an archive, or a damaged one\n");
}

TEST_F(ScriptTool, ShowsTreesAndTexts) {
    writeFile(root() / "disk/Car.txt",
              "#include <max.txt>\n[Car]{ [Top] speed = MAX; name=\"A  B\"; turbo; }");
    writeFile(root() / "disk/max.txt", "#define MAX 100 // top");
    writeFile(root() / "elsewhere/Car.txt", "what an archive does not see");
    pack(root() / "disk", "A.VAS");

    EXPECT_EQ(script("tree Car.txt").output, "Car.txt\n  [car]\n    [top]\n      speed = 100\n"
                                             "      name = A  B\n      turbo\n");
    EXPECT_EQ(json::parse(script("tree --json Car.txt").output),
              json::parse(R"({"name": "Car.txt", "blocks": [{"name": "car", "blocks": [
                  {"name": "top", "statements": [{"name": "speed", "value": "100"},
                  {"name": "name", "value": "A  B"}, {"name": "turbo", "value": null}]}]}]})"));
    const Outcome text = script("text car.txt");
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.output, " [car]{ [top] speed = 100; name=\"A  B\"; turbo; }\n");
}

TEST_F(ScriptTool, PacksWhatTheSettingsClientReads) {
    const std::filesystem::path scripts = VL_SOURCE_DIRECTORY "/examples/scripts";
    pack(scripts, "packed/A.VAS");
    const Outcome outcome = runExample("read_settings", quoted(root() / "packed"));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, runExample("read_settings", quoted(scripts)).output);
    for (const char *line : {"Welcome to the \"Garage\"; mind the step (gravity 9.81, at most 16 vehicles)\n",
                             "Roadster 'Comet': class s, 980.5 kg, centre (0, 0.35, -0.1), color ff2010\n",
                             " 1280x720, detail 75%, shadows 2048, gamma 2.2 (kept), fog (0.55, 0.6, 0.7), "})
        EXPECT_NE(outcome.output.find(line), std::string::npos) << outcome.output;

    writeFile(root() / "wrong/vehicles.txt", "[garage] gravity=fast; [vehicle]{}");
    const Outcome wrong = runExample("read_settings", quoted(root() / "wrong"));
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.output, "read_settings: V_Script: Can't parse assignment to variable \"gravity\"\n"
                            "in [garage]/[vehicles.txt]!\nAssignment: \"fast\"  Format:\"%f\"\n");
}

} // namespace
