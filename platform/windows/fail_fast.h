#pragma once

// Ends the process at once: no handler of the process runs and no box appears. Windows Error
// Reporting writes a dump with the exception STATUS_STACK_BUFFER_OVERRUN, whose parameter is
// `reason`, one of the FAST_FAIL constants of <winnt.h>.
[[noreturn]] inline void FailFast(unsigned int reason) {
    __asm__ volatile("int $0x29" : : "c"(reason));
    __builtin_unreachable();
}
