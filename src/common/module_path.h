#pragma once

#include <windows.h>

#include <string>

namespace kelvaro {

struct ModulePath {
    std::wstring path;            // empty when it could not be obtained
    DWORD error = ERROR_SUCCESS;  // the system's error code then
};

// The full path of the file that `module` was loaded from, however long.
ModulePath ReadModulePath(HMODULE module);

}  // namespace kelvaro
