#pragma once

#include <windows.h>

#include <atomic>

namespace kelvaro {

// The library's own module, set once when it is loaded and only read afterwards.
extern HMODULE g_moduleHandle;

// Live class factories, live extension objects and outstanding server locks.
extern std::atomic<ULONG> g_objectCount;

}  // namespace kelvaro
