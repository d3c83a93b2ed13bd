// Running the built programs, and giving them something hostile to read.

#include "program.h"

#include "file/archive_format.h"
#include "file/crc32.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>

Outcome runShell(const std::string &command) {
    Outcome outcome{-1, ""};
    std::FILE *pipe = popen(("{ " + command + "; } 2>&1 </dev/null").c_str(), "r");
    if (!pipe)
        throw std::runtime_error("cannot run a shell");
    char buffer[4096];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe))
        outcome.output.append(buffer, count);
    const int status = pclose(pipe);
    if (WIFEXITED(status))
        outcome.status = WEXITSTATUS(status);
    return outcome;
}

Outcome runTool(const std::string &arguments) {
    return runShell(VL_PROGRAM_DIRECTORY "/bin/vl " + arguments);
}

Outcome runExample(const std::string &name, const std::string &arguments) {
    return runShell(VL_PROGRAM_DIRECTORY "/examples/" + name + " " + arguments);
}

std::string quoted(const std::filesystem::path &path) { return "'" + path.string() + "'"; }

void renameInTables(const std::filesystem::path &archive, const std::string &from, const std::string &to) {
    std::ifstream input(archive, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(input), {}};
    auto *start = reinterpret_cast<std::uint8_t *>(bytes.data());
    std::uint8_t headerBytes[vl::archiveHeaderSize];
    std::memcpy(headerBytes, start, sizeof headerBytes);
    V_File::VASHeader header;
    if (!vl::openArchiveHeader(headerBytes, header))
        throw std::runtime_error("not an archive");

    std::uint8_t *fileInfo = start + sizeof headerBytes, *dirInfo = fileInfo + header.fileInfoSize;
    vl::unscrambleArchiveBytes(fileInfo, header.fileInfoSize, header.seed);
    vl::unscrambleArchiveBytes(dirInfo, header.dirInfoSize, header.seed);
    for (std::size_t at = bytes.find(from);
         at < sizeof headerBytes + header.fileInfoSize + header.dirInfoSize; at = bytes.find(from, at))
        bytes.replace(at, from.size(), to);
    header.fileInfoCRC = vl::crc32(fileInfo, header.fileInfoSize);
    header.dirInfoCRC = vl::crc32(dirInfo, header.dirInfoSize);
    vl::scrambleArchiveBytes(fileInfo, header.fileInfoSize, header.seed);
    vl::scrambleArchiveBytes(dirInfo, header.dirInfoSize, header.seed);
    vl::sealArchiveHeader(headerBytes, header);
    std::memcpy(start, headerBytes, sizeof headerBytes);
    std::ofstream(archive, std::ios::binary) << bytes;
}
