#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace console {

// Makes the console show UTF-8 and colours. Restores its state at the end of its scope. Does
// nothing without a console.
class Session {
  public:
    Session();
    ~Session();  // NOLINT(performance-trivially-destructible): not trivial on Windows
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Returns whether the standard output is a console that shows colours.
    bool HasColours() const { return hasColours_; }

  private:
    bool hasColours_ = false;
};

// Returns the arguments of this program. The first is its name.
std::vector<std::wstring> Arguments();

// Writes `text` to `stream` and flushes it.
void Print(std::FILE* stream, std::string_view text);

}  // namespace console
