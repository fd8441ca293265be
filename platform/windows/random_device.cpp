#include <windows.h>

#include <random>

#include "windows/fail_fast.h"

// The runtime library has a caller of this member beside string functions that its exceptions need.
// With the library's definition the DLL would contain all of std::random_device and, with newer
// versions, std::system_error: up to nine more imports and 12 KB. Nothing calls it.
void std::random_device::_M_init(const char* /*token*/, std::size_t /*length*/) {
    FailFast(FAST_FAIL_FATAL_APP_EXIT);
}
