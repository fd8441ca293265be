#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace rightclick {

// Where the registry sends the shell for a file's context menu.
struct Handler {
    CLSID clsid;
    std::wstring library;
};

// The class that the registry puts a file with the name `file` in: "exefile", "lnkfile", another,
// or empty.
std::wstring ClassOfFile(const std::wstring& file);

// The extension that is registered for files of `fileClass`; nothing when none is or the entries
// lead nowhere.
std::optional<Handler> FindHandler(const std::wstring& fileClass);

}  // namespace rightclick
