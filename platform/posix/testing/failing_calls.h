#pragma once

#include <windef.h>

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "internal/call.h"

namespace compat {

// Makes calls of one function fail while it lives.
class FailingCall {
  public:
    // `error` is what the function reports in its own way: as the last error, or as the LSTATUS or
    // HRESULT that it returns. The first `skip` calls work, the next `times` fail, later ones work
    // again.
    FailingCall(std::string name, DWORD error, size_t skip = 0, size_t times = SIZE_MAX);

  private:
    std::optional<DWORD> OnCall(const CallStart& call);

    std::mutex mutex_;
    std::string name_;
    DWORD error_;
    size_t skip_;
    size_t times_;
    ScopedCallObserver observer_;  // declared last: it uses the members above
};

// Makes the calls with the given numbers, from 0, fail with their documented errors.
class FailingNthCall {
  public:
    explicit FailingNthCall(std::vector<size_t> numbers);

    // Returns how many calls were made.
    size_t CallsMade() const;
    // Returns the names of the calls that were made to fail.
    std::vector<std::string> Failed() const;

  private:
    std::optional<DWORD> OnCall(const CallStart& call);

    mutable std::mutex mutex_;
    std::vector<size_t> numbers_;
    size_t calls_ = 0;
    std::vector<std::string> failed_;
    ScopedCallObserver observer_;  // declared last: it uses the members above
};

}  // namespace compat
