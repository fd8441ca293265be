#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "internal/call.h"
#include "internal/drive.h"
#include "internal/kernel_object.h"
#include "internal/last_error.h"
#include "internal/open_files.h"

using compat::ErrorFromErrno;
using compat::Fail;
using compat::FileId;
using compat::OpenFile;
using compat::ToHostPath;

namespace {

constexpr DWORD kWriting = GENERIC_WRITE | FILE_APPEND_DATA;
constexpr mode_t kFileMode = 0666;
constexpr mode_t kDirectoryMode = 0777;

class File final : public compat::KernelObject {
  public:
    // Takes ownership of `descriptor`.
    File(int descriptor, std::unique_ptr<OpenFile> entry) noexcept
        : descriptor_(descriptor), entry_(std::move(entry)) {}
    ~File() override { close(descriptor_); }

    const char* Kind() const noexcept override { return "file"; }
    int Descriptor() const noexcept { return descriptor_; }
    DWORD Access() const noexcept { return entry_->Access(); }

  private:
    int descriptor_;
    std::unique_ptr<OpenFile> entry_;
};

FileId IdOf(const struct stat& status) noexcept {
    return {status.st_dev, status.st_ino};
}

// The host lets its administrator open any file. Checking the mode bits here keeps a read-only file
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

bool IsDirectory(const std::string& host) noexcept {
    struct stat status = {};
    return stat(host.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Returns the system error code for errno `number` of a failed call on the path `host`.
DWORD ErrorFor(const std::string& host, int number) {
    struct stat status = {};
    const std::string name = host.substr(0, host.find_last_not_of('/') + 1);
    if (number == ENOENT) {
        const bool hasParent = IsDirectory(name.substr(0, name.rfind('/') + 1));
        return hasParent ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
    }
    // Only a directory may have a trailing separator.
    const bool wrongName =
        number == EISDIR || (number == ENOTDIR && lstat(name.c_str(), &status) == 0);
    return host.ends_with('/') && wrongName ? ERROR_INVALID_NAME : ErrorFromErrno(number);
}

HANDLE FailToOpen(DWORD error) noexcept {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

// Calls `operation` with the host's path of `name`. It returns 0, or another value and sets errno.
template <class Operation>
BOOL WithHostPath(LPCWSTR name, Operation&& operation) {
    const auto [host, error] = ToHostPath(name == nullptr ? L"" : name);
    if (error != ERROR_SUCCESS) {
        return Fail(error);
    }
    return operation(host.c_str()) == 0 ? TRUE : Fail(ErrorFor(host, errno));
}

bool IsReadOnly(const struct stat& status) noexcept {
    return (status.st_mode & S_IFMT) == S_IFREG && (status.st_mode & S_IWUSR) == 0;
}

// A file, directory or link. `error` is ERROR_SUCCESS, or why it cannot be deleted or renamed.
struct Entry {
    std::string host;
    struct stat status;
    DWORD error;
};

Entry FindForDeletion(LPCWSTR name) {
    auto [host, error] = ToHostPath(name == nullptr ? L"" : name);
    Entry entry = {std::move(host), {}, error};
    if (error == ERROR_SUCCESS && lstat(entry.host.c_str(), &entry.status) != 0) {
        entry.error = ErrorFor(entry.host, errno);
    } else if (error == ERROR_SUCCESS && !OpenFile::SharesDeletion(IdOf(entry.status))) {
        entry.error = ERROR_SHARING_VIOLATION;
    }
    return entry;
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
    if ((object->Access() & access) == 0) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    const ssize_t bytes = transfer(object->Descriptor());
    if (bytes < 0) {
        return Fail(ErrorFromErrno(errno));
    }
    if (done != nullptr) {
        *done = static_cast<DWORD>(bytes);
    }
    return TRUE;
}

}  // namespace

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* /*security*/,
                   DWORD disposition, DWORD flags, HANDLE /*templateFile*/) noexcept {
    const compat::Call call("CreateFileW", ERROR_ACCESS_DENIED,
                            "{} access={} share={} disposition={} flags={}", name, access, share,
                            disposition, flags);
    if (call.Fails()) {
        return INVALID_HANDLE_VALUE;
    }
    const auto [host, error] = ToHostPath(name == nullptr ? L"" : name);
    if (error != ERROR_SUCCESS) {
        return FailToOpen(error);
    }
    struct stat status = {};
    const bool existed = stat(host.c_str(), &status) == 0;
    if (existed && S_ISDIR(status.st_mode) && (flags & FILE_FLAG_BACKUP_SEMANTICS) == 0) {
        return FailToOpen(ERROR_ACCESS_DENIED);
    }
    if (existed && !IsAllowed(status.st_mode, access)) {
        return FailToOpen(ERROR_ACCESS_DENIED);
    }
    const int descriptor = open(host.c_str(), OpenFlags(access, disposition), kFileMode);
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        return FailToOpen(ErrorFor(host, errno));
    }
    auto entry = OpenFile::Add(IdOf(status), access, share);
    if (!entry) {
        close(descriptor);
        return FailToOpen(ERROR_SHARING_VIOLATION);
    }
    SetLastError(existed && disposition != OPEN_EXISTING ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return compat::Handles().Add<HANDLE>(std::make_shared<File>(descriptor, std::move(entry)));
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read,
              OVERLAPPED* /*async*/) noexcept {
    if (read != nullptr) {
        *read = 0;
    }
    const compat::Call call(
        "ReadFile", ERROR_READ_FAULT, "{} size={}", [file] { return compat::HandleText(file); },
        size);
    if (call.Fails()) {
        return FALSE;
    }
    return TransferBytes(file, GENERIC_READ, read, [buffer, size](int descriptor) {
        const ssize_t got = ::read(descriptor, buffer, size);
        compat::CountBytesRead(static_cast<size_t>(std::max<ssize_t>(got, 0)));
        return got;
    });
}

BOOL WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written,
               OVERLAPPED* /*async*/) noexcept {
    if (written != nullptr) {
        *written = 0;
    }
    const compat::Call call(
        "WriteFile", ERROR_DISK_FULL, "{} size={}", [file] { return compat::HandleText(file); },
        size);
    if (call.Fails()) {
        return FALSE;
    }
    return TransferBytes(file, kWriting, written, [bytes, size](int descriptor) {
        return ::write(descriptor, bytes, size);
    });
}

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) noexcept {
    const compat::Call call("GetFileSizeEx", ERROR_NOT_READY, "{}",
                            [file] { return compat::HandleText(file); });
    if (call.Fails()) {
        return FALSE;
    }
    const auto object = FindFile(file);
    struct stat status = {};
    if (!object || fstat(object->Descriptor(), &status) != 0) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    size->QuadPart = status.st_size;
    return TRUE;
}

