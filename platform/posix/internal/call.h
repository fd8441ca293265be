#pragma once

#include <windef.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "internal/argument_text.h"

namespace compat {

// A platform call that begins.
struct CallStart {
    const char* name;
    std::optional<DWORD> error;  // the documented error that it can report, if it can fail
    std::string arguments;       // those that matter, as text
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

// The scope of one platform call. Every function of the compatibility layer begins with one, except
// the last error and the C runtime's comparisons. A call inside another one, such as the allocation
// that StringFromCLSID makes, is part of that and not announced to observers.
class Call {
  public:
    // A call that can fail with `error`, a system error code or an HRESULT. Each "{}" in `format`
    // is replaced by the text of an argument.
    template <class... Arguments>
    Call(const char* name, LONG error, std::string_view format = {},
         const Arguments&... arguments) noexcept {
        if (Enter()) {
            Announce(
                {name, static_cast<DWORD>(error), FillIn(format, {ArgumentText(arguments)...})});
        }
    }

    // A call that cannot fail, or whose failure nobody could handle.
    template <class... Arguments>
    explicit Call(const char* name, std::string_view format = {},
                  const Arguments&... arguments) noexcept {
        if (Enter()) {
            Announce({name, std::nullopt, FillIn(format, {ArgumentText(arguments)...})});
        }
    }
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // Returns true if a test injects a failure into this call. Error() is the code to report; it is
    // already the last error.
    bool Fails() const noexcept { return error_.has_value(); }
    DWORD Error() const noexcept { return error_.value_or(0); }

    // True while the current thread is inside a platform call. Memory that is allocated then is the
    // platform's, not the caller's.
    static bool IsInside() noexcept;

  private:
    // Increments the call depth. Returns true if this is an outermost call and has observers.
    static bool Enter() noexcept;
    void Announce(const CallStart& start) noexcept;

    std::optional<DWORD> error_;
};

}  // namespace compat
