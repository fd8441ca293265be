#include "rules/lock_lookup.h"

#include "common/code_page.h"
#include "common/file.h"
#include "rules/candidate_search.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"
#include "rules/rule_pieces.h"

namespace kelvaro {

std::wstring CanonicalTarget(std::string_view objectText) {
    // Flags of 0 turn malformed UTF-8 into U+FFFD instead of failing.
    return NormalizePath(WideFromBytes(CP_UTF8, 0, ExtractStringField(objectText, "target", {})));
}

// A new kind of rule is added here and in CandidateSearch: FindLockingRule parses only the objects
// that this prefilter finds.
bool IsRuleFor(std::string_view objectText, std::wstring_view canonicalPath) {
    if (ExtractStringField(objectText, "type", {}) != "exe") {
        return false;
    }
    const std::wstring target = CanonicalTarget(objectText);
    return !target.empty() && target == canonicalPath;
}

std::optional<std::string_view> FindLockingRule(std::string_view rules,
                                                std::wstring_view canonicalPath) {
    const CandidateSearch search(canonicalPath);
    RulePieces pieces(rules);
    for (;;) {
        const size_t candidate = search.Next(rules, pieces.Position());
        const auto piece = pieces.Find(candidate);
        if (!piece) {
            return std::nullopt;
        }
        if (piece->IsFlatObject() && ExtractBoolField(piece->text, "enabled", true) &&
            IsRuleFor(piece->text, canonicalPath)) {
            return piece->text;
        }
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
