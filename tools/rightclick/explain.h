#pragma once

#include <string>
#include <string_view>

namespace rightclick {

// Explains why `rules`, the content of the rule file, lock the program at `target` or not: names
// the rule that locks it, or each similar rule and why it does not match. Returns lines of UTF-8
// text.
std::string ExplainLock(std::string_view rules, const std::wstring& target);

}  // namespace rightclick
