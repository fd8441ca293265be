#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <list>

#include "internal/drive.h"
#include "internal/encoding.h"
#include "internal/kernel_object.h"
#include "testing/failing_calls.h"

using compat::ErrorFromErrno;
using compat::ToHostPath;

namespace {

constexpr DWORD kWriting = GENERIC_WRITE | FILE_APPEND_DATA;
constexpr mode_t kFileMode = 0666;
constexpr mode_t kDirectoryMode = 0777;

// One open of a file, for the sharing rules that the host does not have. They hold within the
// process only.
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
    // Takes `descriptor` and joins the file's users; ERROR_SHARING_VIOLATION where one refuses.
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

// The rights in the mode bits hold for every user here: a host's administrator passes them by, and
// a read-only file has to refuse him as well.
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
    // Only a handle that may do nothing but append writes at the end whatever happens.
    flags |= (access & kWriting) == FILE_APPEND_DATA ? O_APPEND : 0;
    flags |= disposition == CREATE_ALWAYS ? O_CREAT | O_TRUNC : 0;
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

HANDLE Refuse(DWORD error) noexcept {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

BOOL Answer(DWORD error) noexcept {
    if (error == ERROR_SUCCESS) {
        return TRUE;
    }
    SetLastError(error);
    return FALSE;
}

// Runs a host call on the file of `name`; the call answers 0 or sets errno.
template <class Call>
BOOL OnHost(LPCWSTR name, Call&& call) {
    const auto [host, error] = ToHostPath(name == nullptr ? L"" : name);
    if (error != ERROR_SUCCESS) {
        return Answer(error);
    }
    return Answer(call(host.c_str()) == 0 ? ERROR_SUCCESS : ErrorFor(host, errno));
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
        return Refuse(error);
    }
    struct stat status = {};
    const bool existed = stat(host.c_str(), &status) == 0;
    if (existed && S_ISDIR(status.st_mode) && (flags & FILE_FLAG_BACKUP_SEMANTICS) == 0) {
        return Refuse(ERROR_ACCESS_DENIED);
    }
    if (existed && !IsAllowed(status.st_mode, access)) {
        return Refuse(ERROR_ACCESS_DENIED);
    }
    const int descriptor = open(host.c_str(), OpenFlags(access, disposition), kFileMode);
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        return Refuse(ErrorFor(host, errno));
    }
    auto file = File::Open(descriptor, {status.st_dev, status.st_ino, access, share});
    if (!file) {
        return Refuse(ERROR_SHARING_VIOLATION);
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
        return Answer(ERROR_INVALID_HANDLE);
    }
    if ((object->Access() & GENERIC_READ) == 0) {
        return Answer(ERROR_ACCESS_DENIED);
    }
    const ssize_t got = ::read(object->Descriptor(), buffer, size);
    if (got < 0) {
        return Answer(ErrorFromErrno(errno));
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
        return Answer(ERROR_INVALID_HANDLE);
    }
    if ((object->Access() & kWriting) == 0) {
        return Answer(ERROR_ACCESS_DENIED);
    }
    const ssize_t put = ::write(object->Descriptor(), bytes, size);
    if (put < 0) {
        return Answer(ErrorFromErrno(errno));
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
        return Answer(ERROR_INVALID_HANDLE);
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
    if (!OnHost(name, [&status](const char* host) { return lstat(host, &status); })) {
        return INVALID_FILE_ATTRIBUTES;
    }
    DWORD attributes = S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : 0;
    attributes |= S_ISLNK(status.st_mode) ? FILE_ATTRIBUTE_REPARSE_POINT : 0;
    attributes |= (status.st_mode & S_IWUSR) == 0 ? FILE_ATTRIBUTE_READONLY : 0;
    return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

BOOL SetFileAttributesW(LPCWSTR name, DWORD attributes) noexcept {
    return OnHost(name, [attributes](const char* host) {
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
    return OnHost(name, [](const char* host) { return mkdir(host, kDirectoryMode); });
}

BOOL RemoveDirectoryW(LPCWSTR name) noexcept {
    return OnHost(name, [](const char* host) { return rmdir(host); });
}

BOOL DeleteFileW(LPCWSTR name) noexcept {
    return OnHost(name, [](const char* host) { return unlink(host); });
}

BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) noexcept {
    return OnHost(from, [to, flags](const char* host) {
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
