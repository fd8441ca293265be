#include "rightclick/explain.h"

#include <algorithm>
#include <map>

#include "common/code_page.h"
#include "rightclick/name_search.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"
#include "rules/rule_pieces.h"

namespace rightclick {
namespace {

using kelvaro::RulePiece;

constexpr size_t kMostRules = 10;
constexpr size_t kMostKeys = 10;

// The most relevant rules first.
enum class Rank { locks, switchedOff, sameTarget, other };

Rank RankOf(const RulePiece& piece, std::wstring_view canonical) {
    if (kelvaro::CanonicalTarget(piece.text) != canonical) {
        return Rank::other;
    }
    if (!piece.IsFlatObject() || !kelvaro::IsRuleFor(piece.text, canonical)) {
        return Rank::sameTarget;
    }
    return kelvaro::ExtractBoolField(piece.text, "enabled", true) ? Rank::locks : Rank::switchedOff;
}

// Returns the keys of `text`: what is in double quotes before a colon.
std::vector<std::wstring> ReadKeys(std::string_view text) {
    std::vector<std::wstring> keys;
    size_t begin = text.find('"');
    while (begin != std::string_view::npos && keys.size() < kMostKeys) {
        const size_t end = text.find('"', begin + 1);
        const size_t colon =
            text.find_first_not_of(" \t\n\v\f\r", std::min(end, text.size() - 1) + 1);
        if (colon != std::string_view::npos && text[colon] == ':') {
            keys.push_back(
                kelvaro::WideFromBytes(CP_UTF8, 0, text.substr(begin + 1, end - begin - 1)));
        }
        begin = end;
    }
    return keys;
}

// Returns whether `rules` is in UTF-16, and not only begins like it.
bool IsUtf16(std::string_view rules) {
    const bool begins = rules.starts_with("\xFF\xFE") || rules.starts_with("\xFE\xFF") ||
                        (rules.size() >= 2 && (rules[0] == '\0') != (rules[1] == '\0'));
    const auto zeros = begins ? std::count(rules.begin(), rules.end(), '\0') : 0;
    return begins && static_cast<size_t>(zeros) >= rules.size() / 4;
}

class Explainer {
  public:
    Explainer(std::string_view rules, std::wstring_view program) : rules_(rules) {
        explanation_.canonical = kelvaro::NormalizePath(program);
    }

    Explanation Run() {
        const std::wstring& canonical = explanation_.canonical;
        const auto locking = kelvaro::FindLockingRule(rules_, canonical);
        explanation_.locked = locking.has_value();
        FindSimilarRules(canonical, locking ? locking->data() : nullptr);
        for (const auto& [rank, found] : found_) {
            explanation_.similar.push_back(Examine(found.piece, found.line, rank == Rank::locks));
        }
        const bool decided = !found_.empty() && found_.begin()->first <= Rank::switchedOff;
        explanation_.line = decided ? found_.begin()->second.line : 0;
        explanation_.verdict = explanation_.locked ? "is locked by the rule on line " +
                                                         std::to_string(explanation_.line)
                                                   : "is not locked: " + ExplainUnlocked();
        return std::move(explanation_);
    }

  private:
    struct Found {
        RulePiece piece;
        size_t line;
    };

    // `locking` is the start of the rule that locks the program, or null.
    void FindSimilarRules(const std::wstring& canonical, const char* locking) {
        const NameSearch name(canonical);
        kelvaro::RulePieces pieces(rules_);
        while (const auto piece = pieces.Next()) {
            const std::string_view text = piece->text;
            if (piece->IsFlatObject() && (kelvaro::FindStringField(text, "type") ||
                                          kelvaro::FindStringField(text, "target"))) {
                ++explanation_.rules;
            }
            const bool locks = piece->IsFlatObject() && text.data() == locking;
            if (locks || name.IsIn(text)) {
                const Rank rank = locks ? Rank::locks : RankOf(*piece, canonical);
                found_.insert({rank, {*piece, LineOf(text)}});
            }
            if (found_.size() > kMostRules) {
                found_.erase(std::prev(found_.end()));
                ++explanation_.notShown;
            }
        }
    }

    // Returns the line on which `text` begins. Every call must be for a later text.
    size_t LineOf(std::string_view text) {
        const size_t begin =
            Offset(text) + std::min(text.find_first_not_of(", \t\r\n"), text.size());
        line_ +=
            static_cast<size_t>(std::count(rules_.begin() + static_cast<ptrdiff_t>(counted_),
                                           rules_.begin() + static_cast<ptrdiff_t>(begin), '\n'));
        counted_ = begin;
        return line_;
    }

    size_t Offset(std::string_view text) const {
        return static_cast<size_t>(text.data() - rules_.data());
    }

    SimilarRule Examine(const RulePiece& piece, size_t line, bool locks) const {
        SimilarRule rule;
        rule.line = line;
        rule.ignored = ExplainIgnored(piece, line);
        rule.locks = locks;
        if (kelvaro::FindStringField(piece.text, "type")) {
            rule.type = kelvaro::WideFromBytes(CP_UTF8, 0,
                                               kelvaro::ExtractStringField(piece.text, "type", {}));
        }
        rule.enabled = kelvaro::ExtractBoolField(piece.text, "enabled", true);
        rule.enabledByDefault = !kelvaro::FindBoolField(piece.text, "enabled");
        if (kelvaro::FindStringField(piece.text, "target")) {
            rule.target = kelvaro::CanonicalTarget(piece.text);
        }
        rule.keys = ReadKeys(piece.text);
        return rule;
    }

    // Returns why `piece` is not a flat object. Empty if it is one.
    std::string ExplainIgnored(const RulePiece& piece, size_t line) const {
        if (piece.IsFlatObject()) {
            return {};
        }
        const size_t end = Offset(piece.text) + piece.text.size();
        if (!piece.opened) {
            return Offset(piece.text) == 0 ? "there is no { before it"
                                           : "there is a } before it and no { after that; a rule "
                                             "contains no braces";
        }
        if (end == rules_.size()) {
            return "the file ends before its }";
        }
        const auto lines = std::count(piece.text.begin(), piece.text.end(), '\n');
        return "the { on line " + std::to_string(line + static_cast<size_t>(lines)) +
               " comes before its }; a rule contains no braces";
    }

    std::string ExplainUnlocked() const {
        if (explanation_.canonical.find_first_of(L"{}") != std::wstring::npos) {
            return "its path contains a brace, and a rule contains no braces";
        }
        if (explanation_.line != 0) {
            return "the rule on line " + std::to_string(explanation_.line) +
                   " is switched off (\"enabled\": false)";
        }
        if (rules_.empty()) {
            return "the rule file is empty";
        }
        if (IsUtf16(rules_)) {
            return "the rule file is in UTF-16: save it as UTF-8";
        }
        switch (explanation_.rules) {
            case 0:
                return "the rule file contains no rules";
            case 1:
                return "the only rule is not for it";
            default:
                return "none of the " + std::to_string(explanation_.rules) + " rules is for it";
        }
    }

    std::string_view rules_;
    std::multimap<Rank, Found> found_;
    size_t counted_ = 0;  // how far the lines are counted
    size_t line_ = 1;
    Explanation explanation_;
};

}  // namespace

Explanation ExplainLock(std::string_view rules, std::wstring_view program) {
    return Explainer(rules, program).Run();
}

}  // namespace rightclick
