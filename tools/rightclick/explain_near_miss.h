#pragma once

#include <string>
#include <string_view>

#include "rightclick/explain_fields.h"

namespace rightclick {

// The program that a rule is compared with.
struct Program {
    explicit Program(std::wstring_view path);

    std::wstring canonical;  // as the extension compares it
    std::wstring folded;     // without the differences that a near miss can have
    std::string quoted;      // as it has to be written in the rule file, with its quotation marks
    bool storesVariable;     // it contains an environment variable, which nobody expands
};

// Explains why `rule`, whose author means `program`, does not match, and what to write instead.
// Empty if it means something else. `rule` does not lock the program.
std::string ExplainNearMiss(const Rule& rule, const Program& program);

// Explains a rule that does not mean `program`, but a path or folder close to it. Empty if it is
// unrelated.
std::string ExplainOtherPath(const Rule& rule, const Program& program);

}  // namespace rightclick
