#include "rightclick/explain_near_miss.h"

#include <windows.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "common/code_page.h"
#include "common/text.h"
#include "console/console.h"
#include "rightclick/explain_keys.h"
#include "rightclick/target.h"
#include "rightclick/unicode.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"

namespace rightclick {
namespace {

using console::Utf8;
using kelvaro::NormalizePath;

constexpr std::string_view kTargetKey = "target";

// Characters without an image: dialogs put them around the paths that they show.
bool IsInvisible(wchar_t unit) {
    return unit == 0xAD || unit == 0xFEFF || unit == 0x2060 || (unit >= 0x200B && unit <= 0x200F) ||
           (unit >= 0x202A && unit <= 0x202E);
}

bool IsUnusualSpace(wchar_t unit) {
    return unit == 0xA0 || unit == 0x202F || unit == 0x205F || unit == 0x3000 ||
           (unit >= 0x2000 && unit <= 0x200A);
}

std::wstring WithoutInvisible(std::wstring text) {
    std::erase_if(text, IsInvisible);
    std::replace_if(text.begin(), text.end(), IsUnusualSpace, L' ');
    return text;
}

// Returns the canonical form of `path`. White space and quotation marks can enclose each other.
std::wstring Canonical(const std::wstring& path) {
    std::wstring canonical = NormalizePath(NormalizePath(WithoutInvisible(path)));
    const bool quoted =
        canonical.size() >= 2 && canonical.starts_with(L'\'') && canonical.ends_with(L'\'');
    return quoted ? canonical.substr(1, canonical.size() - 2) : canonical;
}

// Returns the canonical form of `path` without what an author does not see or mean.
std::wstring Simplify(const std::wstring& path) {
    std::wstring simple = Canonical(path);
    simple.erase(simple.find_last_not_of(L"\\.") + 1);
    return simple;
}

std::wstring Fold(const std::wstring& path) {
    std::wstring simple = Simplify(path);
    const bool ascii =
        std::all_of(simple.begin(), simple.end(), [](wchar_t unit) { return unit < 0x80; });
    return ascii ? simple : FoldCase(Compose(simple));
}

// How the bytes of a value become the path that its author means.
enum class Reading { decoded, unicodeEscapes, raw };

struct Meaning {
    Reading reading;
    UINT codePage;
    std::wstring path;
};

// Returns `raw` with its escapes decoded as in JSON, \u included. Empty if it is not valid JSON.
std::string DecodeJson(std::string_view raw) {
    const std::string quoted = "\"" + std::string(raw) + "\"";
    const auto text = nlohmann::json::parse(quoted, nullptr, false);
    return text.is_string() ? text.get<std::string>() : std::string();
}

std::vector<Meaning> PossibleMeanings(const LooseField& field) {
    std::vector<Meaning> meanings;
    for (const UINT codePage : {UINT{CP_UTF8}, UINT{CP_ACP}}) {
        const auto add = [&](Reading reading, std::string_view bytes) {
            meanings.push_back({reading, codePage, kelvaro::WideFromBytes(codePage, 0, bytes)});
        };
        add(Reading::decoded, kelvaro::UnescapeJsonString(field.raw));
        add(Reading::unicodeEscapes, DecodeJson(field.raw));
        add(Reading::raw, field.raw);
    }
    return meanings;
}

// A rule whose author means the program.
struct NearMiss {
    const Rule& rule;
    const LooseField& target;
    const Meaning& meaning;
    const Program& program;
};

std::string CheckKey(const NearMiss& miss) {
    const std::string_view key = miss.target.key;
    if (key == kTargetKey) {
        return {};
    }
    if (LowerCase(key) == kTargetKey) {
        return "keys are case-sensitive: write \"target\" instead of " + Quoted(key);
    }
    return "write the key \"target\" instead of " + Quoted(key) +
           (IsTargetKey(key) ? "" : " if this program is meant");
}

std::string CheckQuotationMarks(const NearMiss& miss) {
    for (const std::string_view quote : {miss.target.keyQuote, miss.target.quote}) {
        if (quote != "\"") {
            const char* const found = quote.empty()  ? "has no quotation marks"
                                      : quote == "'" ? "has single quotation marks"
                                                     : "has typographic quotation marks";
            return std::string("the path or its key ") + found +
                   ": write \"target\": " + miss.program.quoted;
        }
    }
    return {};
}

std::string CheckList(const NearMiss& miss) {
    if (!miss.target.inList) {
        return {};
    }
    const auto elements = std::count_if(
        miss.rule.fields.begin(), miss.rule.fields.end(),
        [&](const LooseField& field) { return field.key.data() == miss.target.key.data(); });
    return elements > 1
               ? "the path is in a list; a rule has one path: " + AddRule(miss.program.quoted)
               : "the path is in a list; a rule has one path: write \"target\": " +
                     miss.program.quoted;
}

std::string CheckQuotesInside(const NearMiss& miss) {
    if (miss.target.raw.find("\\\"") != std::string_view::npos) {
        return "the path has quotation marks inside, and the first one ends the text: write " +
               miss.program.quoted;
    }
    return NormalizePath(WithoutInvisible(miss.meaning.path)).starts_with(L'\'') &&
                   !miss.program.canonical.starts_with(L'\'')
               ? "the path has single quotation marks inside: write " + miss.program.quoted
               : std::string();
}

std::string CheckBackslashes(const NearMiss& miss) {
    if (miss.meaning.reading != Reading::raw) {
        return {};
    }
    const std::string decoded = kelvaro::UnescapeJsonString(miss.target.raw);
    const bool control = decoded.find_first_of("\n\r\t") != std::string::npos;
    return std::string("the backslashes are not doubled, so they are lost") +
           (control ? " (and \\n, \\r and \\t are control characters)" : "") + ": write " +
           miss.program.quoted;
}

std::string CheckUnicodeEscapes(const NearMiss& miss) {
    return miss.meaning.reading != Reading::unicodeEscapes
               ? std::string()
               : "\\u escapes are not decoded: write the characters themselves, in UTF-8: " +
                     miss.program.quoted;
}

std::string CheckCodePage(const NearMiss& miss) {
    return miss.meaning.codePage == CP_UTF8
               ? std::string()
               : std::string(
                     "the file is not in UTF-8, but in an ANSI code page: save it as UTF-8");
}

// Returns the first invisible character or unusual space of `path` that `other` does not contain,
// as "U+202A". Empty if there is none.
std::string FindInvisible(const std::wstring& path, const std::wstring& other) {
    const auto found = std::find_if(path.begin(), path.end(), [&](wchar_t unit) {
        return (IsInvisible(unit) || IsUnusualSpace(unit)) &&
               other.find(unit) == std::wstring::npos;
    });
    if (found == path.end()) {
        return {};
    }
    std::string text = "U+";
    kelvaro::AppendNumber(text, static_cast<uint32_t>(*found), 16, 4);
    return text;
}

std::string CheckInvisible(const NearMiss& miss) {
    const std::wstring& program = miss.program.canonical;
    if (const std::string found = FindInvisible(miss.meaning.path, program); !found.empty()) {
        return "the path contains an invisible character (" + found +
               "): type the path again, do not paste it";
    }
    const std::string missing = FindInvisible(program, miss.meaning.path);
    return missing.empty() ? std::string()
                           : "the path of the program contains an invisible character (" + missing +
                                 "): copy the path from here: " + miss.program.quoted;
}

std::string CheckEnd(const NearMiss& miss) {
    const std::wstring path = Canonical(miss.meaning.path);
    const wchar_t last = path.empty() ? L'\0' : path.back();
    return (last == L'\\' || last == L'.') && !miss.program.canonical.ends_with(last)
               ? std::string("the path ends with a ") + (last == L'.' ? "dot" : "backslash") +
                     ": write " + miss.program.quoted
               : std::string();
}

std::string CheckLetterCase(const NearMiss& miss) {
    return Compose(Simplify(miss.meaning.path)) != Compose(Simplify(miss.program.canonical))
               ? "the case of letters other than A to Z counts: write " + miss.program.quoted
               : std::string();
}

std::string CheckComposition(const NearMiss& miss) {
    return FoldCase(Simplify(miss.meaning.path)) != FoldCase(Simplify(miss.program.canonical))
               ? "its accented letters look the same, but are other characters (composed or "
                 "decomposed): copy the file name from Explorer"
               : std::string();
}

std::string CheckType(const NearMiss& miss) {
    return ExplainType(miss.rule);
}

std::string CheckEnabled(const NearMiss& miss) {
    const std::string off = ExplainSwitchedOff(miss.rule);
    return off.empty() ? off : "it is " + off;
}

using Check = std::string (*)(const NearMiss&);

// A new near miss is one more function in this table.
constexpr Check kChecks[] = {
    CheckKey,         CheckQuotationMarks, CheckList,        CheckQuotesInside,
    CheckBackslashes, CheckUnicodeEscapes, CheckCodePage,    CheckInvisible,
    CheckEnd,         CheckLetterCase,     CheckComposition, CheckType,
    CheckEnabled,
};

// Explains a field that names the program beside the first "target", which another path has. That
// path must stay. Empty if there is none.
std::string ExplainSecondTarget(const NearMiss& miss) {
    const char* const first = FirstTarget(miss.rule).data();
    if (first == nullptr || first == miss.target.raw.data()) {
        return {};
    }
    const std::string add = AddRule(miss.program.quoted);
    return miss.target.key == kTargetKey
               ? "only the first \"target\" of a rule counts: " + add
               : "the key " + Quoted(miss.target.key) + " has no effect beside \"target\": " + add +
                     " if this program is meant";
}

std::string RunChecks(const NearMiss& miss) {
    std::string answer = ExplainSecondTarget(miss);
    if (!answer.empty()) {
        return answer;
    }
    for (const Check check : kChecks) {
        if (const std::string found = check(miss); !found.empty()) {
            answer += (answer.empty() ? "" : "; ") + found;
        }
    }
    return answer.empty() ? "it is not read as a rule for " + miss.program.quoted : answer;
}

}  // namespace

Program::Program(std::wstring_view path)
    : canonical(NormalizePath(path)),
      folded(Fold(std::wstring(path))),
      quoted(nlohmann::json(Utf8(path)).dump()),
      storesVariable(StoresVariable(std::wstring(path))) {}

std::string ExplainNearMiss(const Rule& rule, const Program& program) {
    const bool lacksTarget = FirstTarget(rule).data() == nullptr && ExplainType(rule).empty();
    for (const LooseField& field : rule.fields) {
        if (!IsTargetKey(field.key) && !lacksTarget) {
            continue;
        }
        for (const Meaning& meaning : PossibleMeanings(field)) {
            if (!program.folded.empty() && Fold(meaning.path) == program.folded) {
                return RunChecks({rule, field, meaning, program});
            }
        }
    }
    return {};
}

}  // namespace rightclick
