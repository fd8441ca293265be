#include "rightclick/explain.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "rightclick/explain_near_miss.h"
#include "rules/lock_lookup.h"
#include "rules/rule_pieces.h"

namespace rightclick {
namespace {

using kelvaro::RulePiece;

// More remarks hide the important ones.
constexpr size_t kMaxRemarks = 10;

// The most important kind first.
enum class Kind { locks, switchedOff, nearMiss, ignored, otherPath, file };

struct Finding {
    Kind kind;
    Remark remark;
};

bool IsUtf16(std::string_view rules) {
    return rules.starts_with("\xFF\xFE") || rules.starts_with("\xFE\xFF") ||
           (rules.size() >= 2 && (rules[0] == '\0') != (rules[1] == '\0'));
}

// Explains why a piece that means `program` is not a flat object. Empty if it does not mean it.
std::string ExplainBraces(std::string_view rules, const RulePiece& piece, const Program& program) {
    const bool hasBrace = piece.opened || piece.closed;
    const bool means = kelvaro::IsRuleFor(piece.text, program.canonical) ||
                       !ExplainNearMiss(piece.text, program).empty();
    if (!hasBrace || !means) {
        return {};
    }
    const auto begin = static_cast<size_t>(piece.text.data() - rules.data());
    if (begin == 0 && !piece.opened) {
        return "a rule for it has no opening brace: write { before it";
    }
    if (begin + piece.text.size() == rules.size() && !piece.closed) {
        return "a rule for it has no closing brace: write } after it";
    }
    return "a rule for it is ignored, because it contains an object or a brace: remove that from "
           "the rule";
}

class Explainer {
  public:
    Explainer(std::string_view rules, const std::wstring& target)
        : rules_(rules), program_(target) {}

    Explanation Run() {
        kelvaro::RulePieces pieces(rules_);
        while (const auto piece = pieces.Next()) {
            explanation_.rules += piece->IsFlatObject() ? 1 : 0;
            Examine(*piece);
        }
        ExamineProgram();
        ExamineSyntax();
        explanation_.canonical = program_.canonical;
        Summarise();
        return std::move(explanation_);
    }

  private:
    void Examine(const RulePiece& piece) {
        const std::string_view text = piece.text;
        if (!piece.IsFlatObject()) {
            Add(Kind::ignored, text, ExplainBraces(rules_, piece, program_));
        } else if (kelvaro::RuleLocks(text, program_.canonical)) {
            const auto begin = static_cast<size_t>(text.data() - rules_.data());
            const std::string surprise = ExplainUnexpectedLock(text, rules_.substr(0, begin));
            Add(Kind::locks, text,
                surprise.empty() ? "this rule locks it" : "this rule locks it; " + surprise);
        } else if (kelvaro::IsRuleFor(text, program_.canonical)) {
            Add(Kind::switchedOff, text,
                "the rule for it is switched off: write \"enabled\": true");
        } else if (const std::string miss = ExplainNearMiss(text, program_); !miss.empty()) {
            Add(Kind::nearMiss, text, miss);
        } else {
            Add(Kind::otherPath, text, ExplainOtherPath(text, program_));
        }
    }

    // `text` is the piece of the rule file that the remark is about, after those of earlier calls.
    void Add(Kind kind, std::string_view text, const std::string& remark) {
        if (remark.empty()) {
            return;
        }
        const auto begin = static_cast<size_t>(text.data() - rules_.data());
        // The line of the first field, not of the brace before it.
        const size_t first = begin + std::min(text.find_first_not_of("{ \t\r\n"), text.size());
        const std::string_view passed = rules_.substr(counted_, first - counted_);
        line_ += static_cast<size_t>(std::count(passed.begin(), passed.end(), '\n'));
        counted_ = first;
        findings_.push_back({kind, {line_, remark}});
    }

    void ExamineProgram() {
        if (program_.canonical.find_first_of(L"{}") != std::wstring::npos) {
            findings_.push_back({Kind::switchedOff,
                                 {0,
                                  "its path contains a brace, and rules with braces inside are "
                                  "ignored: it cannot be locked"}});
        }
        if (program_.canonical.find(L'%') != std::wstring::npos) {
            findings_.push_back({Kind::file,
                                 {0,
                                  "its path is compared as it is written, with the name of the "
                                  "environment variable"}});
        }
    }

    void ExamineSyntax() {
        if (explanation_.rules == 0) {
            return;
        }
        try {
            [[maybe_unused]] const auto document = nlohmann::json::parse(rules_);
        } catch (const nlohmann::json::exception& error) {
            const std::string text = error.what();
            const size_t at = std::min(text.find("at line"), text.size());
            findings_.push_back({Kind::file,
                                 {0, "the rule file is not valid JSON (" +
                                         text.substr(at, text.find(':', at) - at) +
                                         "); other programs may refuse it"}});
        }
    }

    // Explains why no rule is for the program, if no rule nearly is.
    std::string ExplainNoRule() const {
        if (explanation_.rules == 1) {
            return "the only rule in the file is not for it";
        }
        if (explanation_.rules > 1) {
            return "none of the " + std::to_string(explanation_.rules) +
                   " rules in the file is for it";
        }
        if (rules_.find_first_not_of(" \t\r\n") == std::string_view::npos) {
            return "the rule file is empty";
        }
        return rules_.find('{') != std::string_view::npos
                   ? "the rule file ends before the closing brace of a rule"
                   : "the rule file contains no JSON object";
    }

    // Takes the most important finding as the reason and the first ones of the others as remarks.
    void Summarise() {
        const auto reason = std::min_element(
            findings_.begin(), findings_.end(),
            [](const Finding& left, const Finding& right) { return left.kind < right.kind; });
        const bool locked = reason != findings_.end() && reason->kind == Kind::locks;
        explanation_.state = locked ? LockState::locked : LockState::notLocked;
        if (reason == findings_.end() || reason->kind == Kind::file) {
            explanation_.reason = {0, ExplainNoRule()};
        } else {
            explanation_.reason = reason->remark;
            findings_.erase(reason);
        }
        const size_t shown = std::min(findings_.size(), kMaxRemarks);
        for (size_t at = 0; at < shown; ++at) {
            explanation_.remarks.push_back(findings_[at].remark);
        }
        if (shown < findings_.size()) {
            explanation_.remarks.push_back(
                {0, std::to_string(findings_.size() - shown) + " more remarks are not shown"});
        }
    }

    std::string_view rules_;
    Program program_;
    std::vector<Finding> findings_;
    size_t counted_ = 0;  // how far the lines are counted
    size_t line_ = 1;
    Explanation explanation_;
};

}  // namespace

Explanation ExplainLock(std::string_view rules, const std::wstring& target) {
    if (IsUtf16(rules)) {
        Explanation explanation;
        explanation.state = LockState::notLocked;
        explanation.reason = {0, "the rule file is in UTF-16: save it as UTF-8"};
        explanation.canonical = Program(target).canonical;
        return explanation;
    }
    return Explainer(rules, target).Run();
}

}  // namespace rightclick
