#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace kelvaro {

// Returns the directory of the file that `module` was loaded from. Empty if its name cannot be
// obtained. Throws std::bad_alloc, like the functions below.
std::wstring GetModuleDirectory(HMODULE module);

// Returns the folder beside the library to read the language file from: the first one that contains
// the file of the interface language, or else the first one that exists; the special-offer folder
// precedes the standard one. Empty if the library's directory is unknown.
std::wstring FindLanguageDirectory();

// Returns the name of the language file for the interface language.
std::wstring_view GetLanguageFileName() noexcept;

// Returns the path of the language file to read. The file need not exist. Empty if the library's
// directory is unknown.
std::wstring GetLanguageFilePath();

}  // namespace kelvaro
