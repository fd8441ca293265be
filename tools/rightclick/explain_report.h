#pragma once

#include <cstdint>
#include <string>

#include "rightclick/explain.h"
#include "rightclick/target.h"

namespace rightclick {

enum class Presence { unknown, missing, present };

// The answer of --explain.
struct ExplainReport {
    std::wstring file;
    Target target;
    Presence ruleFile = Presence::unknown;
    uint64_t ruleFileSize = 0;
    std::string ruleFileTime;  // the local time of the last change; empty for a folder
    Explanation explanation;   // without a verdict if `file` leads to no program
    std::vector<std::string> notes;
};

// Reads the rule file and explains whether it locks `file`, or the program of the shortcut `file`.
// The calling thread must have initialised COM.
ExplainReport ExplainFile(const std::wstring& file);

// Returns the exit status of --explain: 0 if the program is locked, 1 if not, 2 if there is no
// program.
int ExitStatus(const ExplainReport& report) noexcept;

// Returns the report as lines of text. The first line has the verdict.
std::string ReportAsText(const ExplainReport& report);

// Returns the report as one JSON object on one line.
std::string ReportAsJson(const ExplainReport& report);

}  // namespace rightclick
