#include "common/module_path.h"

#include <algorithm>

namespace kelvaro {

ModulePath ReadModulePath(HMODULE module) {
    // Exceeds the longest path of the system, 32,767 characters.
    constexpr DWORD kLargestBuffer = DWORD{MAX_PATH} << 7;
    std::wstring buffer;
    for (DWORD size = MAX_PATH; size <= kLargestBuffer; size *= 2) {
        buffer.assign(size, L'\0');
        const DWORD length = GetModuleFileNameW(module, buffer.data(), size);
        if (length == 0) {
            return {{}, GetLastError()};
        }
        if (length < size) {
            buffer.resize(std::min(buffer.find(L'\0'), buffer.size()));
            return {std::move(buffer), ERROR_SUCCESS};
        }
    }
    return {{}, ERROR_INSUFFICIENT_BUFFER};
}

}  // namespace kelvaro
