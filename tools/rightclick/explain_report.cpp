#include "rightclick/explain_report.h"

#include <windows.h>

#include <algorithm>
#include <ctime>
#include <nlohmann/json.hpp>

#include "common/file.h"
#include "common/owners.h"
#include "common/result.h"
#include "console/console.h"
#include "rightclick/reason.h"
#include "rightclick/result_text.h"
#include "rules/lock_lookup.h"

namespace rightclick {
namespace {

using console::Utf8;
using kelvaro::FileKind;

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

// Adds what `report` says about the rule file itself.
void DescribeRuleFile(ExplainReport& report) {
    const kelvaro::ScopedHandle file(
        CreateFileW(kelvaro::kRuleFilePath, GENERIC_READ,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    0, nullptr));
    const DWORD error = GetLastError();
    if (!file && (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)) {
        report.ruleFile = Presence::missing;
        return;
    }
    if (!file) {
        const HRESULT result = kelvaro::FailureFromWin32(error);
        const std::string words = SystemText(result);
        report.ruleFileProblem =
            words.empty() ? HexResult(result) : words + " (" + HexResult(result) + ")";
    }
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(kelvaro::kRuleFilePath, GetFileExInfoStandard, &data)) {
        return;
    }
    report.ruleFile = Presence::present;
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        report.ruleFileProblem = "it is a folder";
        return;
    }
    report.ruleFileSize = (uint64_t{data.nFileSizeHigh} << 32) | uint64_t{data.nFileSizeLow};
    report.ruleFileTime = LocalTime(data.ftLastWriteTime);
}

// Adds what the user should know about the selected file and the program.
void AddNotesOnFiles(ExplainReport& report) {
    Explanation& explanation = report.explanation;
    Options options;
    options.files = {report.file};
    if (const std::string refused = ExplainSelection(options); !refused.empty()) {
        explanation.reason.text += "; the extension offers no item, because " + refused;
    }
    const std::wstring& program = report.target.program;
    if (kelvaro::PathExists(program.c_str()) || StoresVariable(program)) {
        return;
    }
    const std::string missing = FileName(program) + " does not exist";
    if (explanation.state == LockState::notLocked) {
        explanation.reason.text += "; " + missing;
    } else {
        explanation.remarks.push_back({0, missing});
    }
}

Remark WhatTheItemMeans(const std::wstring& file, const Target& target) {
    const std::string reason = ExplainNoProgram(file, target);
    return {0, target.kind == FileKind::shortcut
                   ? reason + "; the extension offers its item as for an unlocked program"
                   : reason + "; the extension offers no item for it"};
}

std::string AsText(const Remark& remark) {
    return remark.line == 0 ? remark.text
                            : "line " + std::to_string(remark.line) + ": " + remark.text;
}

const char* Verdict(LockState state) {
    switch (state) {
        case LockState::locked:
            return " is locked: ";
        case LockState::notLocked:
            return " is not locked: ";
        case LockState::unknown:
            break;
    }
    return ": cannot tell whether it is locked: ";
}

std::string Line(const std::string& label, const std::string& text) {
    std::string line = "  " + label;
    line.resize(std::max<size_t>(line.size() + 1, 14), ' ');
    return line + Printable(text) + "\n";
}

nlohmann::ordered_json AsJson(const Remark& remark) {
    nlohmann::ordered_json json;
    if (remark.line != 0) {
        json["line"] = remark.line;
    }
    json["text"] = remark.text;
    return json;
}

}  // namespace

ExplainReport ExplainFile(const std::wstring& file) {
    ExplainReport report;
    report.file = file;
    report.target = ReadTarget(file);
    DescribeRuleFile(report);
    Explanation& explanation = report.explanation;
    const std::wstring& program = report.target.program;
    if (program.empty()) {
        explanation.reason = WhatTheItemMeans(file, report.target);
        return report;
    }
    if (report.ruleFile == Presence::missing) {
        explanation.state = LockState::notLocked;
        explanation.reason = {0, "the rule file does not exist"};
    } else if (!report.ruleFileProblem.empty()) {
        explanation.reason = {0, "the rule file cannot be read: " + report.ruleFileProblem +
                                     "; the extension shows the program as not locked"};
    } else {
        const auto rules = kelvaro::ReadFileBytes(kelvaro::kRuleFilePath);
        explanation = ExplainLock(rules.View(), program);
    }
    AddNotesOnFiles(report);
    return report;
}

int ExitStatus(LockState state) noexcept {
    switch (state) {
        case LockState::locked:
            return 0;
        case LockState::notLocked:
            return 1;
        case LockState::unknown:
            break;
    }
    return 2;
}

std::string ReportAsText(const ExplainReport& report) {
    const Explanation& explanation = report.explanation;
    const bool shortcut = report.target.kind == FileKind::shortcut;
    const std::wstring& program = report.target.program;
    std::string text = Printable(Utf8(program.empty() ? report.file : program) +
                                 Verdict(explanation.state) + AsText(explanation.reason)) +
                       "\n";
    for (const Remark& remark : explanation.remarks) {
        text +=
            Line(remark.line == 0 ? "note" : "line " + std::to_string(remark.line), remark.text);
    }
    if (shortcut) {
        text += Line("shortcut", Utf8(report.file));
        text += Line("target", report.target.stored.empty() ? "none" : Utf8(report.target.stored));
    }
    if (!explanation.canonical.empty()) {
        text += Line("compared as", Utf8(explanation.canonical));
    }
    std::string ruleFile = Utf8(kelvaro::kRuleFilePath);
    if (report.ruleFile == Presence::missing) {
        ruleFile += ", does not exist";
    } else if (!report.ruleFileTime.empty()) {
        ruleFile +=
            ", " + std::to_string(report.ruleFileSize) + " bytes, changed " + report.ruleFileTime;
    }
    return text + Line("rule file", ruleFile);
}

std::string ReportAsJson(const ExplainReport& report) {
    const Explanation& explanation = report.explanation;
    nlohmann::ordered_json json;
    json["file"] = Utf8(report.file);
    json["target"] = nullptr;
    if (!report.target.program.empty()) {
        json["target"] = Utf8(report.target.program);
    }
    json["locked"] = nullptr;
    if (explanation.state != LockState::unknown) {
        json["locked"] = explanation.state == LockState::locked;
    }
    json["reason"] = AsJson(explanation.reason);
    json["remarks"] = nlohmann::json::array();
    for (const Remark& remark : explanation.remarks) {
        json["remarks"].push_back(AsJson(remark));
    }
    json["compared"] = Utf8(explanation.canonical);
    nlohmann::ordered_json& ruleFile = json["rule_file"];
    ruleFile = {{"path", Utf8(kelvaro::kRuleFilePath)}, {"exists", nullptr}};
    if (report.ruleFile != Presence::unknown) {
        ruleFile["exists"] = report.ruleFile == Presence::present;
    }
    if (!report.ruleFileTime.empty()) {
        ruleFile["size"] = report.ruleFileSize;
        ruleFile["changed"] = report.ruleFileTime;
    }
    if (!report.ruleFileTime.empty() && explanation.state != LockState::unknown) {
        ruleFile["rules"] = explanation.rules;
    }
    return json.dump() + "\n";
}

}  // namespace rightclick
