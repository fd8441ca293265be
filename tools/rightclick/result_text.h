#pragma once

#include <windows.h>

#include <string>

namespace rightclick {

// Returns `result` in hexadecimal and in words: "0x80004005 (E_FAIL: failed)".
std::string DescribeResult(HRESULT result);

// Returns the system's text for `result`, without its full stop: "Access is denied". Empty if the
// system has no text for it.
std::string SystemText(HRESULT result);

// Returns `result` in hexadecimal: "0x80070057".
std::string HexResult(HRESULT result);

// Returns the UTF-8 `text` with control characters as "<U+001B>", so that it cannot control a
// terminal or begin a line.
std::string Printable(std::string_view text);

}  // namespace rightclick
