#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvaro {

// Returns the decoded content of the language file at `path`. Empty if it cannot be opened or has
// 2 GiB or more. Throws std::bad_alloc.
std::wstring ReadLanguageText(const std::wstring& path);

// Decodes `bytes` as UTF-16 little-endian if they start with its byte-order mark, else as UTF-8
// with or without a mark if they are valid UTF-8, else in the process's ANSI code page. Empty if no
// conversion yields text. Throws std::bad_alloc.
std::wstring DecodeText(std::string_view bytes);

// Returns the value of the first entry `key` in section `section` of the INI file content `text`,
// as a view into `text`; it may be empty. std::nullopt if there is no such entry. Ignores the
// letter case of names and the white space around them.
std::optional<std::wstring_view> FindIniValue(std::wstring_view text, std::wstring_view section,
                                              std::wstring_view key) noexcept;

}  // namespace kelvaro
