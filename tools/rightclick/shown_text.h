#pragma once

#include <string>
#include <string_view>

namespace rightclick {

// Returns whether nobody sees `unit`: a control or format character, or white space other than a
// blank. Also true for U+FFFD, which stands for malformed text.
bool IsUnseen(wchar_t unit) noexcept;

// Returns `text` as UTF-8 for people. Unseen characters, lone surrogates and blanks at the ends
// appear as their code point ("<U+0009>"), so that no text can control a terminal or begin a line.
std::string Printable(std::wstring_view text);
std::string Printable(std::string_view utf8);

// Returns the number of columns that `printable` takes on a terminal.
size_t Columns(std::string_view printable);

}  // namespace rightclick
