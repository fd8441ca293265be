#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace kelvaro {

// Starts the application's authorisation prompt for `selectedPath` and returns without waiting for
// it. Tells the user in a message box owned by `owner` (may be null) when the prompt is missing or
// cannot be started, and the log in any case. Throws std::bad_alloc.
void LaunchToggle(const std::wstring& selectedPath, HWND owner);

// The command line that asks `program` to toggle the lock of `selectedPath`.
std::wstring BuildCommandLine(std::wstring_view program, std::wstring_view selectedPath);

}  // namespace kelvaro
