#pragma once

#include <string>
#include <string_view>

namespace rightclick {

// Returns `text` in lower case, in any script.
std::wstring LowerCase(std::wstring_view text);

// Returns `text` with the environment variables of Windows expanded ("%windir%").
std::wstring ExpandVariables(const std::wstring& text);

}  // namespace rightclick
