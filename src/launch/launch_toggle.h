#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace kelvaro {

// Starts the application's authorisation prompt for `selectedPath` and returns without waiting for
// it. Logs the outcome. If no prompt is beside the library, or it cannot be started, also shows a
// message box owned by `owner`, which may be null. If the library's directory is unknown, only logs
// that. Throws std::bad_alloc, but not after the prompt has started.
void LaunchToggle(const std::wstring& selectedPath, HWND owner);

// Returns the command line that makes `program` toggle the lock of `selectedPath`. Throws
// std::bad_alloc.
std::wstring BuildCommandLine(std::wstring_view program, std::wstring_view selectedPath);

}  // namespace kelvaro
