#pragma once

#include <string>
#include <string_view>

namespace oracle {

// The regular expressions that define how rules match, in the syntax that ECMAScript and Perl
// engines share. Field patterns have one group, the value.

// A rule: an object without nested braces.
inline constexpr char kObjectPattern[] = R"(\{[^\{\}]*\})";

inline std::string StringFieldPattern(std::string_view key) {
    return "\"" + std::string(key) + R"re("\s*:\s*"([^"]*)")re";
}

inline std::string BoolFieldPattern(std::string_view key) {
    return "\"" + std::string(key) + R"re("\s*:\s*(true|false))re";
}

}  // namespace oracle
