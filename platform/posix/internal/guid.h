#pragma once

#include <guiddef.h>

#include <string>
#include <string_view>

namespace compat {

// Returns "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" with upper-case hexadecimal digits.
std::string FormatGuid(REFGUID id);

// Parses the format of FormatGuid; digits may be upper or lower case. Returns false for other text.
bool ParseGuid(std::wstring_view text, GUID& id) noexcept;

}  // namespace compat
