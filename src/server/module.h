#pragma once

#include <windows.h>

#include <atomic>

namespace kelvaro {

// The library's own module handle. Set when the library is loaded, only read afterwards.
extern HMODULE g_moduleHandle;

// The number of live class factories, live extension objects and outstanding server locks.
extern std::atomic<ULONG> g_objectCount;

}  // namespace kelvaro
