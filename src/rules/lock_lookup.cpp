#include "rules/lock_lookup.h"

#include "common/code_page.h"
#include "common/file.h"
#include "rules/candidate_search.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"
#include "rules/rule_pieces.h"

namespace kelvaro {
namespace {

// A new kind of rule is added here and in NamesTarget. AnyRuleLocks parses only the objects that
// CandidateSearch lets through, so that prefilter must let the new kind through as well.
bool IsProgramRule(std::string_view objectText) {
    return ExtractStringField(objectText, "type", {}) == "exe";
}

bool NamesTarget(std::string_view objectText, std::wstring_view canonicalPath) {
    const std::string target = ExtractStringField(objectText, "target", {});
    // Flags of 0 turn malformed UTF-8 into U+FFFD instead of failing.
    const std::wstring canonicalTarget = NormalizePath(WideFromBytes(CP_UTF8, 0, target));
    return !canonicalTarget.empty() && canonicalTarget == canonicalPath;
}

}  // namespace

bool RuleLocks(std::string_view objectText, std::wstring_view canonicalPath) {
    return IsProgramRule(objectText) && ExtractBoolField(objectText, "enabled", true) &&
           NamesTarget(objectText, canonicalPath);
}

bool IsRuleFor(std::string_view objectText, std::wstring_view canonicalPath) {
    return IsProgramRule(objectText) && NamesTarget(objectText, canonicalPath);
}

bool AnyRuleLocks(std::string_view rules, std::wstring_view canonicalPath) {
    const CandidateSearch search(canonicalPath);
    RulePieces pieces(rules);
    for (;;) {
        const size_t candidate = search.Next(rules, pieces.Position());
        const auto piece = pieces.Find(candidate);
        if (!piece) {
            return false;
        }
        if (piece->IsFlatObject() && RuleLocks(piece->text, canonicalPath)) {
            return true;
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
