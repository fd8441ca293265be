#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace auth_prompt {

// Returns `rules`, the content of a rule file, with the lock of the program at `target` toggled. If
// rules lock the program, they are switched off; otherwise the first rule for it is switched on, or
// a new rule is appended to the list. std::nullopt if there is no list to append to.
std::optional<std::string> ToggleRule(std::string_view rules, std::wstring_view target);

}  // namespace auth_prompt
