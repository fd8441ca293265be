#pragma once

#include <shlobj.h>

namespace kelvaro {

// The name of the one command, in both widths that the shell uses.
inline constexpr char kVerb[] = "vorandel_kelvaro_toggle";
inline constexpr wchar_t kWideVerb[] = L"vorandel_kelvaro_toggle";

// Whether `request` asks for the command: by its offset 0, by its name, or by its wide name in an
// extended record.
bool IsToggleRequest(const CMINVOKECOMMANDINFO& request) noexcept;

}  // namespace kelvaro
