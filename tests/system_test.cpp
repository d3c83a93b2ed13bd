// The system object: start-up and shutdown, routines, the log, V_STR.

#include "tests/support/failing_allocation.h"
#include "tests/support/library_test.h"

#include <numeric>
#include <vector>

namespace {

std::string calls;
std::vector<std::string> texts;

/// A started library whose log goes to a directory of the test.
class System : public ::testing::Test {
  protected:
    System() {
        calls.clear();
        texts.clear();
        V_Memory::resetNewDeleteCounts();
        m_pLibrary = std::make_unique<V_VantorInit>();
        std::filesystem::current_path(m_directory.path());
    }
    ~System() override {
        stop();
        std::filesystem::current_path(std::filesystem::temp_directory_path());
        EXPECT_EQ(V_Memory::getNewCount(), V_Memory::getDeleteCount());
    }
    void stop() { m_pLibrary.reset(); }

    /// The log's text; "(none)" when there is none.
    std::string log() const {
        std::string text = "(none)";
        for (const auto &entry : std::filesystem::directory_iterator(m_directory.path())) {
            EXPECT_EQ(text, "(none)") << "a second log";
            EXPECT_EQ(entry.path().filename().string().substr(0, 7), "verbose");
            text = readText(entry.path());
        }
        return text;
    }

    static void mirrorToTexts() {
        Sys->setVerboseCallback([](const char *text) { texts.emplace_back(text); });
    }

