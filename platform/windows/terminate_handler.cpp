#include <windows.h>

#include "windows/fail_fast.h"

// Replaces the terminate handler of the compiler's runtime library. That one prints the type of the
// exception, which needs the demangler, half of the DLL's size, and aborts, which may show a box.
namespace __gnu_cxx {
[[noreturn]] void __verbose_terminate_handler() {
    FailFast(FAST_FAIL_FATAL_APP_EXIT);
}
}  // namespace __gnu_cxx
