#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "internal/call.h"

namespace compat {

// Counts the platform calls of the process by their names while it lives, including those that a
// test makes fail.
class CountedCalls {
  public:
    // Returns how often each function has been called since the last Take. Functions that were not
    // called are missing.
    std::map<std::string, size_t> Take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(counts_, {});
    }

  private:
    std::mutex mutex_;
    std::map<std::string, size_t> counts_;
    ScopedCallObserver observer_{[this](const CallStart& call) -> std::optional<DWORD> {
        const std::lock_guard lock(mutex_);
        ++counts_[call.name];
        return std::nullopt;
    }};  // declared last: it uses the members above
};

}  // namespace compat
