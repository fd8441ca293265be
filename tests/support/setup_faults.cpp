// Makes the setup program fail, for its tests. Linked into a copy of it that does not ship. The
// environment variable KELVARO_FAULT says which of the calls that change files, processes or the
// registry fails: "refuse 3" the third one, "refuse-from 3" the third and all later ones, "kill 3"
// ends the process with exit code 99 before the third one.

#include <windows.h>

#include <cstdlib>
#include <sstream>
#include <string>

#include "support/imports.h"

namespace {

struct Plan {
    Plan() {
        const char* const text = std::getenv("KELVARO_FAULT");
        std::istringstream(text == nullptr ? "" : text) >> fault >> step;
        // The process that this one starts runs as usual.
        SetEnvironmentVariableA("KELVARO_FAULT", nullptr);
    }

    bool Refuses() {
        ++calls;
        if (fault == "kill" && calls == step) {
            TerminateProcess(GetCurrentProcess(), 99);
        }
        return (fault == "refuse" && calls == step) || (fault == "refuse-from" && calls >= step);
    }

    std::string fault;
    int step = 0;
    int calls = 0;
} plan;

template <auto Function, class Signature = decltype(Function)>
struct Call;

template <auto Function, class Result, class... Arguments>
struct Call<Function, Result (*)(Arguments...)> {
    explicit Call(const char* name) : import(GetModuleHandleW(nullptr), name) {
        original = reinterpret_cast<Result (*)(Arguments...)>(import.Original());
        import.Replace(reinterpret_cast<void*>(&Run));
    }

    static Result Run(Arguments... arguments) {
        if (!plan.Refuses()) {
            return original(arguments...);
        }
        SetLastError(ERROR_ACCESS_DENIED);
        // Calls of the registry return the error, the others FALSE.
        return std::is_same_v<Result, LSTATUS> ? Result{ERROR_ACCESS_DENIED} : Result{};
    }

    ScopedImport import;
    static inline Result (*original)(Arguments...) = nullptr;
};

#define INTERCEPT(function) static const Call<&function> intercepted##function(#function)

const bool intercepted = [] {
    INTERCEPT(CopyFileW);
    INTERCEPT(CreateDirectoryW);
    INTERCEPT(CreateProcessW);
    INTERCEPT(DeleteFileW);
    INTERCEPT(FlushFileBuffers);
    INTERCEPT(MoveFileExW);
    INTERCEPT(RemoveDirectoryW);
    INTERCEPT(SetFileAttributesW);
    INTERCEPT(RegCopyTreeW);
    INTERCEPT(RegCreateKeyExW);
    INTERCEPT(RegDeleteTreeW);
    INTERCEPT(RegDeleteValueW);
    INTERCEPT(RegFlushKey);
    INTERCEPT(RegSetValueExW);
    return true;
}();

}  // namespace
