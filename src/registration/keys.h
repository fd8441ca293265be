#pragma once

#include <string_view>

// The registry keys of the extension, for everything that writes, reads or removes them.
namespace kelvaro {

// The user's classes below HKEY_CURRENT_USER and the machine's below HKEY_LOCAL_MACHINE.
inline constexpr std::wstring_view kClasses = L"Software\\Classes\\";

// Below the classes.
inline constexpr std::wstring_view kClassKey = L"CLSID\\";
inline constexpr std::wstring_view kProgramHandler =
    L"exefile\\shellex\\ContextMenuHandlers\\VorandelKelvaro";
inline constexpr std::wstring_view kShortcutHandler =
    L"lnkfile\\shellex\\ContextMenuHandlers\\VorandelKelvaro";

// Below the key of the class.
inline constexpr std::wstring_view kServerKey = L"\\InprocServer32";

}  // namespace kelvaro
