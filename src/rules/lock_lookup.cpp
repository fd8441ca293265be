#include "rules/lock_lookup.h"

#include <algorithm>

#include "common/code_page.h"
#include "common/file.h"
#include "rules/candidate_search.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"

namespace kelvaro {
namespace {

bool RuleLocks(std::string_view objectText, std::wstring_view canonicalPath) {
    return ExtractBoolField(objectText, "enabled", true) && IsRuleFor(objectText, canonicalPath);
}

bool IsBrace(char byte) noexcept {
    return byte == '{' || byte == '}';
}

}  // namespace

bool IsRuleFor(std::string_view objectText, std::wstring_view canonicalPath) {
    if (ExtractStringField(objectText, "type", {}) != "exe") {
        return false;
    }
    const std::string target = ExtractStringField(objectText, "target", {});
    // Malformed sequences become replacement characters: such a rule just fails to match.
    const std::wstring canonicalTarget = NormalizePath(WideFromBytes(CP_UTF8, 0, target));
    return !canonicalTarget.empty() && canonicalTarget == canonicalPath;
}

bool AnyRuleLocks(std::string_view rules, std::wstring_view canonicalPath) {
    const CandidateSearch search(canonicalPath);
    size_t from = 0;  // just behind the brace that ended the last piece looked at
    for (;;) {
        const size_t candidate = search.Next(rules, from);
        if (candidate == std::string_view::npos) {
            return false;
        }
        // The piece between two braces that holds the candidate is a rule when an opening brace
        // stands before it and a closing one behind.
        size_t begin = candidate;
        while (begin > from && !IsBrace(rules[begin - 1])) {
            --begin;
        }
        const auto brace =
            std::find_if(rules.begin() + static_cast<ptrdiff_t>(candidate), rules.end(), IsBrace);
        if (brace == rules.end()) {
            return false;
        }
        const auto end = static_cast<size_t>(brace - rules.begin());
        if (begin > 0 && rules[begin - 1] == '{' && rules[end] == '}' &&
            RuleLocks(rules.substr(begin, end - begin), canonicalPath)) {
            return true;
        }
        from = end + 1;
    }
}

bool IsTargetLocked(std::wstring_view targetPath) {
    if (targetPath.empty()) {
        return false;
    }
    const FileBytes rules = ReadFileBytes(kRuleFilePath);
    if (rules.View().empty()) {
        return false;
    }
    const std::wstring canonicalPath = NormalizePath(targetPath);
    return !canonicalPath.empty() && AnyRuleLocks(rules.View(), canonicalPath);
}

}  // namespace kelvaro
