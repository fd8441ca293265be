#include <windows.h>

#include <x86intrin.h>

#include <cstdint>

// What functions compiled with -fstack-protector-strong refer to. The compiler's own definitions
// would add six imports to the DLL, among them the cryptography provider of ADVAPI32.

extern "C" {

// Protected functions store this value above their buffers and compare it before they return. The
// start-up code replaces it. The zero byte, lowest in memory, keeps string functions from copying
// it.
std::uintptr_t __stack_chk_guard = 0x595E9FBD94FDA700;

// Ends the process at once: after a buffer overrun neither its stack nor its handlers can be
// trusted. Windows Error Reporting writes a dump with the code STATUS_STACK_BUFFER_OVERRUN.
[[noreturn]] void __stack_chk_fail() {
    __asm__ volatile("int $0x29" : : "c"(FAST_FAIL_STACK_COOKIE_CHECK_FAILURE));
    __builtin_unreachable();
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