    TemporaryDirectory m_directory;
    std::unique_ptr<V_VantorInit> m_pLibrary;
};

const std::string doubleLine(78, '=');
constexpr std::size_t headerLength =
    2 + 24 + 1 + 78 + 2; // "\n ", the date with its line end, the line, "\n\n"

void routineA() { calls += 'A'; }
void routineB() { calls += 'B'; }
void routineC() {
    calls += 'C';
    EXPECT_EQ(File, nullptr); // the file system is gone,
    Sys->verbose("C");        // the log is not
}
void removesItself() {
    calls += 'R';
    Sys->remove(removesItself);
    Sys->add(routineA, "added while running, perhaps where the removed record lay");
}
void addsOnce() {
    calls += '+';
    if (calls.find('B') == std::string::npos)
        Sys->add(routineB, nullptr);
}

TEST_F(System, RoutinesRunLastFirstAtTheLastShutdown) {
    V_System *const first = Sys;
    { const V_VantorInit inner; }
    EXPECT_EQ(Sys, first);
    EXPECT_EQ(Sys->add(routineA, "a"), 1);
    EXPECT_EQ(Sys->add(routineB, nullptr), 1);
    EXPECT_EQ(Sys->add(routineA, "again"), 0);
    EXPECT_EQ(Sys->add(routineC, "c"), 1);
    EXPECT_EQ(Sys->remove(routineB), 1);
    EXPECT_EQ(Sys->remove(routineB), 0);
    EXPECT_EQ(Sys->add(routineB, "b"), 1);
    stop();
    EXPECT_EQ(calls, "BCA");
    EXPECT_EQ(Sys, nullptr);
    EXPECT_EQ(log().substr(log().size() - 1), "C");
}

TEST_F(System, RoutinesMayAddAndRemoveWhileTheyRun) {
    Sys->add(removesItself, "removes itself");
    Sys->add(addsOnce, nullptr);
    stop();
    EXPECT_EQ(calls, "+B+RA");
}

TEST_F(System, AddReportsExhaustedMemory) {
    const int failures = failEachAllocation<V_MemoryException_Allocation *>(
        [] {
            Sys->add(routineA, "name");
            Sys->remove(routineA);
        },
        [] { EXPECT_EQ(Sys->remove(routineA), 0); });
    EXPECT_EQ(failures, 2);
    --V_Memory::sm_iNewCount; // the record that was not obtained has counted, too
}

TEST_F(System, TheFirstTextIsPrecededByTheDate) {
    mirrorToTexts();
    EXPECT_EQ(log(), "(none)");
    Sys->verbose("%d", 5);
    ASSERT_EQ(texts.size(), 4u);
    EXPECT_EQ(texts[0].size(), 27u);
    EXPECT_EQ(texts[0].substr(0, 2) + texts[0].back(), "\n \n");
    EXPECT_EQ(texts[1] + texts[2] + texts[3], doubleLine + "\n\n5");
    EXPECT_EQ(log(), texts[0] + texts[1] + texts[2] + "5");
    Sys->verbose("%s", std::string(2000, 'x').c_str());
    EXPECT_EQ(texts[4], std::string(1023, 'x'));
    EXPECT_NE(Sys->setVerboseCallback(nullptr), nullptr);
    const std::string before = log();
    stop();
    EXPECT_EQ(log(), before + doubleLine + "\n\n");
}

TEST_F(System, TheLogIsAppendedToClearedAndCeasedWithoutMemory) {
    Sys->verbose("old");
    stop();
    m_pLibrary = std::make_unique<V_VantorInit>();
    std::filesystem::current_path(m_directory.path());
    Sys->verbose("new");
    EXPECT_NE(log().find("old"), std::string::npos);
    {
        const FailingAllocation fault(0);
        Sys->clearVerbose();
        Sys->verbose("%s", "fresh");
        EXPECT_FALSE(FailingAllocation::happened());
    }
    EXPECT_EQ(log().size(), headerLength + 5);
    Sys->ceaseVerbose(0);
    Sys->verbose("lost");
    EXPECT_EQ(log().size(), headerLength + 5);
    Sys->ceaseVerbose(1);
    Sys->clearVerbose();
    Sys->verbose("lost");
    stop();
    EXPECT_EQ(log(), "(none)");
}

TEST_F(System, TheLogStaysTheFileThatWasOpened) {
    std::filesystem::current_path(m_directory.path());
    Sys->verbose("old");
    const TemporaryDirectory elsewhere;
    std::filesystem::current_path(elsewhere.path());
    Sys->clearVerbose();
    Sys->verbose("new");
    EXPECT_EQ(log().size(), headerLength + 3);
    EXPECT_TRUE(std::filesystem::is_empty(elsewhere.path()));
    Sys->ceaseVerbose(1);
    EXPECT_EQ(log(), "(none)");
    std::filesystem::current_path(m_directory.path());
}

TEST_F(System, AnUnwritableLogIsTriedAgain) {
    const std::filesystem::path gone = m_directory.path() / "gone";
    std::filesystem::create_directory(gone);
    std::filesystem::current_path(gone);
    std::error_code isInUse;
    if (!std::filesystem::remove(gone, isInUse))
        GTEST_SKIP() << "the current directory stays";
    mirrorToTexts();
    Sys->verbose("lost");
    EXPECT_TRUE(texts.empty());
    std::filesystem::current_path(m_directory.path());
    V_Memory::dump(V_Memory::DUMP_SUMMARY, true, true);
    EXPECT_EQ(texts.back(), "Memory dump only available in debug builds\n\n");
}

TEST_F(System, DumpListsTheRoutines) {
    const auto dumped = [] {
        Sys->verbose("header");
        texts.clear();
        Sys->dump();
        return std::accumulate(texts.begin(), texts.end(), std::string());
    };
    const auto address = [](void (*routine)()) {
        char text[32];
        std::snprintf(text, sizeof text, "%8llx",
                      static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(routine)));
        return std::string(text);
    };
    const std::string line = std::string(78, '-') + '\n', start = "System Object\n" + line;
    mirrorToTexts();
    EXPECT_EQ(dumped(), start + " Deinit routines:  -\n" + line + "\n\n");
    Sys->add(routineA, "first");
    Sys->add(routineB, nullptr);
    EXPECT_EQ(dumped(), start + " Deinit routines:  " + address(routineA) + " - \"first\"\n" +
                            std::string(19, ' ') + address(routineB) + " - \"\"\n" + line + "\n\n");
}

TEST_F(System, FormattedTextsLiveFor32Calls) {
    const char *const first = V_STR("%d", 0);
    for (int i = 1; i < 32; ++i)
        EXPECT_NE(V_STR("%d", i), first);
    EXPECT_STREQ(first, "0");
    EXPECT_EQ(V_STR("%s", std::string(5000, 'x').c_str()), first);
    EXPECT_EQ(first, std::string(2047, 'x'));
    stop();
    EXPECT_STREQ(V_STR("%s", "without the library"), "without the library");
}

} // namespace
