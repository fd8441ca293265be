#include "rightclick/explain_near_miss.h"

#include <windows.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "common/code_page.h"
#include "common/text.h"
#include "console/console.h"
#include "rightclick/explain_fields.h"
#include "rightclick/unicode.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"

namespace rightclick {
namespace {

using console::Utf8;
using kelvaro::NormalizePath;

constexpr std::string_view kTargetKey = "target";

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

// Characters without an image: dialogs put them around the paths that they show.
bool IsInvisible(wchar_t unit) {
    return unit == 0xAD || unit == 0xFEFF || unit == 0x2060 || (unit >= 0x200B && unit <= 0x200F) ||
           (unit >= 0x202A && unit <= 0x202E);
}

std::wstring WithoutInvisible(std::wstring text) {
    std::erase_if(text, IsInvisible);
    return text;
}

std::wstring WithoutTrailingBackslash(std::wstring path) {
    path.erase(path.find_last_not_of(L'\\') + 1);
    return path;
}

// Returns the canonical form of `path` without what an author does not see or mean.
std::wstring Simplify(const std::wstring& path) {
    return WithoutTrailingBackslash(NormalizePath(WithoutInvisible(path)));
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
std::string DecodeJson(const std::string& raw) {
    const auto text = nlohmann::json::parse(Quoted(raw), nullptr, false);
    return text.is_string() ? text.get<std::string>() : std::string();
}

std::vector<Meaning> PossibleMeanings(const LooseField& field) {
    std::vector<Meaning> meanings;
    for (const UINT codePage : {UINT{CP_UTF8}, UINT{CP_ACP}}) {
        const auto add = [&](Reading reading, const std::string& bytes) {
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
    std::string_view object;
    const std::vector<LooseField>& fields;
    const LooseField& target;
    const Meaning& meaning;
    const Program& program;
};

std::string CheckKey(const NearMiss& miss) {
    const std::string& key = miss.target.key;
    if (key == kTargetKey) {
        return {};
    }
    return LowerCase(key) == kTargetKey
               ? "keys are case-sensitive: write \"target\" instead of " + Quoted(key)
               : "write the key \"target\" instead of " + Quoted(key);
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
    return miss.target.inList ? "the path is in a list; a rule has one path: write \"target\": " +
                                    miss.program.quoted
                              : std::string();
}

std::string CheckQuotesInside(const NearMiss& miss) {
    return miss.target.raw.find("\\\"") == std::string::npos
               ? std::string()
               : "the path has quotation marks inside, and the first one ends the text: write " +
                     miss.program.quoted;
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

std::string CheckInvisible(const NearMiss& miss) {
    const auto& path = miss.meaning.path;
    const auto found = std::find_if(path.begin(), path.end(), IsInvisible);
    if (found == path.end()) {
        return {};
    }
    std::string text = "the path contains an invisible character (U+";
    kelvaro::AppendNumber(text, static_cast<uint32_t>(*found), 16, 4);
    return text + "): type the path again, do not paste it";
}

std::string CheckTrailingBackslash(const NearMiss& miss) {
    const bool ends = NormalizePath(WithoutInvisible(miss.meaning.path)).ends_with(L'\\');
    return ends && !miss.program.canonical.ends_with(L'\\')
               ? "the path ends with a backslash: write " + miss.program.quoted
               : std::string();
}

std::string CheckLetterCase(const NearMiss& miss) {
    const std::wstring rule = Compose(Simplify(miss.meaning.path));
    return rule != Compose(WithoutTrailingBackslash(miss.program.canonical))
               ? "the case of letters other than A to Z counts: write " + miss.program.quoted
               : std::string();
}

std::string CheckComposition(const NearMiss& miss) {
    const std::wstring rule = FoldCase(Simplify(miss.meaning.path));
    return rule != FoldCase(WithoutTrailingBackslash(miss.program.canonical))
               ? "its accented letters look the same, but are other characters (composed or "
                 "decomposed): copy the file name from Explorer"
               : std::string();
}

std::string CheckFirstTarget(const NearMiss& miss) {
    const auto first = kelvaro::FindStringField(miss.object, kTargetKey);
    const std::string& key = miss.target.key;
    const bool isTarget = key == kTargetKey && miss.target.quote == "\"";
    const bool counts = first && !first->empty() && miss.target.raw.starts_with(*first);
    return isTarget && first && !counts
               ? std::string("only the first \"target\" of a rule counts: remove the other one")
               : std::string();
}

std::string CheckType(const NearMiss& miss) {
    if (kelvaro::ExtractStringField(miss.object, "type", {}) == "exe") {
        return {};
    }
    for (const LooseField& field : miss.fields) {
        if (LowerCase(field.key) != "type") {
            continue;
        }
        if (field.key != "type") {
            return "keys are case-sensitive: write \"type\" instead of " + Quoted(field.key);
        }
        if (field.raw == "exe") {
            return "the type or its key has no double quotation marks: write \"type\": \"exe\"";
        }
        return "the type is " + Quoted(field.raw) + "; only \"type\": \"exe\" locks a program";
    }
    return "it has no type: add \"type\": \"exe\"";
}

std::string CheckEnabled(const NearMiss& miss) {
    return kelvaro::ExtractBoolField(miss.object, "enabled", true)
               ? std::string()
               : std::string("it is switched off: write \"enabled\": true");
}

using Check = std::string (*)(const NearMiss&);

// A new near miss is one more function in this table.
constexpr Check kChecks[] = {
    CheckKey,          CheckQuotationMarks, CheckList,
    CheckQuotesInside, CheckBackslashes,    CheckUnicodeEscapes,
    CheckCodePage,     CheckInvisible,      CheckTrailingBackslash,
    CheckLetterCase,   CheckComposition,    CheckFirstTarget,
    CheckType,         CheckEnabled,
};

std::string RunChecks(const NearMiss& miss) {
    std::string answer;
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
      quoted(nlohmann::json(Utf8(path)).dump()) {}

std::string ExplainNearMiss(std::string_view object, const Program& program) {
    const std::vector<LooseField> fields = ReadLooseFields(object);
    for (const LooseField& field : fields) {
        if (!IsTargetKey(field.key)) {
            continue;
        }
        for (const Meaning& meaning : PossibleMeanings(field)) {
            if (!program.folded.empty() && Fold(meaning.path) == program.folded) {
                return RunChecks({object, fields, field, meaning, program});
            }
        }
    }
    return {};
}

}  // namespace rightclick
