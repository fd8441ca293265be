#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

// Returns whether `unit` separates the components of a path.
constexpr bool IsSeparator(wchar_t unit) noexcept {
    return unit == L'\\' || unit == L'/';
}

// Returns `directory` and `name` joined by one backslash. Adds none if `directory` is empty, ends
// with a separator or is a bare drive ("C:"). Throws std::bad_alloc.
std::wstring JoinPath(std::wstring_view directory, std::wstring_view name);

// Returns `path` without its last component and the separators before it, as a view into `path`. A
// root (drive or server name and the separators after it) is never removed.
std::wstring_view ParentPath(std::wstring_view path) noexcept;

}  // namespace kelvaro
