#pragma once

#include <windef.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace compat {

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

// Every call of the layer that can fail or allocates begins with one of these, and is inside of the
// layer while it lives.
class Call {
  public:
    Call() noexcept;
    // `documented` is what the call reports when it fails: a system error code, an HRESULT.
    template <class Error>
    Call(const char* name, Error documented) noexcept
        : Call(name, static_cast<DWORD>(documented), 0) {}
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // Whether the call is to fail now; Error is what it reports, which is the last error as well.
    bool Fails() const noexcept { return error_.has_value(); }
    DWORD Error() const noexcept { return error_.value_or(0); }

    // Whether the calling thread is inside of the layer, whose memory is not the library's affair.
    static bool IsInside() noexcept;

  private:
    Call(const char* name, DWORD documented, int tag) noexcept;

    std::optional<DWORD> error_;
};

}  // namespace compat
