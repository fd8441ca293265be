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

using Json = nlohmann::ordered_json;
using kelvaro::RulePiece;
using kelvaro::Utf8FromWide;

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

// Returns `bytes` of a rule file as the extension reads them.
std::string ValidUtf8(std::string_view bytes) {
    return Utf8FromWide(kelvaro::WideFromBytes(CP_UTF8, 0, bytes));
}

// Returns the first ten keys of `text`: what is in double quotes before a colon.
Json ReadKeys(std::string_view text) {
    constexpr size_t kMost = 10;
    Json keys = Json::array();
    size_t begin = text.find('"');
    while (begin != std::string_view::npos && keys.size() < kMost) {
        const size_t end = text.find('"', begin + 1);
        const size_t after = text.find_first_not_of(" \t\n\v\f\r", std::max(end, end + 1));
        if (after != std::string_view::npos && text[after] == ':') {
            keys.push_back(ValidUtf8(text.substr(begin + 1, end - begin - 1)));
        }
        begin = end;
    }
    return keys;
}

// Returns whether `rules` is in UTF-16, and not only begins like it.
bool IsUtf16(std::string_view rules) {
    const bool begins = rules.starts_with("\xFF\xFE") || rules.starts_with("\xFE\xFF") ||
                        (rules.size() >= 2 && (rules[0] == '\0') != (rules[1] == '\0'));
    return begins &&
           static_cast<size_t>(std::count(rules.begin(), rules.end(), '\0')) >= rules.size() / 4;
}

class Explainer {
  public:
    Explainer(std::string_view rules, std::wstring_view program)
        : rules_(rules), canonical_(kelvaro::NormalizePath(program)) {}

    Json Run() {
        const auto locking = kelvaro::FindLockingRule(rules_, canonical_);
        FindSimilarRules(locking ? locking->data() : nullptr);
        const bool decided = !found_.empty() && found_.begin()->first <= Rank::switchedOff;
        const size_t line = decided ? found_.begin()->second.line : 0;
        Json json = {{"locked", locking.has_value()}};
        json["verdict"] = locking ? "is locked by the rule on line " + std::to_string(line)
                                  : "is not locked: " + ExplainUnlocked(line);
        if (decided) {
            json["line"] = line;
        }
        json["similar"] = Json::array();
        for (const auto& [rank, found] : found_) {
            json["similar"].push_back(Examine(found.piece, found.line, rank == Rank::locks));
        }
        json["not_shown"] = notShown_;
        json["compared"] = Utf8FromWide(canonical_);
        json["rules"] = count_;
        return json;
    }

  private:
    struct Found {
        RulePiece piece;
        size_t line;
    };

    // `locking` is the start of the rule that locks the program, or null.
    void FindSimilarRules(const char* locking) {
        constexpr size_t kMost = 10;
        const NameSearch name(canonical_);
        kelvaro::RulePieces pieces(rules_);
        while (const auto piece = pieces.Next()) {
            const std::string_view text = piece->text;
            const bool hasFields =
                kelvaro::FindStringField(text, "type") || kelvaro::FindStringField(text, "target");
            count_ += piece->IsFlatObject() && hasFields ? 1 : 0;
            const bool locks = piece->IsFlatObject() && text.data() == locking;
            if (locks || name.IsIn(text)) {
                const Rank rank = locks ? Rank::locks : RankOf(*piece, canonical_);
                found_.insert({rank, {*piece, LineOf(text)}});
            }
            if (found_.size() > kMost) {
                found_.erase(std::prev(found_.end()));
                ++notShown_;
            }
        }
    }

    size_t Offset(std::string_view text) const {
        return static_cast<size_t>(text.data() - rules_.data());
    }

    // Returns the line on which `text` begins. Every call must be for a later text.
    size_t LineOf(std::string_view text) {
        const size_t begin =
            Offset(text) + std::min(text.find_first_not_of(", \t\r\n"), text.size());
        const std::string_view passed = rules_.substr(counted_, begin - counted_);
        line_ += static_cast<size_t>(std::count(passed.begin(), passed.end(), '\n'));
        counted_ = begin;
        return line_;
    }

    Json Examine(const RulePiece& piece, size_t line, bool locks) const {
        Json rule = {{"line", line}, {"locks", locks}};
        const std::string_view text = piece.text;
        if (!piece.IsFlatObject()) {
            rule["ignored"] = ExplainIgnored(piece, line);
            return rule;
        }
        rule["type"] = nullptr;
        if (kelvaro::FindStringField(text, "type")) {
            rule["type"] = ValidUtf8(kelvaro::ExtractStringField(text, "type", {}));
        }
        const auto enabled = kelvaro::FindBoolField(text, "enabled");
        rule["enabled"] = enabled ? Json(*enabled == "true") : nullptr;
        rule["target"] = nullptr;
        if (kelvaro::FindStringField(text, "target")) {
            rule["target"] = Utf8FromWide(kelvaro::CanonicalTarget(text));
        }
        rule["keys"] = ReadKeys(text);
        return rule;
    }

    // Returns why `piece`, which begins on `line`, is not a flat object.
    std::string ExplainIgnored(const RulePiece& piece, size_t line) const {
        const std::string_view text = piece.text;
        if (!piece.opened) {
            return Offset(text) == 0 ? "there is no { before it"
                                     : "there is a } before it and no { after that; a rule "
                                       "contains no braces";
        }
        if (Offset(text) + text.size() == rules_.size()) {
            return "the file ends before its }";
        }
        line += static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
        return "the { on line " + std::to_string(line) +
               " comes before its }; a rule contains no braces";
    }

    // `line` is that of a rule for the program that is switched off, or 0.
    std::string ExplainUnlocked(size_t line) const {
        if (canonical_.find_first_of(L"{}") != std::wstring::npos) {
            return "its path contains a brace, and a rule contains no braces";
        }
        if (line != 0) {
            return "the rule on line " + std::to_string(line) +
                   " is switched off (\"enabled\": false)";
        }
        if (rules_.empty()) {
            return "the rule file is empty";
        }
        if (IsUtf16(rules_)) {
            return "the rule file is in UTF-16: save it as UTF-8";
        }
        if (count_ == 0) {
            return "the rule file contains no rules";
        }
        return count_ == 1 ? "the only rule is not for it"
                           : "none of the " + std::to_string(count_) + " rules is for it";
    }

    std::string_view rules_;
    std::wstring canonical_;
    std::multimap<Rank, Found> found_;  // at most ten
    size_t notShown_ = 0;
    size_t count_ = 0;    // flat objects with a type or a target
    size_t counted_ = 0;  // how far the lines are counted
    size_t line_ = 1;
};

}  // namespace

Json ExplainLock(std::string_view rules, std::wstring_view program) {
    return Explainer(rules, program).Run();
}

}  // namespace rightclick
