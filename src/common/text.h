#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace kelvaro {

// Returns the lower-case form of one UTF-16 unit. Only A to Z change. Does not use the C runtime's
// mapping, which depends on the host's locale: whether a program is locked must not depend on the
// process that shows the menu.
constexpr wchar_t ToLowerUnit(wchar_t unit) noexcept {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
}

// Returns the concatenation of `parts`. Allocates once. Throws std::bad_alloc.
std::wstring Concat(std::initializer_list<std::wstring_view> parts);

// Returns a copy of `text` with every unit passed through ToLowerUnit. Throws std::bad_alloc.
std::wstring ToLower(std::wstring_view text);

// Returns `text` without its leading and trailing white space, as a view into `text`. White space
// is what the C runtime's iswspace accepts; on Windows that set does not depend on the locale.
std::wstring_view TrimWhitespace(std::wstring_view text) noexcept;

// Returns whether `left` and `right` are equal after ToLower. Allocates nothing.
bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept;

// Appends `number` in `base` (2 to 16, upper-case digits) with leading zeros up to `width` digits.
// MinGW-w64's formatting functions would link floating-point code into the library. Throws
// std::bad_alloc.
template <class Unit>
void AppendNumber(std::basic_string<Unit>& text, uint32_t number, uint32_t base = 10,
                  size_t width = 1) {
    const size_t begin = text.size();
    for (; number != 0 || text.size() - begin < width; number /= base) {
        text.insert(begin, 1, static_cast<Unit>("0123456789ABCDEF"[number % base]));
    }
}

}  // namespace kelvaro
