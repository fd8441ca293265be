#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace rightclick {

// Reads the rule file and explains whether it locks `file`, or the program of the shortcut `file`.
// Returns the JSON object of --explain. The calling thread must have initialised COM.
nlohmann::ordered_json ExplainFile(const std::wstring& file);

// Returns the exit status of --explain: 0 if the program is locked, 1 if not, 2 if there is no
// program.
int ExitStatus(const nlohmann::ordered_json& explanation);

// Returns the object as lines of text. The first line has the verdict.
std::string ReportAsText(const nlohmann::ordered_json& explanation);

}  // namespace rightclick
