#include "internal/call.h"

#include <winbase.h>

#include <atomic>
#include <mutex>
#include <vector>

namespace compat {
namespace {

std::mutex g_mutex;
std::vector<const CallObserver*> g_observers;
std::atomic<bool> g_observed = false;  // spares the calls the mutex if there are no observers
thread_local int g_depth = 0;

}  // namespace

ScopedCallObserver::ScopedCallObserver(CallObserver observer) : observer_(std::move(observer)) {
    const std::lock_guard lock(g_mutex);
    g_observers.push_back(&observer_);
    g_observed = true;
}

ScopedCallObserver::~ScopedCallObserver() {
    const std::lock_guard lock(g_mutex);
    std::erase(g_observers, &observer_);
    g_observed = !g_observers.empty();
}

Call::Call(const char* name, LONG error) noexcept {
    if (g_depth++ > 0 || !g_observed) {
        return;
    }
    const std::lock_guard lock(g_mutex);
    for (const CallObserver* const observer : g_observers) {
        const std::optional<DWORD> injected = (*observer)({name, static_cast<DWORD>(error)});
        error_ = error_ ? error_ : injected;
    }
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
