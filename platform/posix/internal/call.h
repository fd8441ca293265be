#pragma once

#include <windef.h>

#include <functional>
#include <optional>

namespace compat {

// A platform call that begins.
struct CallStart {
    const char* name;  // a method has its interface's name in front
    DWORD error;       // the documented error that it can report
};

// Called at the start of each platform call of the process. Returns the error that the call has to
// fail with, or std::nullopt to let it continue.
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

// The scope of one platform call. Every function whose failure the library can notice begins with
// one. A call inside another one, such as the query for an interface that CoCreateInstance
// makes, is part of that and not announced to observers.
class Call {
  public:
    // `error` is the system error code or HRESULT with which a test can make the call fail.
    Call(const char* name, LONG error) noexcept;
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // Returns true if a test injects a failure into this call. Result() is the code to report; it
    // is already the last error.
    bool Fails() const noexcept { return error_.has_value(); }
    LONG Result() const noexcept { return static_cast<LONG>(error_.value_or(0)); }

    // True while the current thread is inside a platform call. Memory that is allocated then is the
    // platform's, not the caller's.
    static bool IsInside() noexcept;

  private:
    std::optional<DWORD> error_;
};

}  // namespace compat
