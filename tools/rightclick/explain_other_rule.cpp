#include <shlwapi.h>
#include <windows.h>

#include <algorithm>
#include <vector>

#include "common/code_page.h"
#include "console/console.h"
#include "rightclick/explain_fields.h"
#include "rightclick/explain_near_miss.h"
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

std::string CheckPrefix(const OtherPath& other) {
    const std::wstring& path = other.path;
    const bool prefixed = path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\.\\");
    return prefixed && path.substr(4) == other.program.canonical
               ? "the prefix " + Utf8(path.substr(0, 4)) + " counts: write " + other.program.quoted
               : std::string();
}

std::string CheckUrl(const OtherPath& other) {
    return other.path.starts_with(L"file:") && HasSameName(other)
               ? "a URL is not a path: write " + other.program.quoted
               : std::string();
}

std::string CheckVariables(const OtherPath& other) {
    return other.path.find(L'%') != std::wstring::npos && HasSameName(other)
               ? "environment variables are not expanded: write " + other.program.quoted
               : std::string();
}

std::string CheckSegments(const OtherPath& other) {
    const bool relative = other.path.find(L"\\..\\") != std::wstring::npos ||
                          other.path.find(L"\\.\\") != std::wstring::npos ||
                          other.path.starts_with(L".");
    return relative && HasSameName(other)
               ? "\".\" and \"..\" are not resolved: write " + other.program.quoted
               : std::string();
}

std::string CheckWildcards(const OtherPath& other) {
    return other.path.find_first_of(L"*?") != std::wstring::npos &&
                   PathMatchSpecW(other.program.canonical.c_str(), other.path.c_str())
               ? "wildcards are not supported: write " + other.program.quoted
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

// Returns whether `shortName`, such as "progra~1", can be the 8.3 name of `name`.
bool IsShortNameOf(const std::wstring& shortName, std::wstring name) {
    const size_t tilde = shortName.find(L'~');
    std::erase(name, L' ');
    return tilde != std::wstring::npos && name.starts_with(shortName.substr(0, tilde));
}

std::string CheckShortNames(const OtherPath& other) {
    const std::vector<std::wstring> parts = Split(other.path);
    const std::vector<std::wstring> names = Split(other.program.canonical);
    const bool same = std::equal(parts.begin(), parts.end(), names.begin(), names.end(),
                                 [](const std::wstring& part, const std::wstring& name) {
                                     return part == name || IsShortNameOf(part, name);
                                 });
    return same ? "short names are not expanded: write " + other.program.quoted : std::string();
}

std::string CheckFolder(const OtherPath& other) {
    std::wstring folder = other.path;
    folder.erase(folder.find_last_not_of(L'\\') + 1);
    return !folder.empty() && other.program.canonical.starts_with(folder + L"\\")
               ? "it names a folder, and rules lock single programs: write " + other.program.quoted
               : std::string();
}

std::string CheckMissingFolder(const OtherPath& other) {
    return other.path == NameOf(other.program.canonical)
               ? "a file name is not enough: write " + other.program.quoted
               : std::string();
}

std::string CheckExtension(const OtherPath& other) {
    const std::wstring& path = other.program.canonical;
    const std::wstring stem = path.substr(0, path.rfind(L'.'));
    if (other.path == stem) {
        return "the extension is missing: write " + other.program.quoted;
    }
    if (other.path == path + L".exe") {
        return "the extension is there twice: write " + other.program.quoted;
    }
    const std::wstring name = NameOf(stem);
    return NameOf(other.path) == name + L".lnk"
               ? "it names a shortcut: write the path of the program, " + other.program.quoted
               : std::string();
}

std::string CheckArguments(const OtherPath& other) {
    const std::wstring& path = other.program.canonical;
    return other.path.starts_with(path + L" ") || other.path.starts_with(L'"' + path + L'"')
               ? "a rule has no arguments: write " + other.program.quoted
               : std::string();
}

std::string CheckSameName(const OtherPath& other) {
    return HasSameName(other) ? "it is for another path, " + Utf8(other.path) + ": write " +
                                    other.program.quoted + " if this program is meant"
                              : std::string();
}

using Check = std::string (*)(const OtherPath&);

constexpr Check kChecks[] = {
    CheckPrefix,    CheckUrl,        CheckVariables, CheckSegments,
    CheckWildcards, CheckShortNames, CheckFolder,    CheckMissingFolder,
    CheckExtension, CheckArguments,  CheckSameName,
};

bool IsWord(const LooseField& field, std::string_view word) {
    return LowerCase(field.raw) == word;
}

// Explains a field that looks as if it switched the rule off. Empty if it does not.
std::string CheckSwitch(const LooseField& field) {
    constexpr char kWrite[] = ": write \"enabled\": false";
    const std::string key = LowerCase(field.key);
    if (key == "enabled" && field.key == key) {
        return field.raw == "true" ? std::string()
                                   : "\"enabled\" has the value " + field.raw +
                                         ", which does not switch a rule off" + kWrite;
    }
    if (key == "enabled" && !IsWord(field, "true")) {
        return "keys are case-sensitive, so \"" + field.key + "\" has no effect" + kWrite;
    }
    const bool disabled = (key == "disabled" && IsWord(field, "true")) ||
                          ((key == "active" || key == "locked") && IsWord(field, "false"));
    return disabled ? "the key \"" + field.key + "\" has no effect" + kWrite : std::string();
}

bool IsInComment(std::string_view before) {
    const size_t opened = before.rfind("/*");
    const size_t closed = before.rfind("*/");
    if (opened != std::string_view::npos && (closed == std::string_view::npos || closed < opened)) {
        return true;
    }
    const std::string_view line = before.substr(before.rfind('\n') + 1);
    const size_t first = line.find_first_not_of(" \t");
    return first != std::string_view::npos &&
           (line.substr(first).starts_with("//") || line[first] == '#');
}

}  // namespace

std::string ExplainOtherPath(std::string_view object, const Program& program) {
    for (const LooseField& field : ReadLooseFields(object)) {
        if (!IsTargetKey(field.key)) {
            continue;
        }
        for (const std::string& bytes : {kelvaro::UnescapeJsonString(field.raw), field.raw}) {
            const std::wstring path =
                kelvaro::NormalizePath(kelvaro::WideFromBytes(CP_UTF8, 0, bytes));
            for (const Check check : kChecks) {
                if (std::string found = check({path, program}); !found.empty()) {
                    return found;
                }
            }
        }
    }
    return {};
}

std::string ExplainUnexpectedLock(std::string_view object, std::string_view before) {
    if (IsInComment(before)) {
        return "it is in a comment, and comments are not skipped: delete it";
    }
    for (const LooseField& field : ReadLooseFields(object)) {
        if (std::string found = CheckSwitch(field); !found.empty()) {
            return found;
        }
    }
    return {};
}

}  // namespace rightclick
