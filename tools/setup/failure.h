#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace setup {

// An error that ends the run. what() is the message for the user, in UTF-8.
class Failure : public std::runtime_error {
  public:
    explicit Failure(const std::string& message, bool restored = true)
        : runtime_error(message), restored_(restored) {}

    // Returns whether everything is as it was before the run.
    bool IsRestored() const noexcept { return restored_; }

  private:
    bool restored_;
};

// Returns `text` as UTF-8 in double quotes, with control characters made visible.
std::string Quoted(const std::wstring& text);

// Returns the failure of `action` ("write", "rename") on the file, directory or registry key `name`
// with the system error code `error`: the system's text and what the user can do.
Failure SystemFailure(const std::string& action, const std::wstring& name, DWORD error);

// Throws SystemFailure with the error code of the calling thread unless `success`.
void Require(bool success, const std::string& action, const std::wstring& name);

}  // namespace setup
