#pragma once

// Ends the process at once: no handler of the process runs, and the C runtime shows no box. Windows
// Error Reporting gets the exception STATUS_STACK_BUFFER_OVERRUN with the parameter `reason`, one
// of the FAST_FAIL constants of <winnt.h>.
[[noreturn]] inline void FailFast(unsigned int reason) {
    __asm__ volatile("int $0x29" : : "c"(reason));
    __builtin_unreachable();
}
