#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace rightclick {

// A registered context-menu handler: its class and the library that implements it.
struct Handler {
    CLSID clsid;
    std::wstring library;
};

// The end of a message about a problem that registering again can solve.
inline constexpr char kHowToRegister[] =
    "; install or repair the package, or run as this user and not elevated: regsvr32 "
    "\"C:\\Program Files\\Kelvaro\\KelvaroShellExt.dll\"";

// Returns the text form of `clsid`, in braces. Empty if that fails.
std::wstring ClsidText(const CLSID& clsid);

// Returns the registered class of the file name `file`. If its extension is not registered: exefile
// for .exe, lnkfile for .lnk, else empty.
std::wstring ClassOfFile(const std::wstring& file);

// Returns the handler of this extension that is registered for `fileClass`. If there is none,
// stores the reason in `*problem`.
std::optional<Handler> FindHandler(const std::wstring& fileClass, std::string* problem = nullptr);

}  // namespace rightclick
