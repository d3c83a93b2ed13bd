// Preprocesses, builds, queries and parses scripts with includes. The input holds the files main.txt, a.txt,
// b.txt, ... and, as the last, a client's format, with a byte 0xFF between them. The tree must be the one
// that a straightforward builder makes of the same text, the text the one that is made word by word, and
// nothing may remain afterwards.

#include "tests/support/describe_block.h"
#include "tests/support/memory_scripts.h"
#include "tests/support/plain_script_builder.h"
#include "tests/support/started_library.h"

#include "script/load_environment.h"
#include "script/loader.h"
#include "script/trace.h"
#include "vl/core.h"
#include "vl/script.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void require(bool condition, const char *what, const std::string &detail = "") {
    if (condition)
        return;
    std::fprintf(stderr, "broken: %s\n%s\n", what, detail.c_str());
    std::abort();
}

std::string preprocess(const vl::LoadEnvironment &environment) {
    unsigned int length = 0;
    char *text = V_ScriptLoader::preprocessedText("main.txt", length, environment);
    std::string copy(text, length);
    V_Memory::freeCounted(text);
    return copy;
}

std::string buildPlainly(const vl::LoadEnvironment &environment) {
    return PlainBuilder(preprocess(environment)).build();
}

/// The text, or the message of what is wrong with it.
std::string preprocessedOrNot(const vl::LoadEnvironment &environment) {
    try {
        return preprocess(environment);
    } catch (V_Exception *exception) {
        return exception->getErrorMessage();
    }
}

/// A trace has every word looked at by itself.
void compareWithTrace(vl::ScriptFiles &files) {
    const std::string text = preprocessedOrNot({&files});
    vl::ScriptTrace trace;
    const std::string traced = preprocessedOrNot({&files, &trace});
    require(text == traced, "text", text + "\n" + traced);
}

/// Converts every statement by `format` and by the library's own.
void parseStatements(V_Script &script, const V_Script::Format &format) {
    static const int strides[] = {4, 64, 4, 4, 64, 0};
    static const V_Script::Format *const formats[] = {
        &V_Script::t_char,  &V_Script::t_unsigned, &V_Script::t_int,   &V_Script::t_hex,
        &V_Script::t_float, &V_Script::t_float3,   &V_Script::t_string};
    const V_Script::Format bounded = {"%7s", strides};
    const auto parse = [&script](unsigned int i, const V_Script::Format &by, std::vector<char> &data) {
        const V_Script::Variables table[] = {{script.getLvalue(i), data.data(), nullptr, &by}, {}};
        try {
            script.parse(table, true);
        } catch (V_ScriptException *) {
        }
    };
    V_Script::setIgnoreUnknownVariables(true);
    for (unsigned int i = 0; i < script.countLvalues(); ++i) {
        std::vector<char> data(sizeof strides * 64 +
                               (script.getAssignment(i) ? std::string(script.getAssignment(i)).size() : 0));
        for (const V_Script::Format *by : formats)
            parse(i, *by, data);
        parse(i, {format.format, strides}, data);
        std::vector<char> eight(8);
        parse(i, bounded, eight);
    }
}

void visit(V_Script &script, const V_Script::Format &format) {
    parseStatements(script, format);
    for (unsigned int i = 0; i < script.count(); ++i) {
        const std::string name = script.getBlockName(i);
        const V_Script::Blocks table[] = {{name.c_str(), 1, script.count(name.c_str())}, {}};
        script.blockCheck(table, true);
        const V_ScriptLock lock(&script, i);
        require(name == script.getBlockName() && script.staticNesting()[0] == '[', "cursor", name);
        visit(script, format);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const StartedLibrary library;
    const int blocks = V_Memory::getNewCount() - V_Memory::getDeleteCount();
    {
        MemoryScripts scripts;
        std::string name = "main.txt";
        std::string rest(reinterpret_cast<const char *>(data), size);
        for (char next = 'a'; next != 'f'; ++next) {
            const std::size_t end = rest.find('\xFF');
            if (end == std::string::npos)
                break;
            scripts.m_files[name] = rest.substr(0, end);
            rest.erase(0, end + 1);
            name = std::string(1, next) + ".txt";
        }
        compareWithTrace(scripts);
        try {
            vl::EnvironmentScript script("main.txt", {&scripts});
            // The nesting that a recursive visitor can follow on a sanitizer's stack.
            const std::string expected = buildPlainly({&scripts});
            const std::string found = describeBlock(script);
            require(found == expected, "tree", found + "\n" + expected);
            visit(script, {rest.c_str(), nullptr});
        } catch (V_ScriptLoaderException *exception) {
            const std::string message = exception->getErrorMessage();
            require(message.find("V_ScriptLoader: ") == 0, "message", message);
            try {
                const std::string expected = buildPlainly({&scripts});
                require(message.substr(16, expected.size()) == expected ||
                            dynamic_cast<V_ScriptLoaderException_OutOfBlockMemory *>(exception),
                        "error", message + "\n" + expected);
            } catch (V_ScriptLoaderException *) {
                // It was the preprocessor that complained.
            }
        } catch (V_FileException *) {
            // A file that is not there, is empty, or has too long a name.
        }
    }
    require(V_Memory::getNewCount() - V_Memory::getDeleteCount() == blocks, "memory");
    return 0;
}
