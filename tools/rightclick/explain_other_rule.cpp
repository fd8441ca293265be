#include <shlwapi.h>
#include <windows.h>

#include <algorithm>
#include <vector>

#include "common/code_page.h"
#include "console/console.h"
#include "rightclick/explain_keys.h"
#include "rightclick/explain_near_miss.h"
#include "rightclick/target.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"

namespace rightclick {
namespace {

using console::Utf8;

// The canonical path of a rule that does not mean the program.
struct OtherPath {
    std::wstring path;
    const Program& program;
};

std::wstring NameOf(const std::wstring& path) {
    return path.substr(path.rfind(L'\\') + 1);
}

bool HasSameName(const OtherPath& other) {
    return NameOf(other.path) == NameOf(other.program.canonical);
}

bool HasPrefix(const std::wstring& path) {
    return path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\.\\");
}

// A check returns how the rule differs. Empty if it differs otherwise.

std::string CheckPrefix(const OtherPath& other) {
    const std::wstring& path = other.path;
    return HasPrefix(path) && path.substr(4) == other.program.canonical
               ? "the prefix " + Utf8(path.substr(0, 4)) + " counts"
               : std::string();
}

std::string CheckUrl(const OtherPath& other) {
    return other.path == L"file:\\" + other.program.canonical ? "a URL is not a path"
                                                              : std::string();
}

std::string CheckVariables(const OtherPath& other) {
    return StoresVariable(other.path) && HasSameName(other)
               ? "environment variables are not expanded"
               : std::string();
}

std::string CheckSegments(const OtherPath& other) {
    const bool relative = other.path.find(L"\\..\\") != std::wstring::npos ||
                          other.path.find(L"\\.\\") != std::wstring::npos ||
                          other.path.starts_with(L".");
    return relative && HasSameName(other) ? "\".\" and \"..\" are not resolved" : std::string();
}

std::string CheckWildcards(const OtherPath& other) {
    return other.path.find_first_of(L"*?") != std::wstring::npos &&
                   PathMatchSpecW(other.program.canonical.c_str(), other.path.c_str())
               ? "wildcards are not supported"
               : std::string();
}

std::vector<std::wstring> Split(const std::wstring& path) {
    std::vector<std::wstring> parts;
    for (size_t at = 0; at <= path.size();) {
        const size_t end = std::min(path.find(L'\\', at), path.size());
        parts.push_back(path.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

std::wstring ExtensionOf(const std::wstring& name) {
    return name.substr(std::min(name.rfind(L'.'), name.size()));
}

// Returns whether `shortName`, such as "progra~1", can be the 8.3 name of `name`.
bool IsShortNameOf(const std::wstring& shortName, std::wstring name) {
    const size_t tilde = shortName.find(L'~');
    const size_t digit = tilde == std::wstring::npos ? tilde : tilde + 1;
    std::erase(name, L' ');
    return tilde != std::wstring::npos && tilde > 0 && digit < shortName.size() &&
           shortName[digit] >= L'0' && shortName[digit] <= L'9' &&
           name.starts_with(shortName.substr(0, tilde)) &&
           ExtensionOf(name) == ExtensionOf(shortName);
}

std::string CheckShortNames(const OtherPath& other) {
    const std::vector<std::wstring> parts = Split(other.path);
    const std::vector<std::wstring> names = Split(other.program.canonical);
    const bool same = std::equal(parts.begin(), parts.end(), names.begin(), names.end(),
                                 [](const std::wstring& part, const std::wstring& name) {
                                     return part == name || IsShortNameOf(part, name);
                                 });
    return same ? "short names are not expanded" : std::string();
}

std::string CheckFolder(const OtherPath& other) {
    std::wstring folder = other.path;
    folder.erase(folder.find_last_not_of(L'\\') + 1);
    return !folder.empty() && other.program.canonical.starts_with(folder + L"\\")
               ? "it names a folder, and rules lock single programs"
               : std::string();
}

std::string CheckMissingFolder(const OtherPath& other) {
    return other.path == NameOf(other.program.canonical) ? "a file name is not enough"
                                                         : std::string();
}

std::wstring StemOf(const Program& program) {
    return program.canonical.substr(0, program.canonical.rfind(L'.'));
}

std::string CheckMissingExtension(const OtherPath& other) {
    return other.path == StemOf(other.program) ? "the extension is missing" : std::string();
}

std::string CheckArguments(const OtherPath& other) {
    const std::wstring& path = other.program.canonical;
    const bool starts =
        other.path.starts_with(path + L" ") || other.path.starts_with(L'"' + path + L'"');
    return starts && !other.path.ends_with(L".exe") ? "a rule has no arguments" : std::string();
}

std::string CheckDoubleExtension(const OtherPath& other) {
    return other.path == other.program.canonical + L".exe" ? "the extension is there twice"
                                                           : std::string();
}

std::string CheckShortcut(const OtherPath& other) {
    return NameOf(other.path) == NameOf(StemOf(other.program)) + L".lnk"
               ? "it names a shortcut, not a program"
               : std::string();
}

bool IsInvalidUtf8(const OtherPath& other) {
    return other.path.find(L'\xFFFD') != std::wstring::npos;
}

std::string CheckSameName(const OtherPath& other) {
    return HasSameName(other) ? (IsInvalidUtf8(other) ? "its path is not valid UTF-8, "
                                                      : "it is for another path, ") +
                                    Shown(Utf8(other.path))
                              : std::string();
}

using Check = std::string (*)(const OtherPath&);

// Rules with such a path lock no program, so this program is meant.
constexpr Check kCertainChecks[] = {CheckPrefix,   CheckUrl,           CheckWildcards,
                                    CheckFolder,   CheckMissingFolder, CheckMissingExtension,
                                    CheckArguments};

// Rules with such a path can be meant for another program.
constexpr Check kPossibleChecks[] = {CheckVariables,       CheckSegments, CheckShortNames,
                                     CheckDoubleExtension, CheckShortcut, CheckSameName};

template <size_t count>
std::string FirstAnswer(const Check (&checks)[count], const OtherPath& other) {
    std::string answer;
    for (size_t at = 0; at < count && answer.empty(); ++at) {
        answer = checks[at](other);
    }
    return answer;
}

// Explains a rule for the path of a program whose own path cannot be written in a rule for it:
// another spelling of it is selected. Empty if the rule is unrelated.
std::string ExplainSelectedSpelling(const OtherPath& other) {
    const std::wstring& selected = other.program.canonical;
    if (other.program.storesVariable && HasSameName(other)) {
        return "it is for " + Shown(Utf8(other.path)) +
               ", but the selected path stores an environment variable, which is not expanded: "
               "right-click the program itself";
    }
    return HasPrefix(selected) && selected.substr(4) == other.path
               ? "the selected path has the prefix " + Utf8(selected.substr(0, 4)) +
                     ", which counts: select the program without it"
               : std::string();
}

// Explains the rule with the path `other`, which counts as its target or could.
std::string ExplainPath(const Rule& rule, const OtherPath& other) {
    const Program& program = other.program;
    std::string answer = ExplainSelectedSpelling(other);
    if (!answer.empty() || program.storesVariable) {
        return answer;
    }
    const std::string type = OtherType(rule);
    const std::string certain = FirstAnswer(kCertainChecks, other);
    if (!certain.empty() && !type.empty()) {
        return "rules of type " + Quoted(type) + " lock no program: " + AddRule(program.quoted);
    }
    const std::string possible =
        certain.empty() && type.empty() ? FirstAnswer(kPossibleChecks, other) : std::string();
    if (certain.empty() && possible.empty()) {
        return {};
    }
    const bool hasTarget = FirstTarget(rule).data() != nullptr;
    answer = certain + possible + (hasTarget ? ": write " : ": write \"target\": ") +
             program.quoted + (certain.empty() ? " if this program is meant" : "");
    const std::string off = ExplainSwitchedOff(rule);
    const std::string save = IsInvalidUtf8(other) ? "save the file as UTF-8" : "";
    for (const std::string& more : {save, ExplainType(rule), off.empty() ? off : "it is " + off}) {
        answer += more.empty() ? more : "; " + more;
    }
    return answer;
}

}  // namespace

std::string ExplainOtherPath(const Rule& rule, const Program& program) {
    const char* const first = FirstTarget(rule).data();
    for (const LooseField& field : rule.fields) {
        if (!IsTargetKey(field.key) || (first != nullptr && first != field.raw.data())) {
            continue;
        }
        for (const std::string& bytes :
             {kelvaro::UnescapeJsonString(field.raw), std::string(field.raw)}) {
            const std::wstring path =
                kelvaro::NormalizePath(kelvaro::WideFromBytes(CP_UTF8, 0, bytes));
            if (std::string found = ExplainPath(rule, {path, program}); !found.empty()) {
                return found;
            }
        }
    }
    return {};
}

}  // namespace rightclick
