// The verbose log of the system object: a text file, appended to and flushed text by text, and its mirror.

#include "vl/core/system.h"

#include "core/log_lines.h"
#include "platform/native.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>

namespace {

/// Opens the log. Its stream buffers here and not on the heap, so that a failure is logged when memory is
/// exhausted, too.
void open(std::ofstream &stream, const char *name, std::ios::openmode mode) {
    static char buffer[1024];
    stream.clear();
    stream.rdbuf()->pubsetbuf(buffer, sizeof buffer);
    vl::platform::openStream(stream, name, mode);
}

} // namespace

void V_System::verbose(const char *format, ...) {
    if (m_bVerboseCeased)
        return;
    if (!m_verboseStream.is_open()) {
        open(m_verboseStream, m_pVerboseFileName, std::ios::out | std::ios::app);
        if (!m_verboseStream.is_open())
            return;
        fixVerboseFile();
    }
    if (!m_bVerboseHeaderWritten) {
        m_bVerboseHeaderWritten = true;
        const std::time_t now = std::time(nullptr);
        verbose("\n %s", std::asctime(std::localtime(&now)));
        verbose("%s", vl::doubleLine);
        verbose("\n\n");
    }

    char text[1024];
    std::va_list arguments;
    va_start(arguments, format);
    if (std::vsnprintf(text, sizeof text, format, arguments) < 0)
        text[0] = 0;
    va_end(arguments);

    m_verboseStream << text << std::flush;
    m_verboseStream.clear(); // a full disk today must not silence the log for ever
    if (m_pfVerboseCallback)
        m_pfVerboseCallback(text);
}

/// The log stays the file that has been opened, wherever the process goes. When memory is exhausted that has
/// to wait for the next opening.
void V_System::fixVerboseFile() {
    if (m_bVerboseFileFixed)
        return;
    try {
        using namespace vl::platform;
        const std::string absolute = textOf(std::filesystem::absolute(nativePath(m_pVerboseFileName)));
        char *const copy = new char[absolute.size() + 1];
        std::strcpy(copy, absolute.c_str());
        delete[] std::exchange(m_pVerboseFileName, copy);
        m_bVerboseFileFixed = true;
    } catch (const std::exception &) {
        return;
    }
}

V_System::VerboseCallback V_System::setVerboseCallback(VerboseCallback callback) {
    VerboseCallback previous = m_pfVerboseCallback;
    m_pfVerboseCallback = callback;
    return previous;
}

void V_System::ceaseVerbose(int deleteFile) {
    m_verboseStream.close();
    if (deleteFile)
        std::remove(m_pVerboseFileName);
    m_bVerboseCeased = true;
}

void V_System::clearVerbose() {
    if (m_bVerboseCeased)
        return;
    m_verboseStream.close();
    open(m_verboseStream, m_pVerboseFileName, std::ios::out | std::ios::trunc);
    if (m_verboseStream.is_open())
        fixVerboseFile();
    m_bVerboseHeaderWritten = false;
}

void V_System::dump() {
    static constexpr char heading[] = "\n Deinit routines:  ";
    constexpr int width = sizeof heading - 2; // without the line feed and the terminating zero

    verbose("System Object\n");
    verbose("%s", vl::singleLine);
    verbose("%s", heading);
    if (m_deinitList.getCount() == 0)
        verbose("-\n");
    for (DEINIT *record = m_deinitList.getFirst(); record; record = m_deinitList.getNext(record)) {
        if (record != m_deinitList.getFirst())
            verbose("%*s", width, "");
        verbose("%8llx - \"",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(record->function)));
        if (record->name)
            verbose("%s", record->name);
        verbose("\"\n");
    }
    verbose("%s", vl::singleLine);
    verbose("\n\n\n");
}
