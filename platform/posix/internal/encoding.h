#pragma once

#include <string>
#include <string_view>

namespace compat {

// Converts between the UTF-8 of Linux and the platform's UTF-16, one unit in each wchar_t.
// Malformed input becomes U+FFFD.
std::wstring WideFromUtf8(std::string_view bytes);
std::string Utf8FromWide(std::wstring_view units);

// Appends `codePoint` to `units` as one unit or a surrogate pair.
void AppendCodePoint(std::wstring& units, char32_t codePoint);

// A code point and the length of its bytes. For a malformed sequence `value` is kMalformed, and
// `length` is how many bytes one replacement character replaces.
struct Utf8Sequence {
    char32_t value;
    size_t length;
};
inline constexpr char32_t kMalformed = 0xFFFFFFFF;

// Decodes the UTF-8 sequence at the front of `bytes`, which must not be empty.
Utf8Sequence ReadUtf8(std::string_view bytes) noexcept;

// Returns the character of a byte in Windows-1252, the ANSI code page (CP_ACP) here.
wchar_t FromWindows1252(unsigned char byte) noexcept;

// Returns `name` with A to Z in lower case. The file system and the registry compare names by it.
std::wstring FoldName(std::wstring_view name);

}  // namespace compat
