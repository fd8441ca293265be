#include "rightclick/explain.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "rightclick/explain_comments.h"
#include "rightclick/explain_keys.h"
#include "rightclick/explain_near_miss.h"
#include "rules/lock_lookup.h"
#include "rules/rule_fields.h"
#include "rules/rule_pieces.h"

namespace rightclick {
namespace {

using kelvaro::RulePiece;

// More remarks hide the important ones.
constexpr size_t kMaxRemarks = 10;

// The most important kind first.
enum class Kind { locks, switchedOff, nearMiss, ignored, otherPath };

// Returns whether `rules` is in UTF-16, and not only begins like it.
bool IsUtf16(std::string_view rules) {
    const bool begins = rules.starts_with("\xFF\xFE") || rules.starts_with("\xFE\xFF") ||
                        (rules.size() >= 2 && (rules[0] == '\0') != (rules[1] == '\0'));
    const auto zeros = static_cast<size_t>(std::count(rules.begin(), rules.end(), '\0'));
    return begins && zeros >= rules.size() / 4;
}

bool CanBeRule(const Rule& rule) {
    return std::any_of(rule.fields.begin(), rule.fields.end(), [](const LooseField& field) {
        return IsTargetKey(field.key) || LowerCase(field.key) == "type";
    });
}

// Returns whether the author of a piece that is not a flat object means `program`.
bool Means(const RulePiece& piece, const Program& program) {
    // The type can be in another piece.
    const std::string typed = "\"type\":\"exe\"," + std::string(piece.text);
    return kelvaro::IsRuleFor(typed, program.canonical) ||
           !ExplainNearMiss(Rule(piece.text), program).empty();
}

// Returns whether the opening brace after `piece` begins the next rule. Otherwise it is in a text
// or begins a value.
bool LacksClosingBrace(const RulePiece& piece) {
    const size_t last = std::min(piece.text.find_last_not_of(" \t\r\n"), piece.text.size() - 1);
    const bool beginsValue = piece.text[last] == ':' || piece.text[last] == '[';
    const bool inText = std::count(piece.text.begin(), piece.text.end(), '"') % 2 != 0;
    return !piece.closed && !beginsValue && !inText;
}

// Explains why a piece that means `program` is not a flat object. Empty if it does not mean it.
std::string ExplainBraces(std::string_view rules, const RulePiece& piece, const Program& program) {
    if ((!piece.opened && !piece.closed) || !Means(piece, program)) {
        return {};
    }
    const auto begin = static_cast<size_t>(piece.text.data() - rules.data());
    if (begin == 0 && !piece.opened) {
        return "a rule for it has no opening brace: write { before it";
    }
    const bool ends = begin + piece.text.size() == rules.size() && !piece.closed;
    if (ends || LacksClosingBrace(piece)) {
        return "a rule for it has no closing brace: write } after it";
    }
    return piece.opened
               ? "a rule for it is ignored, because it contains an object or a brace: remove that "
                 "from the rule"
               : "a rule for it is ignored, because it contains an object or a brace, or has no "
                 "opening brace: a rule is { and }, without a brace between them";
}

class Explainer {
  public:
    Explainer(std::string_view rules, const std::wstring& target)
        : rules_(rules), comments_(rules), program_(target) {}

    Explanation Run() {
        kelvaro::RulePieces pieces(rules_);
        while (const auto piece = pieces.Next()) {
            if (piece->IsFlatObject()) {
                ExamineObject(Rule(piece->text));
            } else {
                Add(Kind::ignored, piece->text, ExplainBraces(rules_, *piece, program_));
            }
        }
        ExamineProgram();
        explanation_.canonical = program_.canonical;
        Summarise();
        return std::move(explanation_);
    }

  private:
    void ExamineObject(const Rule& rule) {
        const std::string_view text = rule.text;
        ++objects_;
        if (kelvaro::IsRuleFor(text, program_.canonical)) {
            ++explanation_.rules;
            const std::string off = ExplainOff(rule);
            Add(off.empty() ? Kind::locks : Kind::switchedOff, text,
                off.empty() ? ExplainLocks(rule) : "the rule for it is " + off);
            return;
        }
        explanation_.rules += CanBeRule(rule) ? 1 : 0;
        if (const std::string miss = ExplainNearMiss(rule, program_); !miss.empty()) {
            Add(Kind::nearMiss, text, miss);
        } else {
            Add(Kind::otherPath, text, ExplainOtherPath(rule, program_));
        }
    }

    // Explains that a rule is switched off. Empty if it is not.
    std::string ExplainOff(const Rule& rule) const {
        const auto word = kelvaro::FindBoolField(rule.text, "enabled");
        const bool inComment = word && comments_.Contain(*word) && !comments_.Contain(rule.text);
        return inComment && *word == "false"
                   ? "switched off in a comment, and comments are not skipped: delete the comment"
                   : ExplainSwitchedOff(rule);
    }

