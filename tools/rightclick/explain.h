#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace rightclick {

enum class LockState { locked, notLocked, unknown };

// A sentence about a rule or, if `line` is 0, about the whole rule file.
struct Remark {
    size_t line;
    std::string text;
};

// Why a program is locked or not.
struct Explanation {
    LockState state = LockState::unknown;
    Remark reason = {};           // the most important remark
    std::vector<Remark> remarks;  // the others, the most important first
    std::wstring canonical;       // the path of the program as it is compared
    size_t rules = 0;             // the number of objects with a type or a path
};

// Explains why `rules`, the content of the rule file, lock the program at `target` or not. Names
// the rule that locks it, or each rule that nearly does and what to write instead.
Explanation ExplainLock(std::string_view rules, const std::wstring& target);

}  // namespace rightclick
