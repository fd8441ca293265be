#pragma once

#include <windows.h>

#include <string>

namespace rightclick {

// `result` in hex and words: "0x80070057 (E_INVALIDARG: an argument is not valid)".
std::string DescribeResult(HRESULT result);

// `result` in hex: "0x80070057".
std::string HexResult(HRESULT result);

}  // namespace rightclick
