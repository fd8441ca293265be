#include <dlfcn.h>
#include <windows.h>

// Linked into every library that is built on the compatibility layer. Calls DllMain when the
// library is loaded, as the runtime's start-up code does on Windows.

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

namespace {

[[gnu::constructor]] void CallDllMain() {
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void*>(&DllMain), &info) != 0) {
        DllMain(reinterpret_cast<HINSTANCE>(info.dli_fbase), DLL_PROCESS_ATTACH, nullptr);
    }
}

}  // namespace
