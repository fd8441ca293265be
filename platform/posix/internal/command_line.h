#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace compat {

// The arguments of a command line by the platform's rules: the first one ends at its closing quote
// or at white space; in the others a backslash before a double quote escapes it, and two double
// quotes inside quotes are one.
std::vector<std::wstring> ParseCommandLine(std::wstring_view line);

// A command line that gives `arguments` back when it is parsed.
std::wstring JoinCommandLine(const std::vector<std::wstring>& arguments);

}  // namespace compat
