#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvaro {

// These functions read the fields of one flat object. A key is in double quotes and followed by a
// colon, with optional white space on both sides of it. If a key occurs several times, the first
// occurrence with a value of the requested type counts.

// Returns the raw bytes between the double quotes of the string value of `key`, as a view into
// `objectText`. std::nullopt if there is none.
std::optional<std::string_view> FindStringField(std::string_view objectText,
                                                std::string_view key) noexcept;

// Returns the word true or false at the start of the value of `key`, as a view into `objectText`.
// std::nullopt if there is none.
std::optional<std::string_view> FindBoolField(std::string_view objectText,
                                              std::string_view key) noexcept;

// Returns the decoded string value of `key`, or `defaultValue` if there is none. Throws
// std::bad_alloc.
std::string ExtractStringField(std::string_view objectText, std::string_view key,
                               std::string_view defaultValue);

// Returns the Boolean value of `key`, or `defaultValue` if there is none.
bool ExtractBoolField(std::string_view objectText, std::string_view key,
                      bool defaultValue) noexcept;

// Returns `raw` with its backslash escapes decoded. \n, \r and \t become control characters; any
// other escaped byte becomes itself, so \u006F becomes u006F. Throws std::bad_alloc.
std::string UnescapeJsonString(std::string_view raw);

}  // namespace kelvaro
