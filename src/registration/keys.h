#pragma once

#include <string_view>

// The registry keys of the extension, for everything that writes, reads or removes them.
namespace kelvaro {

// The user's classes below HKEY_CURRENT_USER and the machine's below HKEY_LOCAL_MACHINE.
inline constexpr std::wstring_view kClasses = L"Software\\Classes\\";

// Below the classes: the key of all class identifiers, and the file classes whose menus get the
// item.
inline constexpr std::wstring_view kClassKey = L"CLSID\\";
inline constexpr std::wstring_view kProgramClass = L"exefile";
inline constexpr std::wstring_view kShortcutClass = L"lnkfile";

// Below the extension's class.
inline constexpr std::wstring_view kServerKey = L"\\InprocServer32";

// Below each file class.
inline constexpr std::wstring_view kHandlerKey = L"\\shellex\\ContextMenuHandlers\\VorandelKelvaro";

}  // namespace kelvaro
