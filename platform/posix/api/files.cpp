#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <cerrno>
#include <cstdio>

#include "internal/call.h"
#include "internal/drive.h"
#include "internal/kernel_object.h"
#include "internal/last_error.h"
#include "internal/linux_file.h"
#include "testing/watch.h"

using compat::ErrorFromErrno;
using compat::Fail;
using compat::IsDirectory;
using compat::ToLinuxPath;

namespace {

constexpr DWORD kWriting = GENERIC_WRITE | FILE_APPEND_DATA;
constexpr mode_t kFileMode = 0666;
constexpr mode_t kDirectoryMode = 0777;

struct File final : compat::KernelObject {
    // Takes ownership of `openDescriptor`.
    File(int openDescriptor, DWORD rights) noexcept : descriptor(openDescriptor), access(rights) {}
    ~File() override { close(descriptor); }

    const int descriptor;
    const DWORD access;
};

// Linux lets root open any file. Checking the mode bits here keeps a read-only file
// read-only for that user too.
bool IsAllowed(mode_t mode, DWORD access) noexcept {
    return ((access & GENERIC_READ) == 0 || (mode & S_IRUSR) != 0) &&
           ((access & kWriting) == 0 || (mode & S_IWUSR) != 0);
}

int OpenFlags(DWORD access, DWORD disposition) noexcept {
    int flags = O_CLOEXEC;
    if ((access & kWriting) != 0) {
        flags |= (access & GENERIC_READ) != 0 ? O_RDWR : O_WRONLY;
    } else if ((access & GENERIC_READ) == 0) {
        flags |= O_PATH;
    }
    // Without GENERIC_WRITE each write goes to the end of the file.
    flags |= (access & kWriting) == FILE_APPEND_DATA ? O_APPEND : 0;
    flags |= disposition == OPEN_ALWAYS ? O_CREAT : 0;
    return flags;
}

// Returns the system error code for errno `number` of a failed call on the path `linuxPath`.
DWORD ErrorFor(const std::string& linuxPath, int number) {
    struct stat status = {};
    const std::string name = linuxPath.substr(0, linuxPath.find_last_not_of('/') + 1);
    if (number == ENOENT) {
        const bool hasParent = IsDirectory(name.substr(0, name.rfind('/') + 1));
        return hasParent ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
    }
    // Only a directory may have a trailing separator.
    const bool wrongName =
        number == EISDIR || (number == ENOTDIR && lstat(name.c_str(), &status) == 0);
    return linuxPath.ends_with('/') && wrongName ? ERROR_INVALID_NAME : ErrorFromErrno(number);
}

HANDLE FailToOpen(DWORD error) noexcept {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

// Calls `operation` with the Linux path of `name`. It returns 0, or another value and sets errno.
template <class Operation>
BOOL WithLinuxPath(LPCWSTR name, Operation&& operation) {
    const auto [linuxPath, error] = ToLinuxPath(name);
    if (error != ERROR_SUCCESS) {
        return Fail(error);
    }
    return operation(linuxPath.c_str()) == 0 ? TRUE : Fail(ErrorFor(linuxPath, errno));
}

// A file, directory or link. `error` is ERROR_SUCCESS, or why its status cannot be read.
struct Entry {
    std::string linuxPath;
    DWORD error;
    struct stat status;

    bool IsDirectory() const noexcept { return S_ISDIR(status.st_mode); }
    bool IsReadOnly() const noexcept {
        return S_ISREG(status.st_mode) && (status.st_mode & S_IWUSR) == 0;
    }
};

Entry FindEntry(LPCWSTR name) {
    auto [linuxPath, error] = ToLinuxPath(name);
    Entry entry = {std::move(linuxPath), error, {}};
    if (error == ERROR_SUCCESS && lstat(entry.linuxPath.c_str(), &entry.status) != 0) {
        entry.error = ErrorFor(entry.linuxPath, errno);
    }
    return entry;
}

// Returns the attributes of `entry`. If it cannot be read, sets the last error.
DWORD Attributes(const Entry& entry) noexcept {
    if (entry.error != ERROR_SUCCESS) {
        SetLastError(entry.error);
        return INVALID_FILE_ATTRIBUTES;
    }
    DWORD attributes = entry.IsDirectory() ? FILE_ATTRIBUTE_DIRECTORY : 0;
    attributes |= S_ISLNK(entry.status.st_mode) ? FILE_ATTRIBUTE_REPARSE_POINT : 0;
    attributes |= entry.IsReadOnly() ? FILE_ATTRIBUTE_READONLY : 0;
    return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

std::shared_ptr<File> FindFile(HANDLE handle) {
    return std::dynamic_pointer_cast<File>(compat::Handles().Find(handle));
}

// Calls `transfer` with the descriptor of `file`, which needs one of the rights `access`. It
// returns the number of bytes, which `done` receives unless it is null, or -1 and sets errno.
template <class Operation>
BOOL TransferBytes(HANDLE file, DWORD access, LPDWORD done, Operation&& transfer) {
    const auto object = FindFile(file);
    if (!object) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if ((object->access & access) == 0) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    const ssize_t bytes = transfer(object->descriptor);
    if (bytes < 0) {
        return Fail(ErrorFromErrno(errno));
    }
    if (done != nullptr) {
        *done = static_cast<DWORD>(bytes);
    }
    return TRUE;
}

}  // namespace

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD flags, HANDLE templateFile) noexcept {
    const compat::Call call("CreateFileW", ERROR_ACCESS_DENIED);
    compat::Watch<&CreateFileW>::Pass(name, access, share, security, disposition, flags,
                                      templateFile);
    if (call.Fails()) {
        return INVALID_HANDLE_VALUE;
    }
    const auto [linuxPath, error] = ToLinuxPath(name);
    if (error != ERROR_SUCCESS) {
        return FailToOpen(error);
    }
    struct stat status = {};
    const bool existed = stat(linuxPath.c_str(), &status) == 0;
    const bool refused = (S_ISDIR(status.st_mode) && (flags & FILE_FLAG_BACKUP_SEMANTICS) == 0) ||
                         !IsAllowed(status.st_mode, access);
    if (existed && refused) {
        return FailToOpen(ERROR_ACCESS_DENIED);
    }
    const int descriptor = open(linuxPath.c_str(), OpenFlags(access, disposition), kFileMode);
    if (descriptor < 0) {
        return FailToOpen(ErrorFor(linuxPath, errno));
    }
    SetLastError(existed && disposition != OPEN_EXISTING ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return compat::Handles().Add<HANDLE>(std::make_shared<File>(descriptor, access));
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, OVERLAPPED* async) noexcept {
    if (read != nullptr) {
        *read = 0;
    }
    const compat::Call call("ReadFile", ERROR_READ_FAULT);
    compat::Watch<&ReadFile>::Pass(file, buffer, size, read, async);
    if (call.Fails()) {
        return FALSE;
    }
    return TransferBytes(file, GENERIC_READ, read, [buffer, size](int descriptor) {
        return ::read(descriptor, buffer, size);
    });
}

BOOL WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written,
               OVERLAPPED* /*async*/) noexcept {
    if (written != nullptr) {
        *written = 0;
    }
    const compat::Call call("WriteFile", ERROR_DISK_FULL);
    if (call.Fails()) {
        return FALSE;
    }
    return TransferBytes(file, kWriting, written, [bytes, size](int descriptor) {
        return ::write(descriptor, bytes, size);
    });
}

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) noexcept {
    const compat::Call call("GetFileSizeEx", ERROR_NOT_READY);
    if (call.Fails()) {
        return FALSE;
    }
    const auto object = FindFile(file);
    struct stat status = {};
    if (!object || fstat(object->descriptor, &status) != 0) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    size->QuadPart = status.st_size;
    return TRUE;
}

