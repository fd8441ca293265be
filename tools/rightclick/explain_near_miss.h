#pragma once

#include <string>
#include <string_view>

namespace rightclick {

// The program that a rule is compared with.
struct Program {
    explicit Program(std::wstring_view path);

    std::wstring canonical;  // as the extension compares it
    std::wstring folded;     // without the differences that a near miss can have
    std::string quoted;      // as it has to be written in the rule file, with its quotation marks
};

// Explains why `object`, whose author means `program`, does not match, and what to write instead.
// Empty if it means something else. `object` is not a rule for the program.
std::string ExplainNearMiss(std::string_view object, const Program& program);

// Explains a rule that does not mean `program`, but a path or folder close to it. Empty if it is
// unrelated.
std::string ExplainOtherPath(std::string_view object, const Program& program);

// Explains why a rule that locks its program may look switched off. Empty if it does not.
// `before` is the text of the file before the rule.
std::string ExplainUnexpectedLock(std::string_view object, std::string_view before);

}  // namespace rightclick
