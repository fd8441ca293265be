#pragma once

#include <optional>
#include <string>
#include <string_view>

// Slow reference implementations of text operations.
namespace oracle {

// Returns what FindIniValue finds in `text`, line by line. `section` and `key` are in lower case.
std::optional<std::wstring> FindIniValue(const std::wstring& text, const std::wstring& section,
                                         const std::wstring& key);

// Returns what NormalizePath returns for `path`, step by step.
std::wstring NormalizePath(std::wstring_view path);

}  // namespace oracle
