// Exceptions: the root class, how every failure of the library is thrown, and the three areas that belong to
// no subsystem (memory, start-up and failed checks).
//
// The tree: V_Exception; below it one class per area (V_MemoryException, V_StartUpException,
// V_DebugException, V_FileException, V_MemoryFileException, V_ScriptException, and V_ScriptLoaderException
// below V_ScriptException); below each area its leaf classes, named V_<Area>Exception_<Case>. Only leaves are
// thrown, always as a pointer:
//
//     try {
//         char *data = File->load("config.txt", V_File::WHOLE_FILE);
//         ...
//     } catch (V_Exception *exception) {
//         std::puts(exception->getErrorMessage());   // never delete the pointer
//     }
//
// Nothing here is synchronised: exceptions are raised from one thread at a time.
#pragma once

#include "vl/core/export.h"

#include <cstdarg>

/// Root of every exception of the library. Carries one formatted message that it does not own.
class VL_API V_Exception {
  public:
    /// A client's hook into every message: called by setError with the exception being formatted (its own
    /// message is still the previous one), the message buffer, the format and the arguments. It may overwrite
    /// the buffer with at most 8191 characters and a terminating zero, for example with a translation.
    using LocalizationCallback = void (*)(const V_Exception &exception, char *message, const char *format,
                                          std::va_list arguments);

    /// Copies the message pointer.
    V_Exception(const V_Exception &other) = default;
    V_Exception &operator=(const V_Exception &other) = default;
    virtual ~V_Exception();

    /// The message. It lies in one of four buffers that setError uses in turn, so it stays valid until the
    /// fourth further call of setError, by whatever exception.
    virtual const char *getErrorMessage() const;

    /// Formats the message, printf-style, with at most 8191 characters (a longer text is cut), lets the
    /// localization callback change it, and makes it this exception's message. Allocates nothing.
    void setError(const char *format, ...) VL_PRINTF(2, 3);

    /// Installs the hook into every later message, replacing an earlier one. Null removes it.
    static void setLocalizationCallback(LocalizationCallback callback);
    static void clearLocalizationCallback();

  protected:
    /// Message "Unspecified V_Exception".
    V_Exception();

  private:
    const char *m_pMessage;

    static LocalizationCallback m_pfLocalizationCallback;
};

/// Throws `exception` the library's way: copies it into the one static instance of its class, which lives to
/// the end of the process, and throws a pointer to that instance. A second exception of the same class thrown
/// while the first is being handled therefore replaces the first one's message.
template <class Leaf>
[[noreturn]] VL_API_TEMPLATE void V_throw(const Leaf &exception) {
    static Leaf instance(exception);
    instance = exception;
    throw &instance;
}

/// Area: memory.
class VL_API V_MemoryException : public V_Exception {};

/// "Out of system memory resources": the allocation failure of every subsystem.
class VL_API V_MemoryException_Allocation : public V_MemoryException {
  public:
    V_MemoryException_Allocation();
};

/// Area: start-up.
class VL_API V_StartUpException : public V_Exception {};

/// "The library has been started already": V_VantorInit::settings was called too late.
class VL_API V_StartUpException_AlreadyStarted : public V_StartUpException {
  public:
    V_StartUpException_AlreadyStarted();
};

/// Area: failed checks (see vl/core/check.h).
class VL_API V_DebugException : public V_Exception {};

/// Declares one leaf of V_DebugException; each is constructed from the report of the failed check.
#define VL_DEBUG_EXCEPTION(Leaf)                                                                             \
    class VL_API Leaf : public V_DebugException {                                                            \
      public:                                                                                                \
        explicit Leaf(const char *report);                                                                   \
    }

/// Carries the report of a failed check inside the library; clients only see the classes that follow.
VL_DEBUG_EXCEPTION(V_DebugException_MacroFailed);
VL_DEBUG_EXCEPTION(V_DebugException_Assert);
VL_DEBUG_EXCEPTION(V_DebugException_Verify);
VL_DEBUG_EXCEPTION(V_DebugException_IllegalFunctionCall);
VL_DEBUG_EXCEPTION(V_DebugException_AssertPointer);
VL_DEBUG_EXCEPTION(V_DebugException_Assert0OrPointer);
VL_DEBUG_EXCEPTION(V_DebugException_AssertPointerSize);
VL_DEBUG_EXCEPTION(V_DebugException_AssertPointerToSingle);
VL_DEBUG_EXCEPTION(V_DebugException_AssertPointerToArray);
VL_DEBUG_EXCEPTION(V_DebugException_AssertPointerToReallocation);
VL_DEBUG_EXCEPTION(V_DebugException_AssertObjectValid);
VL_DEBUG_EXCEPTION(V_DebugException_AssertObjectValid1);
VL_DEBUG_EXCEPTION(V_DebugException_AssertObjectConstructed);
VL_DEBUG_EXCEPTION(V_DebugException_AssertObjectDestructed);

#undef VL_DEBUG_EXCEPTION
