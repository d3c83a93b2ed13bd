// What the soak demands: results, exceptions, and a tree of chunks that comes back as it was written.
#pragma once

#include "tests/soak/world.h"

#include "vl/core/exception.h"
#include "vl/memoryfile.h"

#include <stdexcept>

inline void require(bool holds, const char *what) {
    if (!holds)
        throw std::runtime_error(what);
}

template <class Expected, class Action>
void expectFailure(Action action, const char *what) {
    try {
        action();
    } catch (Expected *exception) {
        return require(*exception->getErrorMessage() != 0, "a message");
    }
    throw std::runtime_error(what);
}

/// For damaged data: it is refused with an exception of the library or passes for what it is not.
template <class Action>
void mayFail(Action action) {
    try {
        action();
    } catch (V_Exception *) {
    } catch (const std::runtime_error &) {
    }
}

/// Writes a value or compares it with one that is read.
template <class T>
void visit(V_MemoryFile &file, bool writing, const T &value) {
    if (writing) {
        file << value;
        return;
    }
    T read{};
    file >> read;
    require(read == value, "a value in a memory file");
}

/// Writes a random tree of chunks and values, or compares it: both follow the same random numbers.
inline void visitTree(V_MemoryFile &file, bool writing, Random &random, int depth = 0) {
    for (unsigned int i = draw(random, 12); i > 0; --i) {
        const unsigned int id = draw(random, 1000);
        if (id % 5 == 0) {
            visit(file, writing, static_cast<int>(random() >> draw(random, 32)));
        } else if (id % 5 == 1) {
            visit(file, writing, static_cast<unsigned int>(random() >> draw(random, 32)));
        } else if (id % 5 == 2) {
            visit(file, writing, static_cast<float>(random()) / 3);
        } else if (id % 5 == 3 || depth == 4) {
            visit(file, writing, V_String(draw(random, id < 10 ? 70'000 : 40), '-'));
        } else if (writing) {
            file.createChunk(id, id + 1);
            visitTree(file, writing, random, depth + 1);
            file.closeChunk();
        } else {
            V_MemoryFile::Chunk chunk = file.openChunk(id);
            require(chunk.getID() == id && chunk.getVersion() == id + 1, "a chunk");
            visitTree(chunk.getMemoryFile(), writing, random, depth + 1);
            file.skipChunk();
        }
    }
}
