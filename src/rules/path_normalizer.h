#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

// Returns the canonical form of `path`. Two paths match if their canonical forms are equal. Removes
// white space around it and one pair of double quotes, turns slashes into backslashes, collapses
// runs of backslashes except for the two that start a network path, and turns A to Z into lower
// case. Does not access the file system. Throws std::bad_alloc.
std::wstring NormalizePath(std::wstring_view path);

}  // namespace kelvaro
