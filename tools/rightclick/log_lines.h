#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace rightclick {

// Returns the size of the log in bytes. 0 if it cannot be read.
size_t LogSize();

// Returns the lines of the log from the byte `begin` on, written by any process, as UTF-8 without
// line ends. If the log is shorter, it is a new one: returns all its lines.
std::vector<std::string> LogLinesFrom(size_t begin);

// Returns why the log cannot be written. Empty if it can. Does not create it.
std::string ExplainUnwritableLog();

// Whether the prompt started when the item was chosen.
struct PromptResult {
    const char* state;  // "started", "not found", "not started" or "unknown"
    std::string words;
};

// Returns the result that the extension has written to `lines`, lines of the log.
PromptResult ReadPromptResult(const std::vector<std::string>& lines);

}  // namespace rightclick
