#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

// Returns the directory of the language file: the first of the special-offer and the standard one
// that contains the file of the interface language; otherwise the special-offer directory if it
// exists, otherwise the standard one, which may be missing. Empty if the library's directory is
// unknown. Throws std::bad_alloc.
std::wstring FindLanguageDirectory();

// Returns the name of the language file for the interface language.
std::wstring_view GetLanguageFileName() noexcept;

// Returns the path of the language file to read. The file need not exist. Empty if the library's
// directory is unknown. Throws std::bad_alloc.
std::wstring GetLanguageFilePath();

}  // namespace kelvaro
