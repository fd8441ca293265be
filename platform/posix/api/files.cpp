#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <list>

#include "internal/call.h"
#include "internal/drive.h"
#include "internal/encoding.h"
#include "internal/kernel_object.h"
#include "internal/last_error.h"

using compat::ErrorFromErrno;
using compat::Fail;
using compat::ToHostPath;

namespace {

constexpr DWORD kWriting = GENERIC_WRITE | FILE_APPEND_DATA;
constexpr mode_t kFileMode = 0666;
constexpr mode_t kDirectoryMode = 0777;

// The access and sharing of one open handle. The host has no sharing rules, so they are checked
// here, within the process only.
struct OpenMode {
    dev_t device;
    ino_t node;
    DWORD access;
    DWORD share;
};

std::mutex g_openMutex;
std::list<OpenMode> g_open;

bool Excludes(const OpenMode& holder, DWORD access) noexcept {
    return ((access & GENERIC_READ) != 0 && (holder.share & FILE_SHARE_READ) == 0) ||
           ((access & kWriting) != 0 && (holder.share & FILE_SHARE_WRITE) == 0);
}

class File final : public compat::KernelObject {
  public:
    // Takes ownership of `descriptor`. Returns null if an open handle does not share the file with
    // `mode`, or `mode` not with it.
    static std::shared_ptr<File> Open(int descriptor, const OpenMode& mode) {
        const std::lock_guard lock(g_openMutex);
        for (const OpenMode& other : g_open) {
            const bool same = other.device == mode.device && other.node == mode.node;
            if (same && (Excludes(other, mode.access) || Excludes(mode, other.access))) {
                close(descriptor);
                return nullptr;
            }
        }
        auto file = std::make_shared<File>(descriptor);
        file->entry_ = g_open.insert(g_open.end(), mode);
        return file;
    }

    explicit File(int descriptor) noexcept : descriptor_(descriptor) {}
    ~File() override {
        close(descriptor_);
        const std::lock_guard lock(g_openMutex);
        g_open.erase(entry_);
    }

    int Descriptor() const noexcept { return descriptor_; }
    DWORD Access() const noexcept { return entry_->access; }

