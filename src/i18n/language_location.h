#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace kelvaro {

// The directory of the file that `module` was loaded from, empty when that cannot be obtained.
std::wstring GetModuleDirectory(HMODULE module);

// The folder beside the library whose language files count: the one that holds the file of the
// interface language, a special-offer folder first. Empty when the library's directory is unknown.
std::wstring FindLanguageDirectory();

// The name of the language file for the interface language.
std::wstring_view GetLanguageFileName() noexcept;

// The language file to read, which need not exist. Empty when the library's directory is unknown.
std::wstring GetLanguageFilePath();

}  // namespace kelvaro
