// Makes the setup program fail, for its tests. Linked into a copy of it that does not ship. The
// environment variable KELVARO_FAULT says which of the calls that change files, processes or the
// registry fails: "refuse 3" the third one, "refuse-from 3" the third and all later ones, "kill 3"
// ends the process with exit code 99 before the third one.

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "support/imports.h"

namespace {

enum class Fault { none, refuse, refuseFrom, kill };

struct Plan {
    Plan() {
        const char* const text = std::getenv("KELVARO_FAULT");
        const std::string plan = text == nullptr ? "" : text;
        const size_t space = plan.find(' ');
        if (space == std::string::npos) {
            return;
        }
        step = std::atoi(plan.c_str() + space);
        fault = plan.starts_with("kill")           ? Fault::kill
                : plan.starts_with("refuse-from ") ? Fault::refuseFrom
                                                   : Fault::refuse;
        // The process that this one starts runs as usual.
        SetEnvironmentVariableA("KELVARO_FAULT", nullptr);
    }

    bool Refuses() {
        ++calls;
        if (fault == Fault::kill && calls == step) {
            TerminateProcess(GetCurrentProcess(), 99);
        }
        return (fault == Fault::refuse && calls == step) ||
               (fault == Fault::refuseFrom && calls >= step);
    }

    Fault fault = Fault::none;
    int step = 0;
    int calls = 0;
} plan;

template <int Number, class Signature>
struct Call;

template <int Number, class Result, class... Arguments>
struct Call<Number, Result(Arguments...)> {
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

template <int Number, class Signature>
void Intercept(const char* name, Signature*) {
    static Call<Number, Signature> call(name);
}

#define INTERCEPT(function) Intercept<__COUNTER__>(#function, &function)

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
