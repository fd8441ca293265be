#include <windows.h>

#include <x86intrin.h>

#include <cstdint>

#include "windows/fail_fast.h"

// The symbols to which functions compiled with -fstack-protector-strong refer. The compiler's own
// definitions would add six imports to the DLL, among them the cryptography provider of ADVAPI32.

extern "C" {

// Protected functions store this value above their buffers and compare it before they return. The
// start-up code replaces it. The zero byte, lowest in memory, keeps string functions from copying
// it.
std::uintptr_t __stack_chk_guard = 0x595E9FBD94FDA700;

// After a buffer overrun neither the stack nor the handlers of the process can be trusted.
[[noreturn]] void __stack_chk_fail() {
    FailFast(FAST_FAIL_STACK_COOKIE_CHECK_FAILURE);
}

}  // extern "C"

namespace {

// Not protected itself, because it changes the value. It combines the time stamp counter with an
// address of the stack and one of the module, both of which Windows randomises.
__attribute__((constructor, no_stack_protector)) void SetGuard() {
    constexpr std::uintptr_t kOddFactor = 0x9E3779B97F4A7C15;
    std::uintptr_t value = __rdtsc();
    value = (value ^ reinterpret_cast<std::uintptr_t>(&value)) * kOddFactor;
    value =
        (value ^ value >> 32U ^ reinterpret_cast<std::uintptr_t>(&__stack_chk_guard)) * kOddFactor;
    __stack_chk_guard = value & ~std::uintptr_t{0xFF};
}

}  // namespace
