#include <windows.h>

#include "rightclick/platform_text.h"

namespace rightclick {

std::wstring LowerCase(std::wstring_view text) {
    std::wstring lowered(text);
    CharLowerBuffW(lowered.data(), static_cast<DWORD>(lowered.size()));
    return lowered;
}

std::wstring ExpandVariables(const std::wstring& text) {
    const DWORD size = ExpandEnvironmentStringsW(text.c_str(), nullptr, 0);
    std::wstring expanded(size, L'\0');
    const DWORD written = ExpandEnvironmentStringsW(text.c_str(), expanded.data(), size);
    expanded.resize(written > 0 && written <= size ? written - 1 : 0);
    return expanded;
}

}  // namespace rightclick
