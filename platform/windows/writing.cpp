// Writing files, and changing what directories hold, with the reason when that fails.

#include "platform/windows/system.h"

#include "platform/windows/handle.h"
#include "platform/windows/paths.h"
#include "platform/windows/text.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <new>
#include <utility>

namespace vl::platform {

class Replacement {
  public:
    HANDLE m_handle = INVALID_HANDLE_VALUE;
    SystemPath m_target; ///< links followed
    SystemPath m_new;
};

namespace {

thread_local DWORD failure = ERROR_SUCCESS;

/// Keeps why a call failed, before another call is made.
bool failed(DWORD error = GetLastError()) {
    failure = error;
    return false;
}

/// The path of what an operation is for; false, with a reason, when it names nothing.
bool toWritable(SystemPath &system, const char *path) {
    return (toSystemPath(system, path) && !system.endsInSeparator) || failed(ERROR_INVALID_NAME);
}

/// Moves a file or directory in one step. What is open at the new name stays as it is for whoever has it
/// open, where the system and the volume can do that, and stands in the way elsewhere.
bool moveTo(const wchar_t *from, const wchar_t *to, DWORD flags) {
    // Known to the system since Windows 10; older headers do not show them, and know the flags of a renaming
    // as a truth value alone.
    constexpr auto renameWithFlags = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
    constexpr DWORD replaceIfThere = 1, posixSemantics = 2, flagsOfRename = replaceIfThere | posixSemantics;
    const HANDLE handle = openHandle(from, DELETE | SYNCHRONIZE, OPEN_EXISTING,
                                     FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT);
    if (handle == INVALID_HANDLE_VALUE)
        return failed();
    alignas(FILE_RENAME_INFO) unsigned char request[sizeof(FILE_RENAME_INFO) + sizeof(SystemPath::text)] = {};
    auto &info = *reinterpret_cast<FILE_RENAME_INFO *>(request);
    std::memcpy(request, &flagsOfRename, sizeof flagsOfRename);
    info.FileNameLength = static_cast<DWORD>(std::wcslen(to) * sizeof(wchar_t));
    std::memcpy(request + offsetof(FILE_RENAME_INFO, FileName), to, info.FileNameLength);
    const bool done = SetFileInformationByHandle(handle, renameWithFlags, request, sizeof request);
    const DWORD error = done ? ERROR_SUCCESS : GetLastError();
    CloseHandle(handle);
    if (done)
        return true;
    if (error != ERROR_INVALID_PARAMETER && error != ERROR_INVALID_FUNCTION && error != ERROR_NOT_SUPPORTED)
        return failed(error);
    return MoveFileExW(from, to, MOVEFILE_REPLACE_EXISTING | flags) || failed();
}

/// Where the file lies that is to be replaced; false, with a reason, when that is no file.
bool followLinks(SystemPath &path) {
    const HANDLE handle =
        openHandle(path.text, FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    if (handle == INVALID_HANDLE_VALUE)
        return true; // there is none yet
    FileIdentity identity;
    DWORD attributes;
    const bool told = identify(handle, identity, attributes) && realPath(path, handle);
    const DWORD error = GetLastError();
    CloseHandle(handle);
    if (!told)
        return failed(error);
    return (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) == 0 ||
           failed(ERROR_ACCESS_DENIED);
}

} // namespace

const char *lastFailure() {
    thread_local char text[512];
    wchar_t message[256];
    text[0] = 0;
    if (failure == ERROR_SUCCESS)
        return text;
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                  failure, 0, message, static_cast<DWORD>(std::size(message)), nullptr);
    while (length != 0 && std::wcschr(L" .\r\n", message[length - 1]))
        --length;
    const std::size_t bytes = toUtf8(text, sizeof text - 1, {message, length});
    if (bytes == 0 || bytes >= sizeof text)
        std::snprintf(text, sizeof text, "system error %lu", failure);
    else
        text[bytes] = 0;
    return text;
}

// ---- Files ---------------------------------------------------------------------------------------------

FileHandle openForWriting(const char *path, WriteMode mode, FileIdentity &identity) {
    SystemPath system;
    if (!toWritable(system, path))
        return noFile;
    const HANDLE handle = openHandle(system.text, GENERIC_READ | GENERIC_WRITE,
                                     mode == WriteMode::Existing ? OPEN_EXISTING : OPEN_ALWAYS);
    if (handle == INVALID_HANDLE_VALUE) {
        failed();
        return noFile;
    }
    // Emptied only now, when it is known to be a file.
    bool usable = identifyFile(handle, identity) || failed(ERROR_ACCESS_DENIED);
    if (usable && mode == WriteMode::Replace && identity.length != 0) {
        usable = SetEndOfFile(handle) || failed();
        identity.length = 0;
    }
    if (usable)
        return fileOf(handle);
    CloseHandle(handle);
    return noFile;
}

std::uint32_t writeAt(FileHandle file, std::uint64_t position, const void *data, std::uint32_t count) {
    std::uint32_t done = 0;
    while (done < count) {
        OVERLAPPED at{};
        at.Offset = static_cast<DWORD>(position + done);
        at.OffsetHigh = static_cast<DWORD>((position + done) >> 32);
        DWORD put = 0;
        if (!WriteFile(handleOf(file), static_cast<const char *>(data) + done, count - done, &put, &at) ||
            put == 0) {
            failed();
            break;
        }
        done += put;
    }
    return done;
}

bool resizeFile(FileHandle file, std::uint64_t length) {
    LARGE_INTEGER end;
    end.QuadPart = static_cast<LONGLONG>(length);
    return (SetFilePointerEx(handleOf(file), end, nullptr, FILE_BEGIN) && SetEndOfFile(handleOf(file))) ||
           failed();
}

bool flushToDisk(FileHandle file) { return FlushFileBuffers(handleOf(file)) || failed(); }

bool closeWritten(FileHandle file) { return CloseHandle(handleOf(file)) || failed(); }

// ---- Names ---------------------------------------------------------------------------------------------

bool rename(const char *from, const char *to) {
    SystemPath source, target;
    return toWritable(source, from) && toWritable(target, to) && moveTo(source.text, target.text, 0);
}

bool removeDirectory(const char *path) {
    SystemPath system;
    return (toSystemPath(system, path) || failed(ERROR_INVALID_NAME)) &&
           (RemoveDirectoryW(system.text) || failed());
}

bool createDirectories(const char *path) {
    SystemPath system;
    if (!toSystemPath(system, path))
        return failed(ERROR_INVALID_NAME);
    // Most often all but the last are there.
    wchar_t *end = system.text + std::wcslen(system.text);
    while (!CreateDirectoryW(system.text, nullptr)) {
        const DWORD error = GetLastError();
        if (error != ERROR_PATH_NOT_FOUND) {
            const DWORD attributes = GetFileAttributesW(system.text);
            if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
                return failed(attributes == INVALID_FILE_ATTRIBUTES ? error : DWORD{ERROR_DIRECTORY});
            break;
        }
        wchar_t *const separator = std::wcsrchr(system.text, L'\\');
        if (separator - system.text <= 6) // `\\?\C:\`
            return failed(error);
        *separator = 0;
    }
    for (wchar_t *last = system.text + std::wcslen(system.text); last != end;
         last = system.text + std::wcslen(system.text)) {
        *last = L'\\';
        // Who else makes directories may have made this one meanwhile.
        if (!CreateDirectoryW(system.text, nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
            return failed();
    }
    return true;
}

// ---- A file in the place of another --------------------------------------------------------------------

Replacement *beginReplacement(const char *path, bool *outOfMemory) {
    *outOfMemory = false;
    SystemPath target;
    if (!toWritable(target, path) || !followLinks(target))
        return nullptr;
    auto *const replacement = new (std::nothrow) Replacement;
    if (!replacement) {
        *outOfMemory = true;
        failed(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    replacement->m_target = replacement->m_new = target;
    wchar_t *const name = std::wcsrchr(replacement->m_new.text, L'\\') + 1;
    static std::atomic<unsigned int> count{0};
    for (int attempt = 0; attempt < 100 && replacement->m_handle == INVALID_HANDLE_VALUE; ++attempt) {
        std::swprintf(name, 24, L"~%lx-%x.new", GetCurrentProcessId(), count++);
        replacement->m_handle =
            openHandle(replacement->m_new.text, GENERIC_READ | GENERIC_WRITE | DELETE, CREATE_NEW);
        // A killed process of this number may have left one of this name.
        if (replacement->m_handle == INVALID_HANDLE_VALUE && GetLastError() != ERROR_FILE_EXISTS)
            break;
    }
    if (replacement->m_handle == INVALID_HANDLE_VALUE) {
        failed();
        delete replacement;
        return nullptr;
    }
    return replacement;
}

FileHandle fileOf(const Replacement *replacement) { return fileOf(replacement->m_handle); }

bool finishReplacement(Replacement *replacement) {
    const HANDLE handle = std::exchange(replacement->m_handle, INVALID_HANDLE_VALUE);
    bool done = FlushFileBuffers(handle) || failed();
    CloseHandle(handle);
    done = done && moveTo(replacement->m_new.text, replacement->m_target.text, MOVEFILE_WRITE_THROUGH);
    if (done)
        delete replacement;
    else
        dropReplacement(replacement);
    return done;
}

void dropReplacement(Replacement *replacement) {
    if (!replacement)
        return;
    if (replacement->m_handle != INVALID_HANDLE_VALUE)
        CloseHandle(replacement->m_handle);
    DeleteFileW(replacement->m_new.text);
    delete replacement;
}

// ---- The user's directory ------------------------------------------------------------------------------

bool userDataDirectory(PathBuffer &out) {
    wchar_t directory[MAX_PATH];
    const DWORD length =
        GetEnvironmentVariableW(L"APPDATA", directory, static_cast<DWORD>(std::size(directory)));
    if (length == 0)
        return failed(ERROR_PATH_NOT_FOUND);
    return (length < std::size(directory) && toEnginePath(out, {directory, length})) ||
           failed(ERROR_FILENAME_EXCED_RANGE);
}

} // namespace vl::platform
