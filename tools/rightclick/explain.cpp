#include "rightclick/explain.h"

#include <windows.h>

#include <algorithm>
#include <charconv>
#include <optional>

#include "common/code_page.h"
#include "console/console.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"

namespace rightclick {
namespace {

using console::Utf8;
using kelvaro::ExtractStringField;
using kelvaro::NormalizePath;

// A run of bytes between two braces, or between a brace and the file's beginning or end.
struct Piece {
    std::string_view text;
    bool opened;  // by an opening brace before it
    bool closed;  // by a closing brace behind it
    bool first;   // in the file
    bool last;
    size_t line;

    bool IsFlatObject() const { return opened && closed; }
};

std::optional<Piece> NextPiece(std::string_view rules, size_t& at) {
    if (at > rules.size()) {
        return std::nullopt;
    }
    const size_t end = std::min(rules.find_first_of("{}", at), rules.size());
    const bool opened = at > 0 && rules[at - 1] == '{';
    const bool closed = end < rules.size() && rules[end] == '}';
    const std::string_view text = rules.substr(at, end - at);
    // The line of what is written in the piece, not of the brace before it.
    const size_t first = at + std::min(text.find_first_not_of(" \t\r\n"), text.size());
    const auto line =
        1 + std::count(rules.begin(), rules.begin() + static_cast<ptrdiff_t>(first), '\n');
    const bool firstPiece = at == 0;
    at = end + 1;
    return Piece{text, opened, closed, firstPiece, end == rules.size(), static_cast<size_t>(line)};
}

std::wstring TargetOf(std::string_view text) {
    return kelvaro::WideFromBytes(CP_UTF8, 0, ExtractStringField(text, "target", {}));
}

std::wstring FileName(std::wstring_view canonical) {
    return std::wstring(canonical.substr(canonical.rfind(L'\\') + 1));
}

// The target as a full JSON reader would take it, \u escapes decoded.
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

// What keeps a rule that is not for `canonical` from being for it; empty when it is about something
// else altogether.
std::string NearMiss(std::string_view text, std::wstring_view canonical) {
    const std::wstring target = TargetOf(text);
    const std::wstring other = NormalizePath(target);
    if (other == canonical) {
        const std::string type = ExtractStringField(text, "type", {});
        return "its type is \"" + type + "\", and only \"exe\" locks a program";
    }
    if (NormalizePath(TargetWithCodePoints(text)) == canonical) {
        return "a letter of its path is written as \\u and four digits, which are not decoded; "
               "write "
               "the letter itself, in UTF-8";
    }
    if (!other.empty() && other == WithoutSeparators(std::wstring(canonical))) {
        return "its backslashes are not doubled, so they are lost: the path is " + Utf8(target);
    }
    if (FileName(other) == FileName(canonical)) {
        return "it names another path, " + Utf8(other) +
               " (compared as written: nothing is expanded or resolved)";
    }
    return {};
}

std::string InLine(size_t line, std::string_view what) {
    return "  line " + std::to_string(line) + ": " + std::string(what) + "\n";
}

bool IsUtf16(std::string_view rules) {
    return rules.starts_with("\xFF\xFE") || rules.starts_with("\xFE\xFF");
}

// Why a piece that reads like a rule is none.
const char* WhatIsMissing(const Piece& piece) {
    if (piece.first) {
        return "a rule for it is not seen, because no brace opens it";
    }
    if (piece.last) {
        return "a rule for it is not seen, because no brace closes it";
    }
    return "a rule for it is not seen, because there is a brace inside (an object in the rule, or "
           "a "
           "brace in a text)";
}

std::string ExplainPiece(const Piece& piece, std::wstring_view canonical) {
    if (!piece.IsFlatObject()) {
        const bool named = NormalizePath(TargetOf(piece.text)) == canonical;
        return named ? InLine(piece.line, WhatIsMissing(piece)) : std::string();
    }
    if (kelvaro::IsRuleFor(piece.text, canonical)) {
        return InLine(piece.line, "a rule for it is switched off (\"enabled\" is false)");
    }
    const std::string miss = NearMiss(piece.text, canonical);
    return miss.empty() ? miss : InLine(piece.line, "a rule nearly fits: " + miss);
}

}  // namespace

std::string ExplainLock(std::string_view rules, const std::wstring& target) {
    const std::wstring canonical = NormalizePath(target);
    const std::string program = "The program " + Utf8(target);
    if (rules.empty()) {
        return program + " is not locked: the rule file is missing, empty or cannot be read.\n";
    }
    if (IsUtf16(rules)) {
        return program + " is not locked: the rule file is in UTF-16, and only UTF-8 is read.\n";
    }
    std::string notes;
    size_t at = 0;
    size_t objects = 0;
    while (const auto piece = NextPiece(rules, at)) {
        objects += piece->IsFlatObject() ? 1 : 0;
        const bool locks = piece->IsFlatObject() && kelvaro::IsRuleFor(piece->text, canonical) &&
                           kelvaro::ExtractBoolField(piece->text, "enabled", true);
        if (locks) {
            return std::string(program)
                .append(" is locked:\n")
                .append(notes)
                .append(InLine(piece->line, "this rule locks it"));
        }
        notes += ExplainPiece(*piece, canonical);
    }
    std::string answer = program + " is not locked";
    if (canonical.find_first_of(L"{}") != std::wstring::npos) {
        notes += "  its path has a brace in it, and a rule with a brace is never seen\n";
    }
    answer += notes.empty() ? ": none of the " + std::to_string(objects) +
                                  " rules that can be seen is for it.\n"
                            : ":\n" + notes;
    return answer + "  compared as " + Utf8(canonical) + "\n";
}

}  // namespace rightclick
