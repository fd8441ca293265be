#pragma once

#include <windef.h>

#include <string>
#include <string_view>

namespace compat {

// The environment variable that names the directory of drive C:. Without it drive C: is the
// directory drive_c next to the program, if it exists. Drive Z: is the root of the Linux file
// system, so that every Linux file has a path.
inline constexpr char kDriveVariable[] = "KELVARO_DRIVE_C";

// Returns the Linux directory of drive C:, without a trailing separator. Empty if there is none.
std::string DriveDirectory();

// Returns the Linux path of the running program.
std::string ProgramFile();

// A Linux path, or an empty one and the reason why there is none.
struct LinuxPath {
    std::string path;
    DWORD error;
};

// Returns the Linux path for an absolute Windows path; a null path has none. Finds existing names
// in any letter case; the file itself need not exist. A trailing separator stays.
LinuxPath ToLinuxPath(const wchar_t* path);

// Returns the Windows path of the working directory. Empty if it no longer exists.
std::wstring CurrentDirectory();

// Returns the Windows path for an absolute Linux path: on drive C: if it is inside of that drive's
// directory, otherwise on drive Z:.
std::wstring FromLinuxPath(std::string_view linuxPath);

// Returns the system error code for an errno value.
DWORD ErrorFromErrno(int number) noexcept;

}  // namespace compat
