#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace auth_prompt {

// `rules` (the bytes of a rule file, perhaps none) with the lock of the program at `target`
// switched the other way: a rule that locks it is switched off, one that is off comes on again, and
// where there is none a new one joins the list. Nothing when `rules` has no list that it could
// join.
std::optional<std::string> ToggleRule(std::string_view rules, std::wstring_view target);

}  // namespace auth_prompt
