// The names in a directory, one after the other.

#include "platform/windows/system.h"

#include "platform/listing.h"
#include "platform/windows/paths.h"
#include "platform/windows/text.h"

#include <cwchar>

namespace vl::platform {

namespace {

class DirectoryReader {
  public:
    explicit DirectoryReader(const wchar_t *pattern)
        : m_handle(FindFirstFileExW(pattern, FindExInfoBasic, &m_entry, FindExSearchNameMatch, nullptr,
                                    FIND_FIRST_EX_LARGE_FETCH)),
          m_error(m_handle == INVALID_HANDLE_VALUE ? GetLastError() : 0) {}
    ~DirectoryReader() {
        if (m_handle != INVALID_HANDLE_VALUE)
            FindClose(m_handle);
    }
    DirectoryReader(const DirectoryReader &) = delete;
    DirectoryReader &operator=(const DirectoryReader &) = delete;

    /// The name at hand; null behind the last.
    const wchar_t *name() const { return m_error == 0 ? m_entry.cFileName : nullptr; }
    void advance() {
        if (!FindNextFileW(m_handle, &m_entry))
            m_error = GetLastError();
    }
    /// Whether nothing but the end, or that there are no names at all, ended it.
    bool isWhole() const { return m_error == ERROR_NO_MORE_FILES || m_error == ERROR_FILE_NOT_FOUND; }

  private:
    WIN32_FIND_DATAW m_entry;
    HANDLE m_handle;
    DWORD m_error;
};

} // namespace

bool visitNames(std::string_view directory, const std::function<void(const char *)> &visit) {
    SystemPath path;
    if (!toSystemPath(path, directory))
        return false;
    const std::size_t length = std::wcslen(path.text);
    std::wcscpy(path.text + length, path.text[length - 1] == L'\\' ? L"*" : L"\\*");
    DirectoryReader reader(path.text);
    for (; const wchar_t *name = reader.name(); reader.advance()) {
        if (std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0)
            continue;
        char text[4 * MAX_PATH];
        text[toUtf8(text, sizeof text - 1, name)] = 0;
        visit(text);
    }
    return reader.isWhole();
}

} // namespace vl::platform
