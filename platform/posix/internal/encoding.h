#pragma once

#include <string>
#include <string_view>

namespace compat {

// Between the UTF-8 of the host and the platform's text, one UTF-16 unit in each wchar_t. What is
// malformed on one side becomes U+FFFD on the other.
std::wstring WideFromUtf8(std::string_view bytes);
std::string Utf8FromWide(std::wstring_view units);

// The code point of a unit and perhaps the low surrogate behind it, and how many units it took.
struct CodePoint {
    char32_t value;
    size_t units;
};
CodePoint ReadCodePoint(std::wstring_view units) noexcept;

// Appends `codePoint` to `units` as one unit or a surrogate pair.
void AppendCodePoint(std::wstring& units, char32_t codePoint);

// Decodes the UTF-8 sequence at the front of `bytes` (not empty). `value` is 0xFFFFFFFF for a
// malformed one, and `length` then the bytes that one replacement character stands for.
struct Utf8Sequence {
    char32_t value;
    size_t length;
};
Utf8Sequence ReadUtf8(std::string_view bytes) noexcept;
inline constexpr char32_t kMalformed = 0xFFFFFFFF;

// The character of a byte in the layer's ANSI code page, Windows-1252.
wchar_t FromWindows1252(unsigned char byte) noexcept;

// A to Z in lower case, as the file system and the registry compare names here.
std::wstring FoldName(std::wstring_view name);

}  // namespace compat
