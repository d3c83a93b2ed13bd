// A random tree of chunks and values, which writes itself and comes back as it was written.
#pragma once

#include "vl/memoryfile.h"

#include <random>
#include <stdexcept>

/// Writes a random tree of chunks and values, or compares it with what is read: both follow the same random
/// numbers. Throws std::runtime_error where they differ.
inline void visitTree(V_MemoryFile &file, bool writing, std::mt19937 &random, int depth = 0) {
    const auto visit = [&](auto value) {
        decltype(value) read{};
        if (writing)
            file << (read = value);
        else
            file >> read;
        if (read != value)
            throw std::runtime_error("a value in a memory file");
    };
    for (auto i = 1 + random() % 8; i > 0; --i) {
        const auto id = static_cast<unsigned int>(random() % 1000);
        if (id % 4 == 0) {
            visit(static_cast<int>(random() >> id % 32));
        } else if (id % 4 == 1) {
            visit(static_cast<float>(random()) / 3);
        } else if (id % 4 == 2 || depth == 4) {
            visit(V_String(id < 10 ? 70'000 : id % 40, '-'));
        } else if (writing) {
            file.createChunk(id, id + 1);
            visitTree(file, writing, random, depth + 1);
            file.closeChunk();
        } else {
            V_MemoryFile::Chunk chunk = file.openChunk(id);
            if (chunk.getVersion() != id + 1)
                throw std::runtime_error("a chunk");
            visitTree(chunk.getMemoryFile(), writing, random, depth + 1);
            file.skipChunk();
        }
    }
}
