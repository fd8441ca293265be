#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace compat {

// Splits a command line as the platform does. The first argument ends at its closing quote or at
// white space. In the others a backslash before a double quote escapes it, and two double quotes
// inside quotes are a literal one that also ends the quoting. Empty if the line is empty.
std::vector<std::wstring> ParseCommandLine(std::wstring_view line);

// Returns a command line that ParseCommandLine splits into `arguments`.
std::wstring JoinCommandLine(const std::vector<std::wstring>& arguments);

}  // namespace compat
