#include <windows.h>

#include <random>

#include "windows/fail_fast.h"

// The runtime library's object file with the string functions of its exceptions also calls this
// member. The runtime's definition would bring all of std::random_device into the DLL
// and, with newer versions, std::system_error: up to nine more imports and 12 KB. Nothing in the
// DLL reaches the call.
void std::random_device::_M_init(const char* /*token*/, std::size_t /*length*/) {
    FailFast(FAST_FAIL_FATAL_APP_EXIT);
}
