// The ground most tests stand on: a started library whose local root is a fresh temporary directory, and the
// check, at the end, that what it allocated it released.
#pragma once

#include "tests/support/temporary_directory.h"

#include "vl/core.h"
#include "vl/file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>

/// Runs `action` and returns the message of the V_Exception of class `Expected` that it throws, or what it
/// did instead.
template <class Expected, class Action>
std::string messageOf(Action action) {
    try {
        action();
    } catch (Expected *exception) {
        return exception->getErrorMessage();
    } catch (V_Exception *exception) {
        return std::string("(another class) ") + exception->getErrorMessage();
    }
    return "(nothing thrown)";
}

inline void writeFile(const std::filesystem::path &path, const std::string &content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string readFile(const std::filesystem::path &path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A file that was written as text: its line ends are the system's.
inline std::string readText(const std::filesystem::path &path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Bytes that pack somewhat, always the same for one size.
inline std::string pattern(std::size_t size) {
    std::string text(size, '\0');
    std::mt19937 random(static_cast<unsigned int>(size));
    for (char &c : text)
        c = static_cast<char>(random() % 5 == 0 ? random() : 'a');
    return text;
}

class LibraryTest : public ::testing::Test {
  protected:
    LibraryTest() {
        V_Memory::resetNewDeleteCounts();
        m_pLibrary = std::make_unique<V_VantorInit>();
        Sys->ceaseVerbose(1);
        File->setFileSystemRoot(m_root.enginePath().c_str());
    }

    ~LibraryTest() override {
        m_pLibrary.reset();
        std::filesystem::current_path(std::filesystem::temp_directory_path());
        EXPECT_EQ(V_Memory::getNewCount(), V_Memory::getDeleteCount());
    }

    std::filesystem::path root() const { return m_root.path(); }
    std::string engineRoot() const { return m_root.enginePath(); }

    /// What the allocating load gives.
    static std::string loaded(const std::string &name) {
        const unsigned int size = File->size(name.c_str());
        char *data = File->load(name.c_str(), V_File::WHOLE_FILE);
        std::string text(data, size);
        File->free(data);
        return text;
    }

    /// Counted allocations that have not been released.
    static int outstanding() { return V_Memory::getNewCount() - V_Memory::getDeleteCount(); }

    /// After a failed allocation no more is outstanding than `atRest`. The counters count that one, too, for
    /// which there is no release; it is written off.
    static void expectAllReleased(int atRest) {
        const int left = outstanding() - atRest;
        EXPECT_TRUE(left == 0 || left == 1) << left;
        V_Memory::sm_iDeleteCount += left;
    }

  private:
    TemporaryDirectory m_root;
    std::unique_ptr<V_VantorInit> m_pLibrary;
};