  private:
    int descriptor_;
    std::list<OpenMode>::iterator entry_;
};

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

DWORD MissingError(const std::string& host) {
    const size_t end = host.rfind('/');
    struct stat status = {};
    const bool hasParent =
        end == 0 || end == std::string::npos ||
        (stat(host.substr(0, end).c_str(), &status) == 0 && S_ISDIR(status.st_mode));
    return hasParent ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

DWORD ErrorFor(const std::string& host, int number) {
    return number == ENOENT ? MissingError(host) : ErrorFromErrno(number);
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

std::shared_ptr<File> FindFile(HANDLE handle) {
    return std::dynamic_pointer_cast<File>(compat::Handles().Find(handle));
}

}  // namespace

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* /*security*/,
                   DWORD disposition, DWORD flags, HANDLE /*templateFile*/) noexcept {
    const compat::Call call("CreateFileW", ERROR_ACCESS_DENIED);
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
    auto file = File::Open(descriptor, {status.st_dev, status.st_ino, access, share});
    if (!file) {
        return FailToOpen(ERROR_SHARING_VIOLATION);
    }
    SetLastError(existed && disposition != OPEN_EXISTING ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return compat::Handles().Add<HANDLE>(std::move(file));
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read,
              OVERLAPPED* /*async*/) noexcept {
    if (read != nullptr) {
        *read = 0;
    }
    const compat::Call call("ReadFile", ERROR_READ_FAULT);
    if (call.Fails()) {
        return FALSE;
    }
    const auto object = FindFile(file);
    if (!object) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if ((object->Access() & GENERIC_READ) == 0) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    const ssize_t got = ::read(object->Descriptor(), buffer, size);
    if (got < 0) {
        return Fail(ErrorFromErrno(errno));
    }
    compat::CountBytesRead(static_cast<size_t>(got));
    if (read != nullptr) {
        *read = static_cast<DWORD>(got);
    }
    return TRUE;
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
    const auto object = FindFile(file);
    if (!object) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if ((object->Access() & kWriting) == 0) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    const ssize_t put = ::write(object->Descriptor(), bytes, size);
    if (put < 0) {
        return Fail(ErrorFromErrno(errno));
    }
    if (written != nullptr) {
        *written = static_cast<DWORD>(put);
    }
    return TRUE;
}

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) noexcept {
    const compat::Call call("GetFileSizeEx", ERROR_NOT_READY);
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
    const compat::Call call("GetFileAttributesW", ERROR_ACCESS_DENIED);
    if (call.Fails()) {
        return INVALID_FILE_ATTRIBUTES;
    }
    struct stat status = {};
    if (!WithHostPath(name, [&status](const char* host) { return lstat(host, &status); })) {
        return INVALID_FILE_ATTRIBUTES;
    }
    DWORD attributes = S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : 0;
    attributes |= S_ISLNK(status.st_mode) ? FILE_ATTRIBUTE_REPARSE_POINT : 0;
    attributes |= (status.st_mode & S_IWUSR) == 0 ? FILE_ATTRIBUTE_READONLY : 0;
    return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

BOOL SetFileAttributesW(LPCWSTR name, DWORD attributes) noexcept {
    const compat::Call call("SetFileAttributesW", ERROR_ACCESS_DENIED);
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
    const compat::Call call("CreateDirectoryW", ERROR_ACCESS_DENIED);
    if (call.Fails()) {
        return FALSE;
    }
    return WithHostPath(name, [](const char* host) { return mkdir(host, kDirectoryMode); });
}

BOOL RemoveDirectoryW(LPCWSTR name) noexcept {
    const compat::Call call("RemoveDirectoryW", ERROR_ACCESS_DENIED);
    if (call.Fails()) {
        return FALSE;
    }
    return WithHostPath(name, [](const char* host) { return rmdir(host); });
}

BOOL DeleteFileW(LPCWSTR name) noexcept {
    const compat::Call call("DeleteFileW", ERROR_ACCESS_DENIED);
    if (call.Fails()) {
        return FALSE;
    }
    return WithHostPath(name, [](const char* host) { return unlink(host); });
}

BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) noexcept {
    const compat::Call call("MoveFileExW", ERROR_ACCESS_DENIED);
    if (call.Fails()) {
        return FALSE;
    }
    return WithHostPath(from, [to, flags](const char* host) {
        const auto [target, error] = ToHostPath(to);
        struct stat status = {};
        if (error != ERROR_SUCCESS) {
            errno = ENOENT;
            return -1;
        }
        if ((flags & MOVEFILE_REPLACE_EXISTING) == 0 && lstat(target.c_str(), &status) == 0) {
            errno = EEXIST;
            return -1;
        }
        return rename(host, target.c_str());
    });
}

DWORD GetFullPathNameW(LPCWSTR name, DWORD size, LPWSTR buffer, LPWSTR* /*filePart*/) noexcept {
    const compat::Call call("GetFullPathNameW", ERROR_INVALID_NAME);
    if (call.Fails()) {
        return 0;
    }
    if (name == nullptr || *name == L'\0') {
        SetLastError(ERROR_INVALID_NAME);
        return 0;
    }
    std::wstring full = name;
    for (wchar_t& unit : full) {
        unit = unit == L'/' ? L'\\' : unit;
    }
    if (full.size() < 2 || full[1] != L':') {
        // A path of the host, absolute or not, has a path here too; a command line may name either.
        std::string host = compat::Utf8FromWide(name);
        std::replace(host.begin(), host.end(), '\\', '/');
        host = std::filesystem::absolute(host).lexically_normal();
        full = compat::FromHostPath(host);
    }
    if (full.size() >= size) {
        return static_cast<DWORD>(full.size() + 1);
    }
    full.copy(buffer, full.size());
    buffer[full.size()] = L'\0';
    return static_cast<DWORD>(full.size());
}
