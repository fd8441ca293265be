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

// Throws Failure unless `success`: that `action` ("write", "rename") failed on the file, directory
// or registry key `name`, the system's text for the error code of the calling thread and what the
// user can do.
void Require(bool success, const std::string& action, const std::wstring& name);

// Does the same unless `status`, the result of a call for the registry, is ERROR_SUCCESS.
void RequireStatus(LSTATUS status, const std::string& action, const std::wstring& name);

}  // namespace setup
