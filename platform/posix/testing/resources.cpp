#include "testing/resources.h"

#include <array>
#include <atomic>

#include "internal/resource_count.h"

namespace compat {
namespace {

constexpr std::array kNames = {"handle",      "key",        "global memory", "global lock",
                               "task memory", "COM object", "menu",          "module"};
std::array<std::atomic<int>, kNames.size()> g_held;

}  // namespace

void CountResource(Resource kind, int change) noexcept {
    g_held.at(static_cast<size_t>(kind)) += change;
}

std::string HeldResources() {
    std::string text;
    for (size_t kind = 0; kind < kNames.size(); ++kind) {
        const int held = g_held.at(kind);
        if (held != 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(held) + " " + kNames.at(kind);
        }
    }
    return text;
}

}  // namespace compat