DWORD GetFileAttributesW(LPCWSTR name) noexcept {
    const compat::Call call("GetFileAttributesW", ERROR_ACCESS_DENIED);
    return call.Fails() ? INVALID_FILE_ATTRIBUTES : Attributes(FindEntry(name));
}

BOOL SetFileAttributesW(LPCWSTR name, DWORD attributes) noexcept {
    return WithLinuxPath(name, [attributes](const char* linuxPath) {
        struct stat status = {};
        if (stat(linuxPath, &status) != 0) {
            return -1;
        }
        const bool readOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
        const mode_t writers = S_IWUSR | S_IWGRP | S_IWOTH;
        return chmod(linuxPath, readOnly ? status.st_mode & ~writers : status.st_mode | S_IWUSR);
    });
}

BOOL CreateDirectoryW(LPCWSTR name, SECURITY_ATTRIBUTES* /*security*/) noexcept {
    const compat::Call call("CreateDirectoryW", ERROR_ACCESS_DENIED);
    if (call.Fails()) {
        return FALSE;
    }
    return WithLinuxPath(name,
                         [](const char* linuxPath) { return mkdir(linuxPath, kDirectoryMode); });
}

BOOL RemoveDirectoryW(LPCWSTR name) noexcept {
    const Entry entry = FindEntry(name);
    if (entry.error != ERROR_SUCCESS) {
        return Fail(entry.error);
    }
    if (!entry.IsDirectory()) {
        return Fail(ERROR_DIRECTORY);
    }
    return rmdir(entry.linuxPath.c_str()) == 0 ? TRUE : Fail(ErrorFromErrno(errno));
}

