#include "support/call_counter.h"

#include <objbase.h>

#include <utility>
#include <vector>

#include "support/imports.h"

namespace {

std::map<std::string, size_t> g_counts;

// Counts the calls of one imported function and forwards them.
template <auto Function>
struct Forwarder;

template <class Result, class... Arguments, Result (*Function)(Arguments...)>
struct Forwarder<Function> {
    static inline Result (*original)(Arguments...);
    static inline const char* name;

    static Result Call(Arguments... arguments) {
        ++g_counts[name];
        return original(arguments...);
    }
    static void* Install(const char* function, void* address) {
        name = function;
        original = reinterpret_cast<Result (*)(Arguments...)>(address);
        return reinterpret_cast<void*>(&Call);
    }
};

constexpr struct {
    const char* name;
    void* (*install)(const char* name, void* original);
} kCounted[] = {
    {"CreateFileW", Forwarder<&CreateFileW>::Install},
    {"GetFileAttributesW", Forwarder<&GetFileAttributesW>::Install},
    {"RegOpenKeyExW", Forwarder<&RegOpenKeyExW>::Install},
    {"RegCreateKeyExW", Forwarder<&RegCreateKeyExW>::Install},
    {"RegDeleteTreeW", Forwarder<&RegDeleteTreeW>::Install},
    {"GetModuleFileNameW", Forwarder<&GetModuleFileNameW>::Install},
    {"CreateProcessW", Forwarder<&CreateProcessW>::Install},
    {"CoCreateInstance", Forwarder<&CoCreateInstance>::Install},
};

}  // namespace

struct CallCounter::Hooks {
    std::vector<std::unique_ptr<ScopedImport>> imports;
};

CallCounter::CallCounter(HMODULE library) : hooks_(std::make_unique<Hooks>()) {
    for (const auto& [name, install] : kCounted) {
        auto& import = hooks_->imports.emplace_back(std::make_unique<ScopedImport>(library, name));
        import->Replace(install(name, import->Original()));
    }
    g_counts.clear();
}

CallCounter::~CallCounter() = default;

std::map<std::string, size_t> CallCounter::Take() {
    return std::exchange(g_counts, {});
}
