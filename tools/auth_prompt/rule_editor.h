#pragma once

#include <string>
#include <string_view>

namespace auth_prompt {

struct ToggleResult {
    std::string rules;  // the new content of the rule file
    std::string error;  // why the lock cannot be toggled; empty on success
};

// Toggles the lock of the program at `target` in `rules`, the content of a rule file. Switches all
// rules for it off if one locks it, else the first one on. Appends a new rule to the list if there
// is none. Keeps unknown keys and the order of keys, but not the format of the text. A key that
// an object contains twice is kept once, and unnecessary escapes are removed, which can change what
// a rule with such a key or escape locks. Fails if `rules` is neither blank nor JSON, is nested too
// deeply, or has no list to append to, or if no rule can lock the path, such as one with a brace.
ToggleResult ToggleRule(std::string_view rules, std::wstring_view target);

}  // namespace auth_prompt
