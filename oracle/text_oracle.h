#pragma once

#include <optional>
#include <string>
#include <string_view>

// Slow reference implementations of text operations.
namespace oracle {

// Reference implementation of kelvaro::FindIniValue: parses line by line. `section` and `key` are
// in lower case.
std::optional<std::wstring> FindIniValue(const std::wstring& text, const std::wstring& section,
                                         const std::wstring& key);

// Reference implementation of kelvaro::NormalizePath, one normalisation step at a time.
std::wstring NormalizePath(std::wstring_view path);

}  // namespace oracle
