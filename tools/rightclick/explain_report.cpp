#include "rightclick/explain_report.h"

#include <windows.h>

#include <algorithm>
#include <ctime>
#include <nlohmann/json.hpp>

#include "common/file.h"
#include "common/owners.h"
#include "common/result.h"
#include "console/console.h"
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

// Returns why the rule file cannot be opened. Empty if it can.
std::string WhyUnreadable() {
    const kelvaro::ScopedHandle file(
        CreateFileW(kelvaro::kRuleFilePath, GENERIC_READ,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    0, nullptr));
    if (file) {
        return {};
    }
    const HRESULT result = kelvaro::FailureFromWin32(GetLastError());
    return SystemText(result) + " (" + HexResult(result) + ")";
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
    return line + text + "\n";
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
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (GetFileAttributesExW(kelvaro::kRuleFilePath, GetFileExInfoStandard, &data)) {
        report.ruleFileExists = true;
        report.ruleFileSize = (uint64_t{data.nFileSizeHigh} << 32) | uint64_t{data.nFileSizeLow};
        report.ruleFileTime = LocalTime(data.ftLastWriteTime);
    }
    Explanation& explanation = report.explanation;
    if (report.target.program.empty()) {
        explanation.reason = WhatTheItemMeans(file, report.target);
        return report;
    }
    if (!report.ruleFileExists) {
        explanation.state = LockState::notLocked;
        explanation.reason = {0, "the rule file does not exist"};
        return report;
    }
    if (const std::string problem = WhyUnreadable(); !problem.empty()) {
        explanation.reason = {0, "the rule file cannot be read: " + problem +
                                     "; the extension shows the program as not locked"};
        return report;
    }
    const auto rules = kelvaro::ReadFileBytes(kelvaro::kRuleFilePath);
    explanation = ExplainLock(rules.View(), report.target.program);
    if (explanation.state == LockState::notLocked && report.target.kind == FileKind::program &&
        !kelvaro::PathExists(file.c_str())) {
        explanation.reason.text += "; " + FileName(file) + " does not exist";
    }
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
    std::string text = Utf8(program.empty() ? report.file : program) + Verdict(explanation.state) +
                       AsText(explanation.reason) + "\n";
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
    ruleFile += report.ruleFileExists ? ", " + std::to_string(report.ruleFileSize) +
                                            " bytes, changed " + report.ruleFileTime
                                      : ", does not exist";
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
    json["rule_file"] = {{"path", Utf8(kelvaro::kRuleFilePath)}, {"exists", report.ruleFileExists}};
    if (report.ruleFileExists) {
        json["rule_file"]["size"] = report.ruleFileSize;
        json["rule_file"]["changed"] = report.ruleFileTime;
        json["rule_file"]["rules"] = explanation.rules;
    }
    return json.dump() + "\n";
}

}  // namespace rightclick
