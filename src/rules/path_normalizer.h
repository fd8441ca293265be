#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

// Returns the canonical form of `path`. Two paths match if their canonical forms are equal. White
// space around it and one pair of double quotes removed, slashes turned into backslashes, runs of
// backslashes collapsed except for the two that start a network path, A to Z in lower case. Purely
// textual: does not access the file system. Throws std::bad_alloc.
std::wstring NormalizePath(std::wstring_view path);

}  // namespace kelvaro
