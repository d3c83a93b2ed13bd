// The loader: preprocesses a script file, builds its tree in the frame and moves it into one allocation.

#include "script/loader.h"

#include "file/whole_file.h"
#include "script/load_session.h"
#include "vl/file.h"

#include <cstdint>
#include <cstring>

namespace vl {
namespace {

class FileSystemScripts final : public ScriptFiles {
  public:
    const char *fullPath(const char *name) override { return File->getFullPathName(name); }
    char *load(const char *path, unsigned int &size) override {
        size = V_File::WHOLE_FILE;
        return loadWhole(path, size).release();
    }
};

FileSystemScripts fileSystemScripts;

/// Moves pointers into the frame along with the frame's bytes.
class Relocation {
  public:
    Relocation(const FrameMemory &frame, char *memory) : m_frame(frame), m_pMemory(memory) {}

    void apply(ScriptBlock *block) const {
        move(block->m_pParent);
        move(block->m_pFirstChild);
        move(block->m_pNext);
        move(block->m_pName);
        move(block->m_pContent);
        move(block->m_ppLvalues);
        move(block->m_ppAssignments);
        for (unsigned int i = 0; i < block->m_uNumLvalues; ++i) {
            move(block->m_ppLvalues[i]);
            move(block->m_ppAssignments[i]);
        }
    }

  private:
    /// Null, and what does not point into the frame (the root), stays.
    template <class T>
    void move(T *&pointer) const {
        const std::uintptr_t offset =
            reinterpret_cast<std::uintptr_t>(pointer) - reinterpret_cast<std::uintptr_t>(m_frame.start());
        if (pointer && offset < m_frame.used())
            pointer = reinterpret_cast<T *>(m_pMemory + offset);
    }

    const FrameMemory &m_frame;
    char *m_pMemory;
};

} // namespace

LoadSession::LoadSession(const LoadEnvironment &environment)
    : state(WorkState::acquire()), files(environment.files ? *environment.files : fileSystemScripts),
      trace(environment.trace) {}

LoadSession::~LoadSession() {
    WorkState::giveBack(state);
    if (!m_bShareLeft)
        WorkState::release();
}

} // namespace vl

V_ScriptLoader::V_ScriptLoader(const char *name, const vl::LoadEnvironment &environment) : ScriptBlock{} {
    V_MemoryScope scope("VL ScriptLoader");
    vl::LoadSession session(environment);
    unsigned int length = 0;
    const vl::CountedArray<char> text(preprocess(name, length, session));
    generateBlock(name, static_cast<unsigned int>(std::strlen(name)), this, nullptr, 0, text.get(), 0, length,
                  session);
    adoptBlocks(session.frame);
    session.leaveShare();
}

V_ScriptLoader::~V_ScriptLoader() {
    vl::WorkState::release();
    V_Memory::freeCounted(m_pName);
}

char *V_ScriptLoader::preprocessedText(const char *name, unsigned int &length,
                                       const vl::LoadEnvironment &environment) {
    vl::LoadSession session(environment);
    return preprocess(name, length, session);
}

void V_ScriptLoader::adoptBlocks(const vl::FrameMemory &frame) {
    char *memory = vl::allocateArray<char>(frame.used());
    std::memcpy(memory, frame.start(), frame.used());

    const vl::Relocation relocation(frame, memory);
    ScriptBlock *block = this;
    relocation.apply(block);
    for (;;) {
        if (block->m_pFirstChild) {
            block = block->m_pFirstChild;
        } else {
            while (block != this && !block->m_pNext)
                block = block->m_pParent;
            if (block == this)
                return;
            block = block->m_pNext;
        }
        relocation.apply(block);
    }
}
