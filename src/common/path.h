#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

// Whether `unit` separates the components of a path.
constexpr bool IsSeparator(wchar_t unit) noexcept {
    return unit == L'\\' || unit == L'/';
}

// `directory` and `name` with one backslash between them, none added where `directory` already ends
// with a separator or with a bare drive ("C:").
std::wstring JoinPath(std::wstring_view directory, std::wstring_view name);

// The directory of `path`: the text without its last component and the separators before it. A root
// (drive or server name and the separator after it) is never removed. A view into `path`.
std::wstring_view ParentPath(std::wstring_view path) noexcept;

}  // namespace kelvaro