DWORD GetFileAttributesW(LPCWSTR name) noexcept {
    const compat::Call call("GetFileAttributesW", ERROR_ACCESS_DENIED, "{}", name);
    if (call.Fails()) {
        return INVALID_FILE_ATTRIBUTES;
    }
    const auto [host, error] = ToHostPath(name == nullptr ? L"" : name);
    struct stat status = {};
    if (error != ERROR_SUCCESS || lstat(host.c_str(), &status) != 0) {
        SetLastError(error != ERROR_SUCCESS ? error : ErrorFor(host, errno));
        return INVALID_FILE_ATTRIBUTES;
    }
    DWORD attributes = S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : 0;
    attributes |= S_ISLNK(status.st_mode) ? FILE_ATTRIBUTE_REPARSE_POINT : 0;
    attributes |= IsReadOnly(status) ? FILE_ATTRIBUTE_READONLY : 0;
    return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

BOOL SetFileAttributesW(LPCWSTR name, DWORD attributes) noexcept {
    const compat::Call call("SetFileAttributesW", ERROR_ACCESS_DENIED, "{} attributes={}", name,
                            attributes);
    if (call.Fails()) {
        return FALSE;
    }
    return WithHostPath(name, [attributes](const char* host) {
        struct stat status = {};
        if (stat(host, &status) != 0) {
            return -1;
        }
        const bool readOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
        const mode_t writers = S_IWUSR | S_IWGRP | S_IWOTH;
        return chmod(host, readOnly ? status.st_mode & ~writers : status.st_mode | S_IWUSR);
    });
}

BOOL CreateDirectoryW(LPCWSTR name, SECURITY_ATTRIBUTES* /*security*/) noexcept {
    const compat::Call call("CreateDirectoryW", ERROR_ACCESS_DENIED, "{}", name);
    if (call.Fails()) {
        return FALSE;
    }
    return WithHostPath(name, [](const char* host) { return mkdir(host, kDirectoryMode); });
}

BOOL RemoveDirectoryW(LPCWSTR name) noexcept {
    const compat::Call call("RemoveDirectoryW", ERROR_ACCESS_DENIED, "{}", name);
    if (call.Fails()) {
        return FALSE;
    }
    const Entry entry = FindForDeletion(name);
    if (entry.error != ERROR_SUCCESS) {
        return Fail(entry.error);
    }
    if (!S_ISDIR(entry.status.st_mode)) {
        return Fail(ERROR_DIRECTORY);
    }
    return rmdir(entry.host.c_str()) == 0 ? TRUE : Fail(ErrorFromErrno(errno));
}

BOOL DeleteFileW(LPCWSTR name) noexcept {
    const compat::Call call("DeleteFileW", ERROR_ACCESS_DENIED, "{}", name);
    if (call.Fails()) {
        return FALSE;
    }
    const Entry entry = FindForDeletion(name);
    if (S_ISDIR(entry.status.st_mode)) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    if (entry.error != ERROR_SUCCESS) {
        return Fail(entry.error);
    }
    if (IsReadOnly(entry.status)) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    return unlink(entry.host.c_str()) == 0 ? TRUE : Fail(ErrorFromErrno(errno));
}

BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) noexcept {
    const compat::Call call("MoveFileExW", ERROR_ACCESS_DENIED, "{} {} flags={}", from, to, flags);
    if (call.Fails()) {
        return FALSE;
    }
    const Entry source = FindForDeletion(from);
    if (source.error != ERROR_SUCCESS) {
        return Fail(source.error);
    }
    const auto [target, error] = ToHostPath(to == nullptr ? L"" : to);
    if (error != ERROR_SUCCESS) {
        return Fail(error);
    }
    struct stat status = {};
    if (lstat(target.c_str(), &status) == 0 && !(IdOf(status) == IdOf(source.status))) {
        if ((flags & MOVEFILE_REPLACE_EXISTING) == 0) {
            return Fail(ERROR_ALREADY_EXISTS);
        }
        // An open file cannot be replaced, even if all its handles share deletion.
        if (S_ISDIR(status.st_mode) || IsReadOnly(status) || OpenFile::IsOpen(IdOf(status))) {
            return Fail(ERROR_ACCESS_DENIED);
        }
    }
    return rename(source.host.c_str(), target.c_str()) == 0 ? TRUE : Fail(ErrorFor(target, errno));
}

BOOL GetFileAttributesExW(LPCWSTR name, GET_FILEEX_INFO_LEVELS /*level*/, LPVOID data) noexcept {
    const DWORD attributes = GetFileAttributesW(name);
    const std::string host = ToHostPath(name).host;
    struct stat status = {};
    if (attributes == INVALID_FILE_ATTRIBUTES || stat(host.c_str(), &status) != 0) {
        return FALSE;
    }
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
