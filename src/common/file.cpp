#include "common/file.h"

#include <windows.h>

#include <algorithm>

#include "common/owners.h"
#include "common/path.h"

namespace kelvaro {
namespace {

// Sharing includes deletion: another program can rename or delete the file while a menu is being
// built. Renaming another file over it can fail with ERROR_ACCESS_DENIED until it is closed.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// ReadFile takes a 32-bit size.
constexpr size_t kLargestTransfer = size_t{1} << 30;

HANDLE OpenExisting(const wchar_t* path, DWORD access, DWORD flags) noexcept {
    return CreateFileW(path, access, kShareAll, nullptr, OPEN_EXISTING, flags, nullptr);
}

}  // namespace

FileBytes ReadFileBytes(const wchar_t* path, uint64_t limit) {
    const ScopedHandle file(OpenExisting(path, GENERIC_READ, FILE_FLAG_SEQUENTIAL_SCAN));
    LARGE_INTEGER length = {};
    if (!file || !GetFileSizeEx(file.Get(), &length)) {
        return {};
    }
    if (length.QuadPart <= 0 || static_cast<uint64_t>(length.QuadPart) > limit) {
        return {};
    }
    const auto size = static_cast<size_t>(length.QuadPart);
    auto bytes = std::make_unique_for_overwrite<char[]>(size);
    size_t filled = 0;
    while (filled < size) {
        const auto wanted = static_cast<DWORD>(std::min(size - filled, kLargestTransfer));
        DWORD got = 0;
        ReadFile(file.Get(), bytes.get() + filled, wanted, &got, nullptr);
        if (got == 0) {
            break;  // a failure, or another program has truncated the file
        }
        filled += got;
    }
    return {std::move(bytes), filled};
}

bool PathExists(const wchar_t* path) noexcept {
    const DWORD attributes = GetFileAttributesW(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return false;
    }
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        return true;
    }
    // These are the attributes of the link itself. Opening it fails if its target is missing.
    return static_cast<bool>(ScopedHandle(OpenExisting(path, 0, FILE_FLAG_BACKUP_SEMANTICS)));
}

bool AppendToFile(const wchar_t* path, std::string_view bytes) noexcept {
    // With append access only, the system writes at the current end of the file, so lines of
    // concurrent processes never overwrite each other.
    const ScopedHandle file(CreateFileW(path, FILE_APPEND_DATA, kShareAll, nullptr, OPEN_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    // To a file on a disk, the system writes everything or fails.
    DWORD written = 0;
    return file &&
           WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

bool CreateDirectories(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }
    const std::wstring_view parent = ParentPath(path);
    if (parent.size() == path.size() || !CreateDirectories(std::wstring(parent))) {
        return false;
    }
    // Another process may have created it since the check above.
    return CreateDirectoryW(path.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS;
}

}  // namespace kelvaro
