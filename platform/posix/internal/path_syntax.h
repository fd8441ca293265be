#pragma once

#include <string>
#include <string_view>

namespace compat {

bool IsSeparator(wchar_t unit) noexcept;

// Returns whether `path` begins with a drive letter and a colon.
bool HasDrive(std::wstring_view path) noexcept;

// Returns an absolute path as the platform hands it to the file system: single backslashes as
// separators, "." and ".." resolved without leaving the root, and the last name without trailing
// dots and spaces. A trailing separator stays.
std::wstring ResolveDots(std::wstring path);

}  // namespace compat
