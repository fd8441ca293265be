#pragma once

#include <string>
#include <string_view>

namespace rightclick {

// Why the program at `target` counts as locked or not by `rules`, the bytes of the rule file: the
// rule that locks it, or each rule that nearly does and what keeps it from it. Lines for people, in
// UTF-8.
std::string ExplainLock(std::string_view rules, const std::wstring& target);

}  // namespace rightclick