BOOL DeleteFileW(LPCWSTR name) noexcept {
    const Entry entry = FindEntry(name);
    if (entry.error != ERROR_SUCCESS) {
        return Fail(entry.error);
    }
    if (entry.IsDirectory() || entry.IsReadOnly()) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    return unlink(entry.linuxPath.c_str()) == 0 ? TRUE : Fail(ErrorFromErrno(errno));
}

BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) noexcept {
    const Entry source = FindEntry(from);
    const Entry target = FindEntry(to);
    if (source.error != ERROR_SUCCESS) {
        return Fail(source.error);
    }
    if (target.linuxPath.empty()) {
        return Fail(target.error);
    }
    const bool replaces =
        target.error == ERROR_SUCCESS && (target.status.st_dev != source.status.st_dev ||
                                          target.status.st_ino != source.status.st_ino);
    if (replaces && (flags & MOVEFILE_REPLACE_EXISTING) == 0) {
        return Fail(ERROR_ALREADY_EXISTS);
    }
    if (replaces && (target.IsDirectory() || target.IsReadOnly())) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    return rename(source.linuxPath.c_str(), target.linuxPath.c_str()) == 0
               ? TRUE
               : Fail(ErrorFor(target.linuxPath, errno));
}

BOOL GetFileAttributesExW(LPCWSTR name, GET_FILEEX_INFO_LEVELS /*level*/, LPVOID data) noexcept {
    const Entry entry = FindEntry(name);
    const DWORD attributes = Attributes(entry);
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return FALSE;
    }
    const struct stat& status = entry.status;
    // File times count units of 100 ns from 1601 on.
    constexpr uint64_t kUnitsPerSecond = 10'000'000;
    constexpr uint64_t kSecondsTo1970 = 11'644'473'600;
    const auto seconds = static_cast<uint64_t>(status.st_mtim.tv_sec) + kSecondsTo1970;
    const uint64_t time =
        seconds * kUnitsPerSecond + static_cast<uint64_t>(status.st_mtim.tv_nsec) / 100;
    const auto size = static_cast<uint64_t>(status.st_size);
    auto& result = *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(data);
    result = {};
    result.dwFileAttributes = attributes;
    result.ftLastWriteTime = {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
    result.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    result.nFileSizeLow = static_cast<DWORD>(size);
    return TRUE;
}
