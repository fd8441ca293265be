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

// Returns the text for the system error code `error`, then the HRESULT in brackets.
std::string DescribeError(DWORD error);

}  // namespace rightclick
