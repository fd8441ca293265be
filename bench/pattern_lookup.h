#pragma once

#include <string>
#include <string_view>

#include "engines.h"
#include "oracle/rule_patterns.h"
#include "rules/rule_fields.h"

namespace bench {

struct PatternMatch {
    std::string_view whole;
    std::string_view group;  // the first group, empty if the pattern has none
};

// Looks up a program with a regular-expression engine. `ObjectRegex` and `FieldRegex` are
// constructed from a pattern; `bool Find(std::string_view text, PatternMatch& match) const` finds
// its first match in `text`.
template <class ObjectRegex, class FieldRegex>
bool LocksByPatterns(const std::string& rules, std::wstring_view canonicalPath) {
    static const ObjectRegex object(oracle::kObjectPattern);
    static const FieldRegex type(oracle::StringFieldPattern("type"));
    static const FieldRegex enabled(oracle::BoolFieldPattern("enabled"));
    static const FieldRegex target(oracle::StringFieldPattern("target"));
    std::string_view rest = rules;
    PatternMatch rule;
    while (object.Find(rest, rule)) {
        PatternMatch field;
        const bool isProgram =
            type.Find(rule.whole, field) && kelvaro::UnescapeJsonString(field.group) == "exe";
        if (isProgram && !(enabled.Find(rule.whole, field) && field.group == "false") &&
            target.Find(rule.whole, field) &&
            IsTarget(kelvaro::UnescapeJsonString(field.group), canonicalPath)) {
            return true;
        }
        rest.remove_prefix(static_cast<size_t>(rule.whole.end() - rest.begin()));
    }
    return false;
}

}  // namespace bench
