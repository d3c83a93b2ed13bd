// Ground for the tests of scripts: files in the library's root, and what becomes of them as text.
#pragma once

#include "tests/support/describe_block.h"
#include "tests/support/library_test.h"

#include "script/load_environment.h"
#include "script/loader.h"
#include "vl/script.h"

#include <string>

class ScriptTest : public LibraryTest {
  protected:
    void write(const std::string &name, const std::string &content) { writeFile(root() / name, content); }

    /// The tree of main.txt with this content.
    std::string tree(const std::string &content) {
        write("main.txt", content);
        V_Script script("main.txt");
        return describeBlock(script);
    }

    /// The preprocessed text of main.txt.
    static std::string text() {
        unsigned int length = 0;
        char *text = V_ScriptLoader::preprocessedText("main.txt", length, {});
        const std::string result(text, length - 1);
        EXPECT_EQ(text[length - 1], 0);
        V_Memory::freeCounted(text);
        return result;
    }
    std::string text(const std::string &content) {
        write("main.txt", content);
        return text();
    }

    /// The message of `Expected` with which main.txt fails to load; afterwards everything must be as before.
    template <class Expected>
    static std::string failure() {
        const int atRest = outstanding();
        const std::string directory = File->getCurrentDirectory();
        const std::string message = messageOf<Expected>([] { V_Script script("main.txt"); });
        EXPECT_EQ(outstanding(), atRest) << message;
        EXPECT_EQ(File->getCurrentDirectory(), directory) << message;
        return message;
    }
    template <class Expected>
    std::string failure(const std::string &content) {
        write("main.txt", content);
        return failure<Expected>();
    }
};
