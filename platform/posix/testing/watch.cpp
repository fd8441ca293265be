#include "testing/watch.h"

#include <map>
#include <mutex>

namespace compat {
namespace {

std::mutex g_mutex;
std::map<const void*, std::shared_ptr<void>> g_receivers;

}  // namespace

void SetReceiver(const void* function, std::shared_ptr<void> receiver) {
    const std::lock_guard lock(g_mutex);
    g_receivers[function] = std::move(receiver);
}

std::shared_ptr<void> ReceiverOf(const void* function) {
    const std::lock_guard lock(g_mutex);
    const auto found = g_receivers.find(function);
    return found == g_receivers.end() ? nullptr : found->second;
}

}  // namespace compat
