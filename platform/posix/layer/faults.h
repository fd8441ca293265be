#pragma once

#include <windef.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace layer {

// Makes every call of one function fail while the object lives, or only some of them. One at a
// time.
class FailingCall {
  public:
    // `error` is what the function reports: a system error code or an HRESULT, as it is its habit.
    // The first `skip` calls still work, and so do those behind the next `times`.
    FailingCall(std::string_view name, DWORD error, size_t skip = 0, size_t times = SIZE_MAX);
    ~FailingCall();
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;
};

// Makes chosen calls of this process fail with the error that is documented for them, counted from
// the object's birth on (0 is the first call of any function that can fail).
class FailingNthCall {
  public:
    explicit FailingNthCall(std::vector<size_t> indexes);
    ~FailingNthCall();
    FailingNthCall(const FailingNthCall&) = delete;
    FailingNthCall& operator=(const FailingNthCall&) = delete;

    // How many calls that can fail were made since the object's birth.
    size_t CallsMade() const;
    // How many of them were calls of `name`.
    size_t CallsOf(const std::string& name) const;
    // The names of the calls that were made to fail.
    std::vector<std::string> Failed() const;
};

// Every call that can fail begins with this: the error to report now, nothing when it may go on.
// `documented` is what the call reports when it fails.
std::optional<DWORD> InjectedError(const char* call, DWORD documented) noexcept;

// For calls that report through the last error: sets it and answers true when the call is to fail.
bool FailsOnPurpose(const char* call, DWORD documented) noexcept;

}  // namespace layer
