#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

// The canonical spelling of a path, for comparing two that were spelt independently: trimmed, one
// pair of double quotes removed, backslashes only and no two in a row but those that open a network
// path, A to Z in lower case. Purely textual; empty for a path without content.
std::wstring NormalizePath(std::wstring_view path);

}  // namespace kelvaro
