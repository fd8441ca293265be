#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace kelvaro {

// The lower-case form of one UTF-16 unit: A to Z change, everything else stays. Not the C runtime's
// mapping on purpose: a host may have chosen a locale, and whether a program is locked must not
// depend on the program that shows the menu.
constexpr wchar_t ToLowerUnit(wchar_t unit) noexcept {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
}

// `parts` one after the other, in one allocation.
std::wstring Concat(std::initializer_list<std::wstring_view> parts);

// A copy of `text` with every unit in lower case.
std::wstring ToLower(std::wstring_view text);

// `text` without its leading and trailing white space (as iswspace knows it); a view into `text`.
std::wstring_view TrimWhitespace(std::wstring_view text) noexcept;

// Whether two texts are equal once both are in lower case, found without a copy.
bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept;

// Appends `number` in `base` (up to 16, upper-case digits), filled up with zeros to `width` digits.
// The C runtime's formatting would bring its floating-point half into the library.
template <class Unit>
void AppendNumber(std::basic_string<Unit>& text, uint32_t number, uint32_t base = 10,
                  size_t width = 1) {
    const size_t begin = text.size();
    for (; number != 0 || text.size() - begin < width; number /= base) {
        text.insert(begin, 1, static_cast<Unit>("0123456789ABCDEF"[number % base]));
    }
}

}  // namespace kelvaro
