#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvaro {

// Fields of one flat rule object, found on its bytes. A key stands in double quotes and is followed
// by a colon, white space allowed on both sides of it; where a key stands several times the first
// one whose value has the wanted form counts.

// The bytes between the value's double quotes as they stand in the file, a view into `objectText`;
// nothing when no occurrence of `key` has a string value.
std::optional<std::string_view> FindStringField(std::string_view objectText,
                                                std::string_view key) noexcept;

// The bare word true or false that is (or begins) the value of `key`, a view into `objectText`;
// nothing when no occurrence of `key` has such a value.
std::optional<std::string_view> FindBoolField(std::string_view objectText,
                                              std::string_view key) noexcept;

// The decoded string value of `key`, or `defaultValue` as it is.
std::string ExtractStringField(std::string_view objectText, std::string_view key,
                               std::string_view defaultValue);

// The value of `key` where it has one of FindBoolField's form, or `defaultValue`.
bool ExtractBoolField(std::string_view objectText, std::string_view key,
                      bool defaultValue) noexcept;

// `raw` with its backslash escapes decoded: \n, \r and \t to control characters, any other escaped
// byte to itself (so the digits after \u stay).
std::string UnescapeJsonString(std::string_view raw);

}  // namespace kelvaro