    // Explains a rule that locks the program, and why it may look as if it did not.
    std::string ExplainLocks(const Rule& rule) const {
        const bool inComment = comments_.Contain(FirstTarget(rule));
        const std::string surprise =
            inComment && comments_.Contain(rule.text)
                ? "it is in a comment, and comments are not skipped: delete it"
            : inComment
                ? "its \"target\" is in a comment, and comments are not skipped: delete the "
                  "comment"
                : ExplainIneffectiveSwitch(rule);
        return surprise.empty() ? "this rule locks it" : "this rule locks it; " + surprise;
    }

    // `text` is the piece of the rule file that the remark is about, after those of earlier calls.
    void Add(Kind kind, std::string_view text, const std::string& remark) {
        if (remark.empty()) {
            return;
        }
        const auto begin = static_cast<size_t>(text.data() - rules_.data());
        // The line of the first field, not of the brace before it.
        const size_t first = begin + std::min(text.find_first_not_of("{, \t\r\n"), text.size());
        const std::string_view passed = rules_.substr(counted_, first - counted_);
        line_ += static_cast<size_t>(std::count(passed.begin(), passed.end(), '\n'));
        counted_ = first;
        findings_.insert({kind, {line_, remark}});
    }

    void ExamineProgram() {
        if (program_.canonical.find_first_of(L"{}") != std::wstring::npos) {
            findings_.insert({Kind::switchedOff,
                              {0,
                               "its path contains a brace, and rules with braces inside are "
                               "ignored: it cannot be locked"}});
        }
        if (program_.storesVariable) {
            notes_.push_back(
                "its path is compared as it is written, with the name of the environment variable");
        }
    }

    // Returns where the rule file is not valid JSON. Empty if it is valid.
    std::string FindSyntaxError() const {
        try {
            [[maybe_unused]] const auto document = nlohmann::json::parse(rules_);
            return {};
        } catch (const nlohmann::json::exception& error) {
            const std::string text = error.what();
            const size_t at = std::min(text.find("at line"), text.size());
            return "the rule file is not valid JSON (" + text.substr(at, text.find(':', at) - at) +
                   ")";
        }
    }

    // Explains why no rule is for the program, if no rule nearly is.
    std::string ExplainNoRule() const {
        if (IsUtf16(rules_)) {
            return "the rule file is in UTF-16: save it as UTF-8";
        }
        if (explanation_.rules == 1) {
            return "the only rule in the file is not for it";
        }
        if (explanation_.rules > 1) {
            return "none of the " + std::to_string(explanation_.rules) +
                   " rules in the file is for it";
        }
        if (objects_ > 0) {
            return "the rule file contains no rules";
        }
        if (rules_.find_first_not_of(" \t\r\n") == std::string_view::npos) {
            return "the rule file is empty";
        }
        return rules_.find('{') != std::string_view::npos
                   ? "the rule file ends before the closing brace of a rule"
                   : "the rule file contains no JSON object";
    }

    // Takes the most important finding as the reason and the next ones as remarks.
    void Summarise() {
        const bool locked = findings_.contains(Kind::locks);
        if (locked) {
            // The advice to lock the program has no use.
            findings_.erase(findings_.upper_bound(Kind::locks), findings_.end());
        }
        const std::string error =
            objects_ == 0 || IsUtf16(rules_) ? std::string() : FindSyntaxError();
        explanation_.state = locked ? LockState::locked : LockState::notLocked;
        if (findings_.empty()) {
            explanation_.reason.text = ExplainNoRule() + (error.empty() ? "" : "; ") + error;
        } else {
            explanation_.reason = findings_.begin()->second;
            findings_.erase(findings_.begin());
            if (!error.empty()) {
                notes_.push_back(error + "; other programs may refuse it");
            }
        }
        AddRemarks();
    }

    // Adds the first findings and the notes.
    void AddRemarks() {
        const size_t shown = std::min(findings_.size(), kMaxRemarks);
        for (auto next = findings_.begin(); explanation_.remarks.size() < shown; ++next) {
            explanation_.remarks.push_back(next->second);
        }
        if (shown < findings_.size()) {
            const size_t hidden = findings_.size() - shown;
            notes_.insert(notes_.begin(),
                          std::to_string(hidden) +
                              (hidden == 1 ? " more remark is" : " more remarks are") +
                              " not shown");
        }
        for (const std::string& note : notes_) {
            explanation_.remarks.push_back({0, note});
        }
    }

    std::string_view rules_;
    Comments comments_;
    Program program_;
    std::multimap<Kind, Remark> findings_;  // on single rules, the most important ones first
    std::vector<std::string> notes_;        // on the file and the program
    size_t objects_ = 0;                    // flat objects
    size_t counted_ = 0;                    // how far the lines are counted
    size_t line_ = 1;
    Explanation explanation_;
};

}  // namespace

Explanation ExplainLock(std::string_view rules, const std::wstring& target) {
    return Explainer(rules, target).Run();
}

}  // namespace rightclick
