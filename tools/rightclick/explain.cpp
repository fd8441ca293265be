#include "rightclick/explain.h"

#include <windows.h>

#include <algorithm>
#include <charconv>

#include "common/code_page.h"
#include "console/console.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"
#include "rules/rule_pieces.h"

namespace rightclick {
namespace {

using console::Utf8;
using kelvaro::ExtractStringField;
using kelvaro::NormalizePath;

using kelvaro::RulePiece;

// Returns the line number of the first byte of `piece` that is neither a brace nor white space.
size_t LineOf(std::string_view rules, const RulePiece& piece) {
    const auto begin = static_cast<size_t>(piece.text.data() - rules.data());
    const size_t first =
        begin + std::min(piece.text.find_first_not_of("{ \t\r\n"), piece.text.size());
    const auto end = rules.begin() + static_cast<ptrdiff_t>(first);
    return 1 + static_cast<size_t>(std::count(rules.begin(), end, '\n'));
}

std::wstring TargetOf(std::string_view text) {
    return kelvaro::WideFromBytes(CP_UTF8, 0, ExtractStringField(text, "target", {}));
}

std::wstring FileName(std::wstring_view canonical) {
    return std::wstring(canonical.substr(canonical.rfind(L'\\') + 1));
}

// Returns the target with its escapes decoded as in JSON, \u included.
std::wstring TargetWithCodePoints(std::string_view text) {
    const auto raw = kelvaro::FindStringField(text, "target");
    std::wstring target;
    for (std::wstring units = kelvaro::WideFromBytes(CP_UTF8, 0, raw.value_or(""));
         !units.empty();) {
        size_t taken = 1;
        wchar_t unit = units[0];
        if (units.size() >= 2 && unit == L'\\') {
            unit = units[1];
            taken = 2;
            const std::string digits = Utf8(units.substr(2, 4));
            unsigned value = 0;
            const auto [end, error] =
                std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
            if (unit == L'u' && error == std::errc() && end == digits.data() + 4) {
                unit = static_cast<wchar_t>(value);
                taken = 6;
            }
        }
        target.push_back(unit);
        units.erase(0, taken);
    }
    return target;
}

std::wstring WithoutSeparators(std::wstring text) {
    std::erase(text, L'\\');
    return text;
}

// Explains why a similar rule does not match. Empty if the rule is unrelated.
std::string NearMiss(std::string_view text, std::wstring_view canonical) {
    const std::wstring target = TargetOf(text);
    const std::wstring other = NormalizePath(target);
    if (other == canonical) {
        const std::string type = ExtractStringField(text, "type", {});
        return "its type is \"" + type + "\"; only \"exe\" locks a program";
    }
    if (NormalizePath(TargetWithCodePoints(text)) == canonical) {
        return "its path contains \\u escapes, which are not decoded; write the characters "
               "themselves, "
               "in UTF-8";
    }
    if (!other.empty() && other == WithoutSeparators(std::wstring(canonical))) {
        return "its backslashes are not doubled, so they are lost: the path is " + Utf8(target);
    }
    if (FileName(other) == FileName(canonical)) {
        return "it names another path, " + Utf8(other) +
               " (paths are compared as written: nothing is expanded or resolved)";
    }
    return {};
}

std::string InLine(size_t line, std::string_view what) {
    return "  line " + std::to_string(line) + ": " + std::string(what) + "\n";
}

bool IsUtf16(std::string_view rules) {
    return rules.starts_with("\xFF\xFE") || rules.starts_with("\xFE\xFF");
}

// Explains why a piece that contains the fields of a rule is not a flat object.
const char* ExplainBraces(std::string_view rules, const RulePiece& piece) {
    if (piece.text.data() == rules.data() && !piece.opened) {
        return "a rule for it is ignored: there is no opening brace before it";
    }
    if (piece.text.data() + piece.text.size() == rules.data() + rules.size() && !piece.closed) {
        return "a rule for it is ignored: there is no closing brace after it";
    }
    return "a rule for it is ignored: there is a brace inside it (a nested object, or a brace in a "
           "text)";
}

std::string ExplainPiece(std::string_view rules, const RulePiece& piece,
                         std::wstring_view canonical) {
    const size_t line = LineOf(rules, piece);
    if (!piece.IsFlatObject()) {
        const bool named = NormalizePath(TargetOf(piece.text)) == canonical;
        return named ? InLine(line, ExplainBraces(rules, piece)) : std::string();
    }
    if (kelvaro::IsRuleFor(piece.text, canonical)) {
        return InLine(line, "a rule for it is switched off (\"enabled\" is false)");
    }
    const std::string miss = NearMiss(piece.text, canonical);
    return miss.empty() ? miss : InLine(line, "a similar rule does not match: " + miss);
}

}  // namespace

std::string ExplainLock(std::string_view rules, const std::wstring& target) {
    const std::wstring canonical = NormalizePath(target);
    const std::string program = "The program " + Utf8(target);
    if (rules.empty()) {
        return program + " is not locked: the rule file is missing, empty or unreadable.\n";
    }
    if (IsUtf16(rules)) {
        return program + " is not locked: the rule file is in UTF-16; only UTF-8 is supported.\n";
    }
    std::string notes;
    size_t objects = 0;
    kelvaro::RulePieces pieces(rules);
    while (const auto piece = pieces.Next()) {
        objects += piece->IsFlatObject() ? 1 : 0;
        if (piece->IsFlatObject() && kelvaro::RuleLocks(piece->text, canonical)) {
            return std::string(program)
                .append(" is locked:\n")
                .append(notes)
                .append(InLine(LineOf(rules, *piece), "this rule locks it"));
        }
        notes += ExplainPiece(rules, *piece, canonical);
    }
    std::string answer = program + " is not locked";
    if (canonical.find_first_of(L"{}") != std::wstring::npos) {
        notes += "  its path contains a brace; a rule with a brace in it is always ignored\n";
    }
    answer += notes.empty()
                  ? ": none of the " + std::to_string(objects) + " rules in the file matches it.\n"
                  : ":\n" + notes;
    return answer + "  compared as " + Utf8(canonical) + "\n";
}

}  // namespace rightclick
