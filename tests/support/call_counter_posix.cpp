#include "support/call_counter.h"
#include "testing/recorded_calls.h"

struct CallCounter::Hooks {
    compat::RecordedCalls calls;
};

CallCounter::CallCounter(HMODULE /*library*/) : hooks_(std::make_unique<Hooks>()) {}

CallCounter::~CallCounter() = default;

std::map<std::string, size_t> CallCounter::Take() {
    std::map<std::string, size_t> counts;
    for (const char* const name :
         {"CreateFileW", "GetFileAttributesW", "RegOpenKeyExW", "RegCreateKeyExW", "RegDeleteTreeW",
          "GetModuleFileNameW", "CreateProcessW", "CoCreateInstance"}) {
        if (const size_t count = hooks_->calls.Count(name); count > 0) {
            counts[name] = count;
        }
    }
    hooks_->calls.Clear();
    return counts;
}
