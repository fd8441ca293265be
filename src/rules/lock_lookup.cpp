#include "rules/lock_lookup.h"

#include <algorithm>

#include "common/code_page.h"
#include "common/file.h"
#include "rules/anchor_search.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"

namespace kelvaro {

constinit const std::wstring_view kRuleFilePath =
    L"C:\\ProgramData\\Vorandel\\Kelvaro\\config\\rules.json";

namespace {

bool RuleLocks(std::string_view objectText, std::wstring_view canonicalPath) {
    return ExtractBoolField(objectText, "enabled", true) && IsRuleFor(objectText, canonicalPath);
}

bool IsBrace(char byte) noexcept {
    return byte == '{' || byte == '}';
}

// Whether the bytes before `end` can be the encoded beginning of a target, read backwards from the
// end of `canonicalHead`. A necessary condition that looks at a few units and refuses nearly every
// rule that merely holds the anchor.
bool MayEndHead(std::string_view bytes, std::wstring_view canonicalHead) noexcept {
    constexpr size_t kLooks = 16;
    for (size_t looked = 0; looked < kLooks && !canonicalHead.empty(); ++looked) {
        const wchar_t unit = canonicalHead.back();
        canonicalHead.remove_suffix(1);
        while (!bytes.empty() && bytes.back() == '\\') {
            bytes.remove_suffix(1);
        }
        if (unit == L'\\') {
            while (!bytes.empty() && (bytes.back() == '\\' || bytes.back() == '/')) {
                bytes.remove_suffix(1);
            }
            continue;
        }
        if (unit < L' ' || unit >= 0x7F) {
            return true;
        }
        if (bytes.empty() || FoldCase(bytes.back()) != FoldCase(static_cast<char>(unit))) {
            return false;
        }
        bytes.remove_suffix(1);
    }
    return true;
}

// Finds the places where a rule for one path can be. Without an anchor every place can.
class CandidateSearch {
  public:
    explicit CandidateSearch(std::wstring_view canonicalPath) noexcept
        : anchor_(Anchor::Choose(canonicalPath)),
          head_(anchor_ ? canonicalPath.substr(0, anchor_->Position()) : std::wstring_view()) {}

    size_t Next(std::string_view rules, size_t from) const noexcept {
        if (!anchor_) {
            return from < rules.size() ? from : std::string_view::npos;
        }
        size_t at = anchor_->Find(rules, from);
        while (at != std::string_view::npos && !MayEndHead(rules.substr(0, at), head_)) {
            at = anchor_->Find(rules, at + 1);
        }
        return at;
    }

  private:
    std::optional<Anchor> anchor_;
    std::wstring_view head_;
};

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
    const FileBytes rules = ReadFileBytes(std::wstring(kRuleFilePath));
    if (rules.View().empty()) {
        return false;
    }
    const std::wstring canonicalPath = NormalizePath(targetPath);
    return !canonicalPath.empty() && AnyRuleLocks(rules.View(), canonicalPath);
}

}  // namespace kelvaro
