#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rightclick {

// What the extension reads from a part of the rule file that contains the name of the program.
struct SimilarRule {
    size_t line = 0;
    std::string ignored;  // why the extension does not read it as a rule; empty if it does
    bool locks = false;
    std::optional<std::wstring> type;
    bool enabled = true;
    bool enabledByDefault = false;
    std::optional<std::wstring> target;  // normalised
    std::vector<std::wstring> keys;      // those in double quotes, the first ten
};

// Whether the rules of a file lock a program, and why.
struct Explanation {
    bool locked = false;
    std::string verdict;               // continues a sentence that begins with the program's path
    size_t line = 0;                   // of the rule that the verdict is about; 0 if there is none
    std::wstring canonical;            // the path of the program as it is compared
    size_t rules = 0;                  // flat objects with a type or a target
    std::vector<SimilarRule> similar;  // at most ten: those that lock, then the most similar ones
    size_t notShown = 0;
};

// Explains whether `rules`, the content of the rule file, lock the program at `program`. The
// verdict is the library's.
Explanation ExplainLock(std::string_view rules, std::wstring_view program);

}  // namespace rightclick
