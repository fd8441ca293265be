#include "internal/drive.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>
#include <winerror.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <utility>

#include "internal/encoding.h"
#include "internal/linux_file.h"
#include "internal/path_syntax.h"

namespace compat {
namespace {

bool HasForbiddenCharacter(std::wstring_view path) noexcept {
    return std::any_of(path.begin(), path.end(), [](wchar_t unit) {
        return unit < L' ' || std::wstring_view(L"<>\"|?*:").find(unit) != std::wstring_view::npos;
    });
}

bool Exists(const std::string& linuxPath) noexcept {
    struct stat status = {};
    return lstat(linuxPath.c_str(), &status) == 0;
}

// Returns the entry of `directory` whose name is `name` in any letter case, or `name` if there is
// none.
std::string FindEntry(const std::string& directory, const std::string& name) {
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(directory.c_str()), closedir);
    if (!entries) {
        return name;
    }
    const std::wstring wanted = FoldName(WideFromUtf8(name));
    while (const dirent* const entry = readdir(entries.get())) {
        if (FoldName(WideFromUtf8(entry->d_name)) == wanted) {
            return entry->d_name;
        }
    }
    return name;
}

// A path split into the Linux directory of its drive and the rest.
struct DrivePath {
    std::string root;
    std::wstring_view rest;
    DWORD error = ERROR_SUCCESS;
};

DrivePath SplitDrivePath(std::wstring_view path) {
    if (path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\.\\")) {
        path.remove_prefix(4);
    }
    if (!HasDrive(path) || path.size() < 3 || path[2] != L'\\') {
        return {{}, {}, ERROR_PATH_NOT_FOUND};
    }
    const std::wstring_view rest = path.substr(3);
    switch (path[0]) {
        case L'C':
        case L'c': {
            std::string root = DriveDirectory();
            const DWORD error = root.empty() ? ERROR_PATH_NOT_FOUND : ERROR_SUCCESS;
            return {std::move(root), rest, error};
        }
        case L'Z':
        case L'z':
            return {{}, rest, ERROR_SUCCESS};
        default:
            return {{}, {}, ERROR_PATH_NOT_FOUND};
    }
}

}  // namespace

std::string ProgramFile() {
    std::array<char, PATH_MAX> path = {};
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    return length > 0 ? std::string(path.data(), static_cast<size_t>(length)) : std::string();
}

std::string DriveDirectory() {
    const char* const named = std::getenv(kDriveVariable);
    std::string directory = named == nullptr ? "" : named;
    if (directory.empty()) {
        const std::string program = ProgramFile();
        directory = program.substr(0, program.rfind('/') + 1) + "drive_c";
        return IsDirectory(directory) ? directory : std::string();
    }
    while (directory.size() > 1 && directory.ends_with('/')) {
        directory.pop_back();
    }
    return directory;
}

LinuxPath ToLinuxPath(const wchar_t* path) {
    const std::wstring normal = ResolveDots(path == nullptr ? L"" : path);
    const DrivePath split = SplitDrivePath(normal);
    if (split.error != ERROR_SUCCESS) {
        return {{}, split.error};
    }
    if (HasForbiddenCharacter(split.rest)) {
        return {{}, ERROR_INVALID_NAME};
    }
    std::string linuxPath = split.root;
    std::string rest = Utf8FromWide(split.rest);
    for (char& byte : rest) {
        byte = byte == '\\' ? '/' : byte;
    }
    if (std::string exact = linuxPath + "/" + rest; Exists(exact)) {
        return {std::move(exact), ERROR_SUCCESS};
    }
    for (size_t at = 0; at < rest.size();) {
        const size_t end = std::min(rest.find('/', at), rest.size());
        const std::string name = rest.substr(at, end - at);
        at = end + 1;
        if (name.empty()) {
            continue;
        }
        linuxPath += '/';
        linuxPath += Exists(linuxPath + name) ? name : FindEntry(linuxPath, name);
    }
    if (linuxPath.empty() || rest.ends_with('/')) {
        linuxPath += '/';
    }
    return {std::move(linuxPath), ERROR_SUCCESS};
}

std::wstring CurrentDirectory() {
    std::array<char, PATH_MAX> linuxPath = {};
    return getcwd(linuxPath.data(), linuxPath.size()) == nullptr ? std::wstring()
                                                                 : FromLinuxPath(linuxPath.data());
}

std::wstring FromLinuxPath(std::string_view linuxPath) {
    const std::string root = DriveDirectory();
    const bool onDrive = !root.empty() && linuxPath.starts_with(root) &&
                         (linuxPath.size() == root.size() || linuxPath[root.size()] == '/');
    std::wstring path = onDrive ? L"C:" : L"Z:";
    path += WideFromUtf8(onDrive ? linuxPath.substr(root.size()) : linuxPath);
    for (wchar_t& unit : path) {
        unit = unit == L'/' ? L'\\' : unit;
    }
    return path.size() == 2 ? path + L"\\" : path;
}

DWORD ErrorFromErrno(int number) noexcept {
    constexpr std::pair<int, DWORD> kErrors[] = {{ENOENT, ERROR_FILE_NOT_FOUND},
                                                 {ENOTDIR, ERROR_PATH_NOT_FOUND},
                                                 {EACCES, ERROR_ACCESS_DENIED},
                                                 {EPERM, ERROR_ACCESS_DENIED},
                                                 {EROFS, ERROR_ACCESS_DENIED},
                                                 {EISDIR, ERROR_ACCESS_DENIED},
                                                 {EEXIST, ERROR_ALREADY_EXISTS},
                                                 {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
                                                 {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
                                                 {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
                                                 {ENOSPC, ERROR_DISK_FULL},
                                                 {EINVAL, ERROR_INVALID_PARAMETER},
                                                 {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
                                                 {ENOEXEC, ERROR_BAD_EXE_FORMAT}};
    const auto* const found =
        std::find_if(std::begin(kErrors), std::end(kErrors),
                     [number](const auto& each) { return each.first == number; });
    return found == std::end(kErrors) ? DWORD{ERROR_GEN_FAILURE} : found->second;
}

}  // namespace compat
