#include "common/file.h"

#include <windows.h>

#include <algorithm>

#include "common/owners.h"
#include "common/path.h"

namespace kelvaro {
namespace {

// Deleting included: a program that replaces a file by renaming another over it must never find
// itself blocked because a menu is being built.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// ReadFile and WriteFile count in 32 bits; larger files go in pieces of this size.
constexpr size_t kLargestTransfer = size_t{1} << 30;

HANDLE OpenExisting(const wchar_t* path, DWORD access, DWORD flags) noexcept {
    return CreateFileW(path, access, kShareAll, nullptr, OPEN_EXISTING, flags, nullptr);
}

}  // namespace

FileBytes ReadFileBytes(const wchar_t* path, uint64_t limit) {
    const ScopedHandle file(OpenExisting(path, GENERIC_READ, FILE_FLAG_SEQUENTIAL_SCAN));
    LARGE_INTEGER length = {};
    if (!file.IsOpen() || !GetFileSizeEx(file.Get(), &length)) {
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
        if (!ReadFile(file.Get(), bytes.get() + filled, wanted, &got, nullptr) || got == 0) {
            break;
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
    // The attributes are the link's own; opening it tells whether its target is there.
    return ScopedHandle(OpenExisting(path, 0, FILE_FLAG_BACKUP_SEMANTICS)).IsOpen();
}

bool AppendToFile(const wchar_t* path, std::string_view bytes) noexcept {
    // Append access alone makes the system put each write at the end as it is then: lines of
    // several processes never overwrite each other.
    const ScopedHandle file(CreateFileW(path, FILE_APPEND_DATA, kShareAll, nullptr, OPEN_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    return file.IsOpen() && bytes.size() <= kLargestTransfer &&
           WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                     nullptr) &&
           written == bytes.size();
}

bool CreateDirectories(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }
    const std::wstring_view parent = ParentPath(path);
    if (parent.empty() || parent.size() == path.size() ||
        !CreateDirectories(std::wstring(parent))) {
        return false;
    }
    // Another process may have made it since the question above.
    return CreateDirectoryW(path.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS;
}

}  // namespace kelvaro
