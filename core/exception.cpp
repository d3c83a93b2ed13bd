// Exceptions: the shared message buffers, and the leaves of the memory and debug areas.

#include "vl/core/exception.h"

#include <cstdio>

namespace {

constexpr int bufferCount = 4;
constexpr std::size_t bufferSize = 8192;

char buffers[bufferCount][bufferSize];
int nextBuffer = 0;

} // namespace

V_Exception::LocalizationCallback V_Exception::m_pfLocalizationCallback = nullptr;

V_Exception::V_Exception() : m_pMessage("Unspecified V_Exception") {}

V_Exception::~V_Exception() = default;

const char *V_Exception::getErrorMessage() const { return m_pMessage; }

void V_Exception::setError(const char *format, ...) {
    char *buffer = buffers[nextBuffer];
    nextBuffer = (nextBuffer + 1) % bufferCount;

    buffer[bufferSize - 1] = 0;
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list forCallback;
    va_copy(forCallback, arguments);
    if (std::vsnprintf(buffer, bufferSize, format, arguments) < 0)
        buffer[0] = 0;
    if (m_pfLocalizationCallback)
        m_pfLocalizationCallback(*this, buffer, format, forCallback);
    va_end(forCallback);
    va_end(arguments);

    m_pMessage = buffer;
}

void V_Exception::setLocalizationCallback(LocalizationCallback callback) {
    m_pfLocalizationCallback = callback;
}

void V_Exception::clearLocalizationCallback() { m_pfLocalizationCallback = nullptr; }

V_MemoryException_Allocation::V_MemoryException_Allocation() { setError("Out of system memory resources"); }

V_StartUpException_AlreadyStarted::V_StartUpException_AlreadyStarted() {
    setError("The library has been started already");
}

V_DebugException_MacroFailed::V_DebugException_MacroFailed(const char *report) { setError("%s", report); }

V_DebugException_Assert::V_DebugException_Assert(const char *report) {
    setError("Assertion failed:\n\n%s", report);
}

V_DebugException_Verify::V_DebugException_Verify(const char *report) {
    setError("Verification failed:\n\n%s", report);
}

V_DebugException_IllegalFunctionCall::V_DebugException_IllegalFunctionCall(const char *report) {
    setError("Illegal function call:\n\n%s", report);
}

V_DebugException_AssertPointer::V_DebugException_AssertPointer(const char *report) {
    setError("Pointer assertion failed:\n\n%s", report);
}

V_DebugException_Assert0OrPointer::V_DebugException_Assert0OrPointer(const char *report) {
    setError("Pointer assertion failed:\n\n%s", report);
}

V_DebugException_AssertPointerSize::V_DebugException_AssertPointerSize(const char *report) {
    setError("Pointer size assertion failed:\n\n%s", report);
}

V_DebugException_AssertPointerToSingle::V_DebugException_AssertPointerToSingle(const char *report) {
    setError("Pointer to single object assertion failed:\n\n%s", report);
}

V_DebugException_AssertPointerToArray::V_DebugException_AssertPointerToArray(const char *report) {
    setError("Pointer to array assertion failed:\n\n%s", report);
}

V_DebugException_AssertPointerToReallocation::V_DebugException_AssertPointerToReallocation(
    const char *report) {
    setError("Pointer to reallocation assertion failed:\n\n%s", report);
}

V_DebugException_AssertObjectValid::V_DebugException_AssertObjectValid(const char *report) {
    setError("Object invalid:\n\n%s", report);
}

V_DebugException_AssertObjectValid1::V_DebugException_AssertObjectValid1(const char *report) {
    setError("Object invalid:\n\n%s", report);
}

V_DebugException_AssertObjectConstructed::V_DebugException_AssertObjectConstructed(const char *report) {
    setError("Object assumed constructed:\n\n%s", report);
}

V_DebugException_AssertObjectDestructed::V_DebugException_AssertObjectDestructed(const char *report) {
    setError("Object assumed destructed:\n\n%s", report);
}
