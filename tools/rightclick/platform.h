#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace rightclick {

// Returns `text` in lower case, in any script.
std::wstring LowerCase(std::wstring_view text);

// Returns `text` with the environment variables of Windows expanded ("%windir%").
std::wstring ExpandVariables(const std::wstring& text);

// Returns whether there is a screen.
bool HasScreen();

// Shows `menu` at the pointer, with the shell's "Open" above and "Properties" below, and waits
// until it closes. Returns the identifier of the chosen item; std::nullopt if none was chosen.
// Stores in `owner` the window of the menu, which exists until the process ends.
std::optional<UINT> ShowMenu(HMENU menu, HWND& owner);

}  // namespace rightclick
