#include "setup/files.h"

#include <windows.h>

#include "common/owners.h"
#include "common/path.h"
#include "common/text.h"
#include "setup/failure.h"

namespace setup {
namespace {

constexpr std::wstring_view kLong = L"\\\\?\\";
constexpr std::wstring_view kDevice = L"\\\\.\\";
constexpr std::wstring_view kLongNetwork = L"\\\\?\\UNC\\";

bool HasPrefix(std::wstring_view path, std::wstring_view prefix) {
    return kelvaro::EqualsIgnoringCase(path.substr(0, prefix.size()), prefix);
}

// Returns the form of `path` that is not limited to 260 characters.
std::wstring Native(const std::wstring& path) {
    if (HasPrefix(path, kLong) || HasPrefix(path, kDevice)) {
        return path;
    }
    return HasPrefix(path, L"\\\\") ? kelvaro::Concat({kLongNetwork, path.substr(2)})
                                    : kelvaro::Concat({kLong, path});
}

DWORD Attributes(const std::wstring& path) {
    return GetFileAttributesW(Native(path).c_str());
}

kelvaro::ScopedHandle Open(const std::wstring& path, DWORD access) {
    return kelvaro::ScopedHandle(CreateFileW(
        Native(path).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

}  // namespace

std::wstring FullPath(std::wstring path) {
    if (HasPrefix(path, kLongNetwork)) {
        path.replace(0, kLongNetwork.size(), L"\\\\");
    } else if ((HasPrefix(path, kLong) || HasPrefix(path, kDevice)) && path.size() > 5 &&
               path[5] == L':') {
        path.erase(0, kLong.size());
    }
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    Require(!full.empty(), "find", path);
    while (kelvaro::IsSeparator(full.back()) && kelvaro::ParentPath(full) != full) {
        full.pop_back();
    }
    return full;
}

bool Exists(const std::wstring& path) {
    return Attributes(path) != INVALID_FILE_ATTRIBUTES;
}

bool IsFile(const std::wstring& path) {
    return (Attributes(path) & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool IsSameDirectory(const std::wstring& left, const std::wstring& right) {
    const kelvaro::ScopedHandle first = Open(left, 0);
    const kelvaro::ScopedHandle second = Open(right, 0);
    BY_HANDLE_FILE_INFORMATION one = {};
    BY_HANDLE_FILE_INFORMATION other = {};
    if (first && second && GetFileInformationByHandle(first.Get(), &one) &&
        GetFileInformationByHandle(second.Get(), &other)) {
        return one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
               one.nFileIndexHigh == other.nFileIndexHigh &&
               one.nFileIndexLow == other.nFileIndexLow;
    }
    return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_EQUAL;
}

void CopyToDisk(const std::wstring& from, const std::wstring& to) {
    Require(CopyFileW(Native(from).c_str(), Native(to).c_str(), TRUE),
            "copy " + Quoted(from) + " to", to);
    Require(SetFileAttributesW(Native(to).c_str(), FILE_ATTRIBUTE_NORMAL), "write", to);
    const kelvaro::ScopedHandle file = Open(to, GENERIC_WRITE);
    Require(file && FlushFileBuffers(file.Get()), "write", to);
}

void Rename(const std::wstring& from, const std::wstring& to) {
    Require(MoveFileExW(Native(from).c_str(), Native(to).c_str(), MOVEFILE_WRITE_THROUGH), "rename",
            from);
}

void MakeDirectory(const std::wstring& path) {
    Require(CreateDirectoryW(Native(path).c_str(), nullptr), "create", path);
}

bool Delete(const std::wstring& path) {
    SetFileAttributesW(Native(path).c_str(), FILE_ATTRIBUTE_NORMAL);
    return DeleteFileW(Native(path).c_str());
}

void DeleteIfEmpty(const std::wstring& path) {
    RemoveDirectoryW(Native(path).c_str());
}

std::vector<std::wstring> FilesStartingWith(const std::wstring& directory,
                                            const std::wstring& prefix) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found = {};
    const HANDLE search =
        FindFirstFileW(Native(kelvaro::JoinPath(directory, prefix + L"*")).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return names;
    }
    do {
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 &&
            HasPrefix(found.cFileName, prefix)) {
            names.emplace_back(found.cFileName);
        }
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return names;
}

}  // namespace setup
