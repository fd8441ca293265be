#pragma once

#include <windef.h>

#include <functional>
#include <optional>

namespace compat {

// A platform call that begins. `error` is the documented error that it can report, std::nullopt if
// it cannot fail.
struct CallStart {
    const char* name;
    std::optional<DWORD> error;
};

// Sees each platform call of the process before it does anything. Returns the error that the call
// has to fail with, or std::nullopt to let it go on.
using CallObserver = std::function<std::optional<DWORD>(const CallStart&)>;

// Keeps an observer registered while it lives.
class ScopedCallObserver {
  public:
    explicit ScopedCallObserver(CallObserver observer);
    ~ScopedCallObserver();
    ScopedCallObserver(const ScopedCallObserver&) = delete;
    ScopedCallObserver& operator=(const ScopedCallObserver&) = delete;

  private:
    CallObserver observer_;
};

// The scope of one platform call. Every function of the compatibility layer begins with one, except
// the last error and the C runtime's comparisons. A call inside another one, such as the allocation
// that StringFromCLSID makes, is part of that and not announced to observers.
class Call {
  public:
    // A call that cannot fail, or whose failure nobody could handle.
    explicit Call(const char* name) noexcept { Begin({name, std::nullopt}); }

    // A call that can fail with `documented`, a system error code or an HRESULT.
    template <class Error>
    Call(const char* name, Error documented) noexcept {
        Begin({name, static_cast<DWORD>(documented)});
    }
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // True if a test makes this call fail. Error is what it has to report then; the last error is
    // set to it already.
    bool Fails() const noexcept { return error_.has_value(); }
    DWORD Error() const noexcept { return error_.value_or(0); }

    // True while the current thread is inside a platform call. Memory that is allocated then is the
    // platform's, not the caller's.
    static bool IsInside() noexcept;

  private:
    void Begin(const CallStart& start) noexcept;

    std::optional<DWORD> error_;
};

}  // namespace compat
