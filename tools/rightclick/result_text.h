#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace rightclick {

// Returns `result` in hexadecimal and in words: "0x80004005 (E_FAIL: failed)".
std::string DescribeResult(HRESULT result);

// Returns the system's text for `result`, without its full stop: "Access is denied". Its insertion,
// a file name, becomes "it". Empty if the system has no text for it.
std::string SystemText(HRESULT result);

// Returns `result` in hexadecimal: "0x80070057".
std::string HexResult(HRESULT result);

// Returns the system's text for `result`, then the number: "Access is denied (0x80070005)".
std::string DescribeFailure(HRESULT result);

// Returns the same for the system error code `error`.
std::string DescribeError(DWORD error);

// Returns whether `unit` is invisible: a control or format character, or white space other than a
// blank. U+FFFD, which stands for malformed text, counts as invisible.
bool IsUnseen(wchar_t unit) noexcept;

// Returns `text` as UTF-8 for people. Unseen characters, lone surrogates and blanks at the ends
// appear as their code point ("<U+0009>"), so that no text can control a terminal or begin a line.
std::string Printable(std::wstring_view text);
std::string Printable(std::string_view utf8);

}  // namespace rightclick
