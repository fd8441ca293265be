#pragma once

#include <windows.h>

#include <string>

namespace rightclick {

// Returns `result` in hexadecimal and in words: "0x80070057 (E_INVALIDARG: invalid argument)".
std::string DescribeResult(HRESULT result);

// Returns `result` in hexadecimal: "0x80070057".
std::string HexResult(HRESULT result);

}  // namespace rightclick
