// The frame: scratch memory in which the tree of a script is built by moving a pointer. It counts bytes
// exactly as they are asked for, up to its limit; what holds pointers is placed aligned, and the gaps before
// it are not counted.
//
// There is one area for it in the process's own memory: taken from the heap and given back, its pages would
// be mapped anew for every script, a third of the time that loading takes. Of its 600 KiB those pages stay
// that the largest script so far has touched. A tree that is built on another thread meanwhile has one of the
// heap.
#pragma once

#include "core/counted.h"
#include "script/loader.h"
#include "vl/script/exception.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace vl {

class FrameMemory {
  public:
    FrameMemory() : m_bOwn(sm_taken.test_and_set(std::memory_order_acquire)) {
        if (m_bOwn)
            m_heap.reset(allocateArray<char>(capacity + alignment));
        const auto address = reinterpret_cast<std::uintptr_t>(m_heap.get());
        m_pMemory = m_bOwn ? m_heap.get() + (alignment - address % alignment) % alignment : sm_memory;
    }
    ~FrameMemory() {
        if (!m_bOwn)
            sm_taken.clear(std::memory_order_release);
    }
    FrameMemory(const FrameMemory &) = delete;
    FrameMemory &operator=(const FrameMemory &) = delete;

    /// `size` bytes, aligned for pointers if asked for. Throws V_ScriptLoaderException_OutOfBlockMemory when
    /// the frame's bytes are used up.
    char *allocate(std::uint64_t size, bool aligned) {
        if (size > limit - m_uCounted)
            V_throw(V_ScriptLoaderException_OutOfBlockMemory(SCRIPT_BLOCK_MEMORYFRAME_SIZE));
        m_uCounted += static_cast<unsigned int>(size);
        if (aligned)
            m_uUsed = (m_uUsed + alignment - 1) / alignment * alignment;
        char *result = m_pMemory + m_uUsed;
        m_uUsed += static_cast<unsigned int>(size);
        return result;
    }

    const char *start() const { return m_pMemory; }
    /// Bytes from the start that are in use, gaps included.
    unsigned int used() const { return m_uUsed; }

  private:
    static constexpr unsigned int limit = SCRIPT_BLOCK_MEMORYFRAME_SIZE;
    static constexpr unsigned int alignment = alignof(ScriptBlock);
    /// At most two aligned allocations, the record and the statements, belong to each record.
    static constexpr unsigned int capacity = limit + limit / sizeof(ScriptBlock) * 2 * (alignment - 1);

    alignas(alignment) inline static char sm_memory[capacity];
    inline static std::atomic_flag sm_taken; ///< sm_memory is in use

    CountedArray<char> m_heap;
    bool m_bOwn; ///< the memory is the heap's
    char *m_pMemory;
    unsigned int m_uCounted = 0;
    unsigned int m_uUsed = 0;
};

} // namespace vl
