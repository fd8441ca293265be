#pragma once

#include <guiddef.h>

#include <string>
#include <string_view>

namespace compat {

// Returns "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" with upper-case hexadecimal digits.
std::string FormatGuid(REFGUID id);

// Parses that form with digits in either case. False if `text` is anything else.
bool ParseGuid(std::wstring_view text, GUID& id) noexcept;

}  // namespace compat
