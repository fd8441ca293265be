#include "common/module_path.h"

#include "common/path.h"

namespace kelvaro {

ModulePath ReadModulePath(HMODULE module) {
    constexpr DWORD kLongestPath = 32767;  // of the system
    std::wstring buffer;
    for (const DWORD size : {DWORD{MAX_PATH}, kLongestPath + 1}) {
        buffer.assign(size, L'\0');
        const DWORD length = GetModuleFileNameW(module, buffer.data(), size);
        if (length == 0) {
            return {{}, GetLastError()};
        }
        if (length < size) {
            buffer.resize(length);
            return {std::move(buffer), ERROR_SUCCESS};
        }
    }
    return {{}, ERROR_INSUFFICIENT_BUFFER};
}

std::wstring GetModuleDirectory(HMODULE module) {
    std::wstring path = ReadModulePath(module).path;
    path.resize(ParentPath(path).size());
    return path;
}

}  // namespace kelvaro
