#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace rightclick {

// Reads the lines that any process adds to the log from the construction of an object on.
class LogReader {
  public:
    LogReader();

    // Returns the lines as UTF-8, without line ends.
    std::vector<std::string> NewLines() const;

  private:
    uint64_t begin_;
};

// Returns why the log cannot be written. Empty if it can. Does not create it.
std::string ExplainUnwritableLog();

// What became of the prompt when the item was chosen.
struct PromptResult {
    const char* state;  // "started", "not found", "not started" or "unknown"
    std::string words;
};

// Returns the result that the extension has written to `lines`, lines of the log.
PromptResult ReadPromptResult(const std::vector<std::string>& lines);

}  // namespace rightclick
