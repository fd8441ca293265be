#include "rightclick/explain_report.h"

#include <windows.h>

#include <algorithm>
#include <ctime>
#include <nlohmann/json.hpp>

#include "common/code_page.h"
#include "common/file.h"
#include "common/owners.h"
#include "common/result.h"
#include "rightclick/reason.h"
#include "rightclick/result_text.h"
#include "rules/lock_lookup.h"

namespace rightclick {
namespace {

using kelvaro::FileKind;
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

// Adds what is known about the rule file itself. Returns why it cannot be read; empty if it can.
std::string ExamineRuleFile(ExplainReport& report) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (GetFileAttributesExW(kelvaro::kRuleFilePath, GetFileExInfoStandard, &data)) {
        report.ruleFile = Presence::present;
        if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            return "the rule file cannot be read: it is a folder";
        }
        report.ruleFileSize = (uint64_t{data.nFileSizeHigh} << 32) | uint64_t{data.nFileSizeLow};
        report.ruleFileTime = LocalTime(data.ftLastWriteTime);
    }
    const kelvaro::ScopedHandle file(
        CreateFileW(kelvaro::kRuleFilePath, GENERIC_READ,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    0, nullptr));
    const DWORD error = GetLastError();
    if (file) {
        return {};
    }
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
        report.ruleFile = Presence::missing;
        return "the rule file does not exist";
    }
    return "the rule file cannot be read: " + DescribeError(error);
}

// Returns the index of the first unit in which the texts differ, npos if they are equal.
size_t FirstDifference(std::wstring_view left, std::wstring_view right) noexcept {
    const auto [at, other] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    return at == left.end() && other == right.end() ? std::wstring_view::npos
                                                    : static_cast<size_t>(at - left.begin());
}

// Returns `text` with at least `width` characters and a blank.
std::string Padded(std::string text, size_t width) {
    text.resize(std::max(text.size(), width) + 1, ' ');
    return text;
}

std::string Line(const std::string& label, const std::string& text) {
    return "  " + Padded(label, 11) + text + "\n";
}

// Returns the part of a long text around the index `at`, for people.
std::string Excerpt(std::wstring_view text, size_t at) {
    constexpr size_t kLongest = 90;
    constexpr size_t kBefore = 40;
    const size_t begin = at > kLongest - kBefore ? at - kBefore : 0;
    const bool cut = begin + kLongest < text.size();
    return (begin > 0 ? "..." : "") + Printable(text.substr(begin, kLongest)) + (cut ? "..." : "");
}

// Formats the lines about one rule: what is read from it, and what is wanted where that differs.
class RuleText {
  public:
    RuleText(const SimilarRule& rule, std::wstring_view canonicalPath)
        : rule_(rule), label_("line " + std::to_string(rule.line)) {
        if (!rule.ignored.empty()) {
            Add("ignored", rule.ignored);
            return;
        }
        AddString("type", rule.type, L"exe");
        AddEnabled();
        AddString("target", rule.target, canonicalPath);
    }

    const std::string& Text() const { return text_; }

  private:
    void Add(const char* name, const std::string& text) {
        text_ += "  " + Padded(label_, 9) + Padded(name, 8) + text + "\n";
        label_.clear();
    }

    // Adds a value and, if it is not what is wanted, that value with a mark below the first
    // difference.
    void AddValue(const char* name, std::wstring_view value, std::wstring_view wanted,
                  const std::string& remark) {
        const size_t at = FirstDifference(value, wanted);
        if (at == std::wstring_view::npos) {
            Add(name, Excerpt(value, 0) + remark);
            return;
        }
        Add(name, (value.empty() ? "(empty)" : Excerpt(value, at)) + remark);
        Add("wanted", Excerpt(wanted, at));
        // The bar keeps a blank before it from being shown as one at the end.
        const std::wstring before = std::wstring(value.substr(0, at)) + L'|';
        Add("", std::string(Columns(Excerpt(before, at)) - 1, ' ') + '^');
    }

    void AddString(const char* name, const std::optional<std::wstring>& value,
                   std::wstring_view wanted) {
        const std::string key = std::string("\"") + name + "\"";
        const auto count = std::count(rule_.keys.begin(), rule_.keys.end(),
                                      kelvaro::WideFromBytes(CP_UTF8, 0, name));
        if (value) {
            AddValue(name, *value, wanted,
                     count > 1 ? "  (only the first " + key + " is used)" : "");
            return;
        }
        Add(name,
            count > 0 ? "(no value in double quotes)" : "no " + key + "; it has " + ListKeys());
        Add("wanted", Excerpt(wanted, 0));
    }

    void AddEnabled() {
        const auto count = std::count(rule_.keys.begin(), rule_.keys.end(), L"enabled");
        const char* remark = count > 1 ? "  (only the first true or false is used)" : "";
        if (rule_.enabledByDefault) {
            remark = count > 0 ? "  (its value is neither true nor false)" : "  (no \"enabled\")";
        }
        AddValue("enabled", rule_.enabled ? L"true" : L"false", L"true", remark);
    }

    std::string ListKeys() const {
        std::string list;
        for (const std::wstring& key : rule_.keys) {
            list += (list.empty() ? "\"" : ", \"") + Excerpt(key, 0) + "\"";
        }
        return list.empty() ? "no key in double quotes" : list;
    }

    const SimilarRule& rule_;
    std::string label_;
    std::string text_;
};

