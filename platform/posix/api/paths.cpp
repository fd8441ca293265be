#include <windows.h>

#include <string>

#include "internal/call.h"
#include "internal/drive.h"
#include "internal/encoding.h"
#include "internal/last_error.h"
#include "internal/path_syntax.h"

using compat::IsSeparator;

namespace {

// Returns `name` as an absolute path, not yet normalised.
std::wstring MakeAbsolute(std::wstring_view name) {
    if (name.size() >= 2 && IsSeparator(name[0]) && IsSeparator(name[1])) {
        return std::wstring(name);
    }
    if (IsSeparator(name[0])) {
        // Here a single separator at the front begins a Linux path.
        std::string linuxPath = compat::Utf8FromWide(name);
        linuxPath[0] = '/';
        return compat::FromLinuxPath(linuxPath);
    }
    std::wstring directory = compat::CurrentDirectory();
    if (compat::HasDrive(name)) {
        if (name.size() > 2 && IsSeparator(name[2])) {
            return std::wstring(name);
        }
        const std::wstring_view drive = name.substr(0, 2);
        if (compat::FoldName(drive) != compat::FoldName(directory.substr(0, 2))) {
            directory = drive;
        }
        name.remove_prefix(2);
    }
    return directory.append(L"\\").append(name);
}

// Copies `path` and returns its length. If it does not fit, returns the size that it needs.
DWORD CopyPath(const std::wstring& path, LPWSTR buffer, DWORD size) noexcept {
    const auto length = static_cast<DWORD>(path.size());
    if (length >= size) {
        return length + 1;
    }
    lstrcpynW(buffer, path.c_str(), static_cast<int>(size));
    return length;
}

}  // namespace

DWORD GetCurrentDirectoryW(DWORD size, LPWSTR buffer) noexcept {
    const std::wstring path = compat::CurrentDirectory();
    return path.empty() ? static_cast<DWORD>(compat::Fail(ERROR_PATH_NOT_FOUND))
                        : CopyPath(path, buffer, size);
}

DWORD GetFullPathNameW(LPCWSTR name, DWORD size, LPWSTR buffer, LPWSTR* /*filePart*/) noexcept {
    if (name == nullptr || *name == L'\0') {
        return static_cast<DWORD>(compat::Fail(ERROR_INVALID_NAME));
    }
    std::wstring path = compat::ResolveDots(MakeAbsolute(name));
    return CopyPath(path, buffer, size);
}
