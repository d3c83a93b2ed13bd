// A random program of reads, seeks, opens and skips over random bytes. The first byte of the input says how
// many bytes of program follow; the rest is the data. The program runs over the data in memory, in a block
// of exactly its size, and over a stream: both must give the same values, exceptions and positions.

#include "tests/support/started_library.h"
#include "vl/math_types.h"
#include "vl/memoryfile.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

namespace {

class Run {
  public:
    Run(V_MemoryFile &file, const std::uint8_t *program, std::size_t size)
        : m_file(file), m_program(program), m_end(program + size) {}

    /// Everything that could be seen while the program ran.
    std::string trace() {
        while (m_program != m_end) {
            const std::uint8_t operation = *m_program++;
            try {
                step(operation);
            } catch (V_Exception *exception) {
                note(exception->getErrorMessage());
            }
            const unsigned int position = file().getPosition();
            if (position > file().getSize())
                std::abort();
            note(position);
        }
        return m_trace;
    }

  private:
    V_MemoryFile &file() { return m_chunks.empty() ? m_file : m_chunks.back().getMemoryFile(); }

    int argument() {
        int value = 0;
        for (int i = 0; i < 2 && m_program != m_end; ++i)
            value = value << 8 | *m_program++;
        // Mostly near, now and then at the edges of what an int holds.
        return value > 0xFF00 ? 0x7FFFFF00 + (value & 0xFF) : value < 0x100 ? value : (value >> 3) - 0x1000;
    }

    template <class T>
    void note(const T &value) {
        m_trace.append(reinterpret_cast<const char *>(&value), sizeof value);
    }
    void note(const char *text) { m_trace += text; }
    void note(const V_String &text) { m_trace.append(text.data(), text.size()); }

    template <class T>
    void get() {
        T value{};
        try {
            file() >> value;
        } catch (...) {
            note(value);
            throw;
        }
        note(value);
    }

    void step(std::uint8_t operation) {
        static constexpr void (Run::*getters[])() = {&Run::get<int>,
                                                     &Run::get<unsigned int>,
                                                     &Run::get<long>,
                                                     &Run::get<bool>,
                                                     &Run::get<double>,
                                                     &Run::get<V_String>,
                                                     &Run::get<M_Matrix4Template<float>>,
                                                     &Run::get<unsigned char>};
        if (operation % 20 < 8)
            return (this->*getters[operation % 20])();
        switch (operation % 20) {
        case 8: {
            const int count = argument();
            std::vector<char> bytes(static_cast<std::size_t>(std::clamp(count, 0, 1 << 16)));
            if (count <= 1 << 16)
                file().read(bytes.data(), count);
            return m_trace.append(bytes.data(), bytes.size()), void();
        }
        case 9:
            return file().enableTags(!file().areTagsEnabled());
        case 10: {
            const int offset = argument();
            return file().seek(offset, static_cast<V_MemoryFile::SeekMode>(operation / 20 % 3));
        }
        case 11:
            return file().skipChunk();
        case 12:
        case 13:
            if (m_chunks.size() < 50) {
                V_MemoryFile::Chunk chunk = operation % 20 == 12 ? file().openChunk(1) : file().peekChunk();
                note(chunk.isValid());
                note(chunk.getSize());
                m_chunks.push_back(chunk);
            }
            return;
        case 14:
            if (!m_chunks.empty())
                m_chunks.back().openChunk(m_chunks.back(), 1);
            return;
        case 15:
            if (!m_chunks.empty())
                m_chunks.pop_back();
            return;
        case 16: {
            V_MemoryFile copy(file());
            if (copy.getPosition() != file().getPosition())
                std::abort();
            return;
        }
        case 17:
            return file().toRead();
        default:
            return file() << 5, void(); // refused, but for what an invalid chunk holds
        }
    }

    V_MemoryFile &m_file;
    std::deque<V_MemoryFile::Chunk> m_chunks; ///< each may lie in the one before
    const std::uint8_t *m_program, *m_end;
    std::string m_trace;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *input, std::size_t size) {
    static const StartedLibrary world;
    if (size == 0)
        return 0;
    const std::size_t programSize = std::min<std::size_t>(input[0], size - 1);
    const std::uint8_t *program = input + 1;
    const std::vector<std::uint8_t> data(program + programSize, input + size);

    world.writeFile(data);
    const V_FileStream stream("data", 1 + input[0] % 40);
    V_MemoryFile streamed(stream, 0, -1);
    V_MemoryFile inMemory(data.data(), static_cast<unsigned int>(data.size()), false);
    inMemory.setFilename(streamed.getFilename());

    if (Run(inMemory, program, programSize).trace() != Run(streamed, program, programSize).trace())
        std::abort();
    return 0;
}
