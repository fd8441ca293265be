#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <string>

// Counts the platform calls that a loaded library makes: opening files, testing whether they exist,
// opening and creating registry keys, deleting registry trees, loading modules, starting processes.
class CallCounter {
  public:
    explicit CallCounter(HMODULE library);
    ~CallCounter();
    CallCounter(const CallCounter&) = delete;
    CallCounter& operator=(const CallCounter&) = delete;

    // Returns the number of calls of each function since the last call of Take. Functions that were
    // not called are missing.
    std::map<std::string, size_t> Take();

  private:
    struct Hooks;
    std::unique_ptr<Hooks> hooks_;
};
