// Loads every file of a directory tree out of an archive of that tree and compares it with the original:
//
//     load_archive TREE ROOT...
//
// Each ROOT is a directory with one archive of TREE in it. Prints one line for each, and what the profiler
// measured for the last.

#include "vl/core.h"
#include "vl/file.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Original {
    std::string name; ///< as the library resolves it: \sys\types.h
    std::filesystem::path path;
};

struct Result {
    std::size_t files = 0, missing = 0, different = 0;
    double bytes = 0, mountSeconds = 0, loadSeconds = 0, lookupsPerSecond = 0;
};

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::vector<Original> listTree(const std::filesystem::path &tree) {
    std::vector<Original> originals;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(tree))
        if (entry.is_regular_file())
            originals.push_back({'/' + entry.path().lexically_relative(tree).generic_string(), entry.path()});
    return originals;
}

std::string readOriginal(const std::filesystem::path &path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

char *loadProfiled(const char *name) {
    const V_Profile section("V_File::load");
    return File->load(name, V_File::WHOLE_FILE);
}

Result loadAll(const std::vector<Original> &originals, const char *root) {
    Result result;
    double start = now();
    {
        const V_Profile section("mount");
        File->setFileSystemRoot(root);
    }
    result.mountSeconds = now() - start;

    std::vector<const Original *> archived;
    for (const Original &original : originals) {
        const V_Profile section("find");
        if (original.name.size() <= 200 && File->where(original.name.c_str()) == V_File::LOC_ARCHIVE)
            archived.push_back(&original);
        else
            ++result.missing;
    }

    start = now();
    for (const Original *original : archived)
        File->where(original->name.c_str());
    result.lookupsPerSecond = static_cast<double>(archived.size()) / (now() - start);

    for (const Original *original : archived) {
        const V_Profile section("load and compare");
        const std::string expected = readOriginal(original->path);
        const unsigned int size = File->size(original->name.c_str());
        ++result.files;
        result.bytes += size;
        bool same = size == expected.size();
        if (size != 0) { // the allocating load takes an empty file for a damaged one
            start = now();
            char *data = loadProfiled(original->name.c_str());
            result.loadSeconds += now() - start;
            same = same && std::memcmp(data, expected.data(), size) == 0;
            File->free(data);
        }
        if (!same) {
            ++result.different;
            std::printf("DIFFERS: %s\n", original->name.c_str());
        }
    }
    return result;
}

double archiveBytes(const std::filesystem::path &root) {
    double bytes = 0;
    for (const auto &entry : std::filesystem::directory_iterator(root))
        if (entry.path().extension() == ".VAS")
            bytes += static_cast<double>(entry.file_size());
    return bytes;
}

} // namespace

int main(int count, char **arguments) {
    if (count < 3) {
        std::fputs("usage: load_archive TREE ROOT...\n", stderr);
        return 2;
    }
    try {
        const std::vector<Original> originals = listTree(arguments[1]);
        const V_VantorInit library;
        Sys->getProcessorSpeed(); // measured now, so that the profiler's figures are seconds
        std::printf("%-10s %7s %8s %9s %6s %9s %12s %9s  %s\n", "archive", "files", "MB", "packed MB",
                    "ratio", "mount ms", "lookups/s", "load MB/s", "compared with the originals");
        std::size_t different = 0;
        for (int i = 2; i < count; ++i) {
            const std::filesystem::path root = std::filesystem::absolute(arguments[i]);
            V_Profile::startFrame();
            const Result result = loadAll(originals, root.string().c_str());
            V_Profile::endFrame();
            const double packed = archiveBytes(root);
            different += result.different;
            std::printf(
                "%-10s %7zu %8.1f %9.1f %5.0f%% %9.2f %12.0f %9.0f  %s, %zu left out of the archive\n",
                root.filename().string().c_str(), result.files, result.bytes / 1e6, packed / 1e6,
                100 * packed / result.bytes, result.mountSeconds * 1e3, result.lookupsPerSecond,
                result.bytes / 1e6 / result.loadSeconds, result.different ? "DIFFERENT" : "all equal",
                result.missing);
        }
        std::puts("\nWhat the last archive cost, by the library's profiler:");
        V_writeProfileTable(std::cout);
        return different != 0;
    } catch (V_Exception *exception) {
        std::fprintf(stderr, "load_archive: %s\n", exception->getErrorMessage());
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "load_archive: %s\n", exception.what());
    }
    return 1;
}
