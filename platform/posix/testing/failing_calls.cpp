#include "testing/failing_calls.h"

#include <winbase.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>

namespace compat {
namespace {

struct Plan {
    std::string name;  // empty: every function
    std::optional<DWORD> error;
    size_t skip = 0;
    size_t times = 0;
    std::vector<size_t> indexes;
    size_t calls = 0;
    std::vector<std::string> failed;
    std::map<std::string, size_t> callsByName;
};

std::mutex g_mutex;
std::atomic<bool> g_armed = false;
Plan g_plan;

void Arm(Plan plan) {
    const std::lock_guard lock(g_mutex);
    g_plan = std::move(plan);
    g_armed = true;
}

void Disarm() {
    const std::lock_guard lock(g_mutex);
    g_armed = false;
    g_plan = {};
}

bool IsDue(Plan& plan, const char* call) {
    if (!plan.name.empty()) {
        if (plan.name != call) {
            return false;
        }
        const size_t index = plan.calls++;
        return index >= plan.skip && index - plan.skip < plan.times;
    }
    const size_t index = plan.calls++;
    ++plan.callsByName[call];
    return std::find(plan.indexes.begin(), plan.indexes.end(), index) != plan.indexes.end();
}

}  // namespace

FailingCall::FailingCall(std::string_view name, DWORD error, size_t skip, size_t times) {
    Arm({std::string(name), error, skip, times, {}, 0, {}, {}});
}

FailingCall::~FailingCall() {
    Disarm();
}

FailingNthCall::FailingNthCall(std::vector<size_t> indexes) {
    Arm({{}, {}, 0, 0, std::move(indexes), 0, {}, {}});
}

FailingNthCall::~FailingNthCall() {
    Disarm();
}

size_t FailingNthCall::CallsMade() const {
    const std::lock_guard lock(g_mutex);
    return g_plan.calls;
}

size_t FailingNthCall::CallsOf(const std::string& name) const {
    const std::lock_guard lock(g_mutex);
    const auto found = g_plan.callsByName.find(name);
    return found == g_plan.callsByName.end() ? 0 : found->second;
}

std::vector<std::string> FailingNthCall::Failed() const {
    const std::lock_guard lock(g_mutex);
    return g_plan.failed;
}

namespace {

thread_local int g_depth = 0;

std::optional<DWORD> InjectedError(const char* call, DWORD documented) noexcept {
    if (!g_armed) {
        return std::nullopt;
    }
    const std::lock_guard lock(g_mutex);
    if (!g_armed || !IsDue(g_plan, call)) {
        return std::nullopt;
    }
    g_plan.failed.emplace_back(call);
    return g_plan.error.value_or(documented);
}

}  // namespace

Call::Call() noexcept {
    ++g_depth;
}

Call::Call(const char* name, DWORD documented, int /*tag*/) noexcept : Call() {
    error_ = InjectedError(name, documented);
    if (error_) {
        SetLastError(*error_);
    }
}

Call::~Call() {
    --g_depth;
}

bool Call::IsInside() noexcept {
    return g_depth > 0;
}

}  // namespace compat
