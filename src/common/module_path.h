#pragma once

#include <windows.h>

#include <string>

namespace kelvaro {

struct ModulePath {
    std::wstring path;            // empty on failure
    DWORD error = ERROR_SUCCESS;  // the system error code on failure; the system may leave it at 0
};

// Returns the full path of the file that `module` was loaded from, of any length. Throws
// std::bad_alloc.
ModulePath ReadModulePath(HMODULE module);

// Returns the directory of that file. Empty if its path cannot be obtained. Throws std::bad_alloc.
std::wstring GetModuleDirectory(HMODULE module);

}  // namespace kelvaro
