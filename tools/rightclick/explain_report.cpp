#include "rightclick/explain_report.h"

#include <windows.h>

#include <algorithm>
#include <ctime>

#include "common/code_page.h"
#include "common/file.h"
#include "rightclick/explain.h"
#include "rightclick/result_text.h"
#include "rightclick/target.h"
#include "rules/lock_lookup.h"

namespace rightclick {
namespace {

using Json = nlohmann::ordered_json;
using kelvaro::Utf8FromWide;

std::string LocalTime(const FILETIME& fileTime) {
    // File times count units of 100 ns from 1601 on, the C library seconds from 1970 on.
    constexpr uint64_t kUnitsPerSecond = 10'000'000;
    constexpr uint64_t kSecondsTo1970 = 11'644'473'600;
    const uint64_t units =
        (uint64_t{fileTime.dwHighDateTime} << 32) | uint64_t{fileTime.dwLowDateTime};
    const auto seconds = static_cast<std::time_t>(units / kUnitsPerSecond - kSecondsTo1970);
    const std::tm* const local = std::localtime(&seconds);
    char text[64] = {};
    if (local == nullptr || std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", local) == 0) {
        return {};
    }
    return text;
}

// Returns why the rule file cannot be read. Empty if it can. Stores what is known about the file in
// `json`.
std::string ExamineRuleFile(Json& json) {
    json = {{"path", Utf8FromWide(kelvaro::kRuleFilePath)}, {"exists", nullptr}};
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (GetFileAttributesExW(kelvaro::kRuleFilePath, GetFileExInfoStandard, &data)) {
        json["exists"] = true;
        if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            return "the rule file cannot be read: it is a folder";
        }
        json["size"] = (uint64_t{data.nFileSizeHigh} << 32) | uint64_t{data.nFileSizeLow};
        json["changed"] = LocalTime(data.ftLastWriteTime);
    }
    const auto error = OpenError(kelvaro::kRuleFilePath, GENERIC_READ);
    if (!error) {
        return {};
    }
    if (*error == ERROR_FILE_NOT_FOUND) {
        json["exists"] = false;
        return "the rule file does not exist";
    }
    return "the rule file cannot be read: " + DescribeError(*error);
}

// Returns `text` with at least `width` characters and a blank.
std::string Padded(std::string text, size_t width) {
    text.resize(std::max(text.size(), width) + 1, ' ');
    return text;
}

std::string Line(const std::string& label, const Json& text) {
    return "  " + Padded(label, 11) + Printable(text.get<std::string>()) + "\n";
}

// Returns `text` for people, cut at twice the length of the longest path that can have an item.
std::string Shown(const Json& text) {
    constexpr size_t kLongest = size_t{2} * MAX_PATH;
    const std::wstring wide = kelvaro::WideFromBytes(CP_UTF8, 0, text.get<std::string>());
    return wide.empty()
               ? "(empty)"
               : Printable(wide.substr(0, kLongest)) + (wide.size() > kLongest ? "..." : "");
}

// Returns the lines about one rule: its text, what is read from it, and what is wanted where that
// differs.
std::string RuleText(const Json& rule, const Json& canonicalPath) {
    std::string lines;
    const auto add = [&](const char* name, const std::string& shown) {
        const std::string label = lines.empty() ? "line " + rule["line"].dump() : "";
        lines += "  " + Padded(label, 9) + Padded(name, 8) + shown + "\n";
    };
    const auto compare = [&](const char* name, const Json& value, const Json& wanted) {
        add(name, value.is_null() ? "(none)" : Shown(value));
        if (value != wanted) {
            add("wanted", Shown(wanted));
        }
    };
    add("text", Shown(rule["text"]));
    if (rule.contains("ignored")) {
        add("ignored", rule["ignored"]);
        return lines;
    }
    compare("type", rule["type"], "exe");
    add("enabled",
        rule["enabled"].is_null() ? "(none), which counts as true" : rule["enabled"].dump());
    if (rule["enabled"] == false) {
        add("wanted", "true");
    }
    compare("target", rule["target"], canonicalPath);
    return lines;
}

// Returns what the user should know about the selected file and its program.
std::vector<std::string> Notes(const std::wstring& file, const std::wstring& program) {
    std::vector<std::string> notes = NotesOnFiles({file});
    if (const std::string rejected = ExplainSelection({file}); !rejected.empty()) {
        notes.push_back("there is no item: " + rejected);
    }
    if (const std::string absence = ExplainAbsence(program); program != file && !absence.empty()) {
        notes.push_back(FileName(program) + " " + absence);
    }
    return notes;
}

}  // namespace

Json ExplainFile(const std::wstring& file) {
    const Target target = ReadTarget(file);
    Json ruleFile;
    const std::string problem = ExamineRuleFile(ruleFile);
    Json json = {{"file", Utf8FromWide(file)}, {"target", nullptr}, {"locked", nullptr}};
    if (target.kind == kelvaro::FileKind::shortcut) {
        json["stored_target"] = Utf8FromWide(target.stored);
    }
    json["notes"] = Json::array();
    json["rule_file"] = ruleFile;
    if (target.program.empty()) {
        json["verdict"] = "leads to no program: " + ExplainNoProgram(file, target);
        return json;
    }
    json["target"] = Utf8FromWide(target.program);
    json["notes"] = Notes(file, target.program);
    kelvaro::FileBytes rules;
    if (problem.empty()) {
        rules = kelvaro::ReadFileBytes(kelvaro::kRuleFilePath);
    }
    json.update(ExplainLock(rules.View(), target.program));
    if (!problem.empty()) {
        json["verdict"] = "is not locked: " + problem;
    }
    return json;
}

int ExitStatus(const Json& explanation) {
    constexpr int kNoProgram = 2;
    const Json& locked = explanation["locked"];
    return locked.is_null() ? kNoProgram : locked == true ? 0 : 1;
}

std::string ReportAsText(const Json& explanation) {
    const Json& path = explanation[explanation["target"].is_null() ? "file" : "target"];
    std::string text =
        Printable(path.get<std::string>() + " " + explanation["verdict"].get<std::string>()) + "\n";
    for (const Json& rule : explanation.value("similar", Json::array())) {
        text += RuleText(rule, explanation["compared"]);
    }
    if (const size_t notShown = explanation.value("not_shown", size_t{0}); notShown > 0) {
        text += Line("not shown", std::to_string(notShown) + " more with this file name");
    }
    for (const Json& note : explanation["notes"]) {
        text += Line("note", note);
    }
    if (explanation.contains("stored_target")) {
        const std::string stored = explanation["stored_target"];
        text += Line("shortcut", explanation["file"]);
        text += Line("target", stored.empty() ? "none" : stored);
    }
    if (explanation.contains("compared")) {
        text += Line("compared as", explanation["compared"]);
    }
    const Json& file = explanation["rule_file"];
    std::string ruleFile = file["path"];
    if (file.contains("size")) {
        ruleFile +=
            ", " + file["size"].dump() + " bytes, changed " + file["changed"].get<std::string>();
    } else if (file["exists"] == false) {
        ruleFile += ", does not exist";
    }
    return text + Line("rule file", ruleFile);
}

}  // namespace rightclick
