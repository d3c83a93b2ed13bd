// The library for the length of a fuzzing process, without its log, and a file for what the target reads.
#pragma once

#include "tests/support/temporary_directory.h"
#include "vl/core.h"
#include "vl/file.h"

#include <fstream>

struct StartedLibrary {
    const std::filesystem::path startedIn = std::filesystem::current_path();
    TemporaryDirectory directory;
    V_VantorInit library;
    std::string path = (directory.path() / "data").string();

    StartedLibrary() {
        Sys->ceaseVerbose(1);
        File->setFileSystemRoot(directory.enginePath().c_str());
        std::filesystem::current_path(startedIn); // where the fuzzer looks for its files
    }

    template <class Bytes>
    void writeFile(const Bytes &bytes) const {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
};
