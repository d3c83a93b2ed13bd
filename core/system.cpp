// The system object: its shutdown routines, the rotating buffers of V_STR, and its life.
// The verbose log is in verbose.cpp, the processor in processor.cpp, clocks in clock.cpp.

#include "vl/core/system.h"

#include "core/log_lines.h"
#include "platform/platform.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

V_System *Sys = nullptr;

V_System *V_getSystem() { return Sys; }

bool V_System::m_bErrorCreatesException = false;
bool V_System::m_bAssertionCreatesException = false;
bool V_System::m_bSuppressErrors = false;

namespace {

/// A copy in a plain array allocation, which the counters do not see; null stays null.
char *copyOf(const char *text) {
    if (!text)
        return nullptr;
    const std::size_t size = std::strlen(text) + 1;
    char *copy = new (std::nothrow) char[size];
    if (!copy)
        V_throw(V_MemoryException_Allocation());
    return static_cast<char *>(std::memcpy(copy, text, size));
}

} // namespace

V_System::V_System(const char *verboseFileName) : m_pVerboseFileName(copyOf(verboseFileName)) {
    determineProcessorCaps();
    startPerformanceTimer();
}

V_System::~V_System() {
    verbose("%s", vl::doubleLine);
    verbose("\n\n");
    deinits();
    m_verboseStream.close();
    delete[] m_pVerboseFileName;
}

int V_System::add(void (*function)(), const char *name) {
    for (DEINIT *record = m_deinitList.getFirst(); record; record = m_deinitList.getNext(record))
        if (record->function == function)
            return 0;
    char *copy = copyOf(name);
    try {
        *m_deinitList.insertLast() = {function, copy};
    } catch (...) {
        delete[] copy;
        throw;
    }
    return 1;
}

int V_System::remove(void (*function)()) {
    for (DEINIT *record = m_deinitList.getFirst(); record; record = m_deinitList.getNext(record))
        if (record->function == function) {
            free(record);
            return 1;
        }
    return 0;
}

void V_System::free(DEINIT *record) {
    delete[] record->name;
    m_deinitList.remove(record);
}

void V_System::deinits() {
    while (DEINIT *record = m_deinitList.getLast()) {
        const auto function = record->function;
        function();
        // The routine may have removed itself, or added others that run first; a record added after a removal
        // may lie where the removed one lay.
        const DEINIT *last = m_deinitList.getLast();
        if (last == record && last->function == function)
            free(record);
    }
}

void V_System::setAssertionCreatesException(bool createsException) {
    m_bAssertionCreatesException = createsException;
}

int V_System::cleanupAllocations() { return 0; }

void V_System::terminate() {
    m_bSuppressErrors = false;
    deinits();
    vl::platform::messageBox("Critical Error", m_acErrorText);
    std::exit(-1);
}

const char *V_STR(const char *format, ...) {
    constexpr int bufferCount = 32;
    static char buffers[bufferCount][2048];
    static int next = 0;

    std::unique_lock<std::mutex> lock;
    if (Sys)
        lock = std::unique_lock(Sys->m_hMutex);
    char *buffer = buffers[next];
    next = (next + 1) % bufferCount;

    std::va_list arguments;
    va_start(arguments, format);
    if (std::vsnprintf(buffer, sizeof buffers[0], format, arguments) < 0)
        buffer[0] = 0;
    va_end(arguments);
    return buffer;
}
