#pragma once

#include <shlobj.h>

namespace kelvaro {

// The verb of the extension's only command, in both widths that the shell uses.
inline constexpr char kVerb[] = "vorandel_kelvaro_toggle";
inline constexpr wchar_t kWideVerb[] = L"vorandel_kelvaro_toggle";

// Returns whether `request` requests that command: by the offset 0, by the verb, or by the wide
// verb of an extended record.
bool IsToggleRequest(const CMINVOKECOMMANDINFO& request) noexcept;

}  // namespace kelvaro
