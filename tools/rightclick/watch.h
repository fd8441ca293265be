#pragma once

#include <string>
#include <vector>

namespace rightclick {

// Returns the content of the log. Empty if it cannot be read.
std::string ReadLog();

// Returns the lines of `log` from the byte `begin` on, as UTF-8.
std::vector<std::string> LinesAfter(const std::string& log, size_t begin);

// Follows the log, from its end at the time of construction.
class LogFollower {
  public:
    LogFollower() : known_(ReadLog()) {}

    // Returns the complete lines that were added since the last call. If the log was replaced,
    // these are all lines of the new one.
    std::vector<std::string> Poll();

  private:
    std::string known_;  // the content up to the last returned line
};

// Catches Ctrl+C, which ends the program otherwise, while an object lives.
class InterruptCatcher {
  public:
    InterruptCatcher();
    ~InterruptCatcher();
    InterruptCatcher(const InterruptCatcher&) = delete;
    InterruptCatcher& operator=(const InterruptCatcher&) = delete;

    // Returns whether Ctrl+C was pressed since the construction.
    static bool IsInterrupted();

  private:
    void (*previous_)(int);
};

// Prints new lines of the log to the standard output until Ctrl+C is pressed or the output fails.
void WatchLog();

}  // namespace rightclick
