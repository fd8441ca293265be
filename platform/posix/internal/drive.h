#pragma once

#include <windef.h>

#include <string>
#include <string_view>

namespace compat {

// The environment variable that names the directory which is drive C:; without it that is drive_c
// beside the program where there is such a directory. Drive Z: is the root of the
// host's file system, so that every host file has a path here.
inline constexpr char kDriveVariable[] = "KELVARO_DRIVE_C";

// The directory that is drive C:, without a trailing separator; empty when there is none.
std::string DriveDirectory();

// The host's file of the running program.
std::string ProgramFile();

// The host's file for a path of the platform. `error` is ERROR_SUCCESS, or why there can be none;
// then `host` is empty. Names are found in any letter case; the file itself need not exist.
struct HostPath {
    std::string host;
    DWORD error;
};
HostPath ToHostPath(std::wstring_view path);

// The platform's path for an absolute path of the host: on drive C: where it lies in that
// directory, else on drive Z:.
std::wstring FromHostPath(std::string_view host);

// The system error code for an errno value.
DWORD ErrorFromErrno(int number) noexcept;

}  // namespace compat
