#include "testing/failing_calls.h"

#include <algorithm>

namespace compat {

FailingCall::FailingCall(std::string name, DWORD error, size_t skip, size_t times)
    : name_(std::move(name)),
      error_(error),
      skip_(skip),
      times_(times),
      observer_([this](const CallStart& call) { return OnCall(call); }) {}

std::optional<DWORD> FailingCall::OnCall(const CallStart& call) {
    const std::lock_guard lock(mutex_);
    if (call.name != name_) {
        return std::nullopt;
    }
    if (skip_ > 0) {
        --skip_;
        return std::nullopt;
    }
    if (times_ == 0) {
        return std::nullopt;
    }
    --times_;
    return error_;
}

FailingNthCall::FailingNthCall(std::vector<size_t> numbers)
    : numbers_(std::move(numbers)),
      observer_([this](const CallStart& call) { return OnCall(call); }) {}

std::optional<DWORD> FailingNthCall::OnCall(const CallStart& call) {
    const std::lock_guard lock(mutex_);
    const size_t number = calls_++;
    if (std::find(numbers_.begin(), numbers_.end(), number) == numbers_.end()) {
        return std::nullopt;
    }
    failed_.emplace_back(call.name);
    return call.error;
}

size_t FailingNthCall::CallsMade() const {
    const std::lock_guard lock(mutex_);
    return calls_;
}

std::vector<std::string> FailingNthCall::Failed() const {
    const std::lock_guard lock(mutex_);
    return failed_;
}

}  // namespace compat
