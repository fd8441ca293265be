#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvaro {

// The text of the language file at `path`, empty when it cannot be opened or holds 2 GiB or more.
std::wstring ReadLanguageText(const std::wstring& path);

// `bytes` as text: UTF-16 little-endian behind its byte-order mark, else UTF-8 (with or without a
// mark, only where it is valid), else the system's ANSI code page. Empty when nothing can be made
// of them.
std::wstring DecodeText(std::string_view bytes);

// The value of the first entry `key` in section `section` of an INI file's text: a view into
// `text`, possibly empty; nothing when there is no such entry. Names match without regard to letter
// case and to white space around them.
std::optional<std::wstring_view> FindIniValue(std::wstring_view text, std::wstring_view section,
                                              std::wstring_view key) noexcept;

}  // namespace kelvaro