std::string DescribeRuleFile(const ExplainReport& report) {
    const std::string path = Utf8FromWide(kelvaro::kRuleFilePath);
    if (report.ruleFile == Presence::missing) {
        return path + ", does not exist";
    }
    return report.ruleFileTime.empty() ? path
                                       : path + ", " + std::to_string(report.ruleFileSize) +
                                             " bytes, changed " + report.ruleFileTime;
}

nlohmann::ordered_json TextOrNull(const std::optional<std::wstring>& text) {
    return text ? nlohmann::ordered_json(Utf8FromWide(*text)) : nullptr;
}

nlohmann::ordered_json AsJson(const SimilarRule& rule, std::wstring_view canonicalPath) {
    nlohmann::ordered_json json = {{"line", rule.line}, {"locks", rule.locks}};
    if (!rule.ignored.empty()) {
        json["ignored"] = rule.ignored;
        return json;
    }
    json["type"] = TextOrNull(rule.type);
    json["enabled"] = rule.enabled;
    json["target"] = TextOrNull(rule.target);
    const size_t at = FirstDifference(rule.target.value_or(L""), canonicalPath);
    if (rule.target && at != std::wstring_view::npos) {
        json["difference"] = at;
    }
    json["keys"] = nlohmann::json::array();
    for (const std::wstring& key : rule.keys) {
        json["keys"].push_back(Utf8FromWide(key));
    }
    return json;
}

}  // namespace

ExplainReport ExplainFile(const std::wstring& file) {
    ExplainReport report;
    report.file = file;
    report.target = ReadTarget(file);
    const std::string problem = ExamineRuleFile(report);
    const std::wstring& program = report.target.program;
    if (program.empty()) {
        report.explanation.verdict =
            "leads to no program: " + ExplainNoProgram(file, report.target);
        return report;
    }
    if (problem.empty()) {
        const auto rules = kelvaro::ReadFileBytes(kelvaro::kRuleFilePath);
        report.explanation = ExplainLock(rules.View(), program);
    } else {
        report.explanation = ExplainLock({}, program);
        report.explanation.verdict = "is not locked: " + problem;
    }
    report.notes = NotesOnFiles({file});
    if (const std::string rejected = ExplainSelection({file}); !rejected.empty()) {
        report.notes.push_back("there is no item: " + rejected);
    }
    if (StoresVariable(program)) {
        report.notes.emplace_back("environment variables in the path are not expanded");
    } else if (const std::string missing = ExplainAbsence(program);
               !missing.empty() && program != file) {
        report.notes.push_back(FileName(program) + " " + missing);
    }
    return report;
}

int ExitStatus(const ExplainReport& report) noexcept {
    constexpr int kNoProgram = 2;
    if (report.target.program.empty()) {
        return kNoProgram;
    }
    return report.explanation.locked ? 0 : 1;
}

std::string ReportAsText(const ExplainReport& report) {
    const Explanation& explanation = report.explanation;
    const std::wstring& program = report.target.program;
    std::string text = Printable(program.empty() ? report.file : program) + " " +
                       Printable(explanation.verdict) + "\n";
    for (const SimilarRule& rule : explanation.similar) {
        text += RuleText(rule, explanation.canonical).Text();
    }
    if (explanation.notShown > 0) {
        text +=
            Line("not shown", std::to_string(explanation.notShown) + " more with this file name");
    }
    for (const std::string& note : report.notes) {
        text += Line("note", Printable(note));
    }
    if (report.target.kind == FileKind::shortcut) {
        const std::wstring& stored = report.target.stored;
        text += Line("shortcut", Printable(report.file));
        text += Line("target", stored.empty() ? "none" : Printable(stored));
    }
    if (!explanation.canonical.empty()) {
        text += Line("compared as", Printable(explanation.canonical));
    }
    return text + Line("rule file", DescribeRuleFile(report));
}

std::string ReportAsJson(const ExplainReport& report) {
    const Explanation& explanation = report.explanation;
    const std::wstring& program = report.target.program;
    nlohmann::ordered_json json = {{"file", Utf8FromWide(report.file)}, {"target", nullptr}};
    json["locked"] = nullptr;
    if (!program.empty()) {
        json["target"] = Utf8FromWide(program);
        json["locked"] = explanation.locked;
    }
    json["verdict"] = explanation.verdict;
    if (explanation.line != 0) {
        json["line"] = explanation.line;
    }
    json["similar"] = nlohmann::json::array();
    for (const SimilarRule& rule : explanation.similar) {
        json["similar"].push_back(AsJson(rule, explanation.canonical));
    }
    json["not_shown"] = explanation.notShown;
    json["notes"] = report.notes;
    json["compared"] = Utf8FromWide(explanation.canonical);
    nlohmann::ordered_json& ruleFile = json["rule_file"];
    ruleFile = {{"path", Utf8FromWide(kelvaro::kRuleFilePath)}, {"exists", nullptr}};
    if (report.ruleFile != Presence::unknown) {
        ruleFile["exists"] = report.ruleFile == Presence::present;
    }
    if (!report.ruleFileTime.empty()) {
        ruleFile["size"] = report.ruleFileSize;
        ruleFile["changed"] = report.ruleFileTime;
        ruleFile["rules"] = explanation.rules;
    }
    return json.dump() + "\n";
}

}  // namespace rightclick
