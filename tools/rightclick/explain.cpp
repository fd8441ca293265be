#include "rightclick/explain.h"

#include <algorithm>
#include <cwchar>
#include <map>

#include "common/code_page.h"
#include "rightclick/platform.h"
#include "rightclick/result_text.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"
#include "rules/rule_pieces.h"

namespace rightclick {
namespace {

using Json = nlohmann::ordered_json;
using kelvaro::RulePiece;
using kelvaro::Utf8FromWide;

constexpr wchar_t kMalformed = 0xFFFD;

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

// Returns `text` in lower case, without blanks and unseen characters, and with one backslash for
// two. A single backslash begins an escape if `escapes` is set; otherwise it stays. Keeps nulls, so
// that no text in UTF-16 is taken for one in UTF-8, and U+FFFD, which marks malformed bytes.
std::wstring Fold(std::wstring_view text, bool escapes) {
    constexpr size_t kDigits = 4;  // of \u006F
    std::wstring folded;
    for (size_t at = 0; at < text.size(); ++at) {
        wchar_t unit = text[at];
        const wchar_t next = at + 1 < text.size() ? text[at + 1] : L'\0';
        if (unit == L'\\' && (next == L'\\' || (escapes && next != L'\0'))) {
            unit = next;
            ++at;
            const std::wstring digits(text.substr(at + 1, kDigits));
            wchar_t* end = nullptr;
            const unsigned long code = std::wcstoul(digits.c_str(), &end, 16);
            if (unit == L'u' && end == digits.c_str() + kDigits) {
                unit = static_cast<wchar_t>(code);
                at += kDigits;
            }
        }
        if (unit != L' ' && (!IsUnseen(unit) || unit == L'\0' || unit == kMalformed)) {
            folded.push_back(unit);
        }
    }
    return LowerCase(folded);
}

// Returns whether `text` contains `name`, and not only as the end of another name.
bool HasName(std::wstring_view text, std::wstring_view name) {
    size_t at = text.find(name);
    while (at != std::wstring_view::npos && at > 0 &&
           std::wstring_view(L"\"'\\/:").find(text[at - 1]) == std::wstring_view::npos) {
        at = text.find(name, at + 1);
    }
    return at != std::wstring_view::npos;
}

// Returns whether the bytes of a rule file `text` contain the file name `name`, in any letter case
// and with any escapes, even with other blanks or unseen characters. In bytes that are not UTF-8,
// compares only the ASCII characters.
bool MentionsName(std::string_view text, std::wstring_view name) {
    const std::wstring wide = kelvaro::WideFromBytes(CP_UTF8, 0, text);
    for (const bool escapes : {false, true}) {
        std::wstring folded = Fold(wide, escapes);
        std::wstring wanted = Fold(name, false);
        if (folded.find(kMalformed) != std::wstring::npos) {
            const auto isForeign = [](wchar_t unit) { return unit >= 0x80; };
            std::erase_if(folded, isForeign);
            std::erase_if(wanted, isForeign);
        }
        if (HasName(folded, wanted)) {
            return true;
        }
    }
    return false;
}

size_t CountLineFeeds(std::string_view text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

// Returns the index of the first byte of `text` that is not a separator of rules.
size_t BeginOf(std::string_view text) {
    return std::min(text.find_first_not_of(", \t\r\n"), text.size());
}

// Returns `text` from BeginOf on, on one line: line ends with the indentation after them become one
// blank.
std::string OnOneLine(std::string_view text) {
    text.remove_prefix(BeginOf(text));
    std::string line;
    while (!text.empty()) {
        const size_t end = std::min(text.find_first_of("\r\n"), text.size());
        line += text.substr(0, end);
        text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n", end), text.size()));
        line += text.empty() ? "" : " ";
    }
    return line;
}

// Returns why `piece` of `rules`, which begins on `line`, is not a flat object.
std::string ExplainIgnored(std::string_view rules, const RulePiece& piece, size_t line) {
    if (!piece.opened) {
        return piece.text.data() == rules.data()
                   ? "there is no { before it"
                   : "there is a } before it and no { after that; a rule contains no braces";
    }
    if (&piece.text.back() == &rules.back()) {
        return "the file ends before its }";
    }
    return "the { on line " + std::to_string(line + CountLineFeeds(piece.text)) +
           " comes before its }; a rule contains no braces";
}

// Returns what the extension reads from `piece` of `rules`, which begins on `line`.
Json ReadRule(std::string_view rules, const RulePiece& piece, size_t line, bool locks) {
    const std::string_view text = piece.text;
    Json rule = {{"line", line}, {"locks", locks}, {"text", ValidUtf8(OnOneLine(text))}};
    if (!piece.IsFlatObject()) {
        rule["ignored"] = ExplainIgnored(rules, piece, line);
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
    return rule;
}

// Returns why no rule of `rules` locks the program. `count` is the number of rules. `switchedOff`
// names one for the program, if there is one.
std::string ExplainUnlocked(std::string_view rules, std::wstring_view canonical, size_t count,
                            const std::string& switchedOff) {
    if (canonical.find_first_of(L"{}") != std::wstring::npos) {
        return "its path contains a brace, and a rule contains no braces";
    }
    if (!switchedOff.empty()) {
        return switchedOff + " is switched off (\"enabled\": false)";
    }
    if (rules.empty()) {
        return "the rule file is empty";
    }
    if (rules.starts_with("\xFF\xFE") || rules.starts_with("\xFE\xFF") ||
        (rules.size() >= 2 && (rules[0] == '\0') != (rules[1] == '\0'))) {
        return "the rule file is in UTF-16: save it as UTF-8";
    }
    return count == 0   ? "the rule file contains no rules"
           : count == 1 ? "the only rule is not for it"
                        : "none of the " + std::to_string(count) + " rules is for it";
}

}  // namespace

Json ExplainLock(std::string_view rules, std::wstring_view program) {
    constexpr size_t kMost = 10;
    const std::wstring canonical = kelvaro::NormalizePath(program);
    const auto locking = kelvaro::FindLockingRule(rules, canonical);
    const std::wstring name = canonical.substr(canonical.rfind(L'\\') + 1);
    std::multimap<Rank, Json> similar;
    size_t notShown = 0;
    size_t count = 0;  // flat objects with a type or a target
    size_t line = 1;
    const char* lineCounted = rules.data();  // how far `line` is counted
    kelvaro::RulePieces pieces(rules);
    while (const auto piece = pieces.Next()) {
        const std::string_view text = piece->text;
        const bool hasFields =
            kelvaro::FindStringField(text, "type") || kelvaro::FindStringField(text, "target");
        count += piece->IsFlatObject() && hasFields ? 1 : 0;
        const bool locks = locking && piece->IsFlatObject() && text.data() == locking->data();
        if (!locks && !MentionsName(text, name)) {
            continue;
        }
        const Rank rank = locks ? Rank::locks : RankOf(*piece, canonical);
        if (similar.size() == kMost) {
            ++notShown;
            if (rank >= similar.rbegin()->first) {
                continue;
            }
            similar.erase(std::prev(similar.end()));
        }
        const char* const begin = text.data() + BeginOf(text);
        line += CountLineFeeds({lineCounted, static_cast<size_t>(begin - lineCounted)});
        lineCounted = begin;
        similar.insert({rank, ReadRule(rules, *piece, line, rank == Rank::locks)});
    }
    Json json = {{"locked", locking.has_value()}, {"verdict", nullptr}};
    std::string rule;
    if (!similar.empty() && similar.begin()->first <= Rank::switchedOff) {
        json["line"] = similar.begin()->second["line"];
        rule = "the rule on line " + json["line"].dump();
    }
    json["verdict"] = locking ? "is locked by " + rule
                              : "is not locked: " + ExplainUnlocked(rules, canonical, count, rule);
    json["similar"] = Json::array();
    for (const auto& [rank, shown] : similar) {
        json["similar"].push_back(shown);
    }
    json["not_shown"] = notShown;
    json["compared"] = Utf8FromWide(canonical);
    json["rules"] = count;
    return json;
}

}  // namespace rightclick
