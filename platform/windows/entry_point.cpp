#include <windows.h>

#include <cstddef>

// Where Windows enters the DLL, in place of the toolchain's start-up code. That one brings
// thread-local storage with callbacks. DisableThreadLibraryCalls fails for such a DLL, and its code
// runs whenever a thread of the host starts or ends. The rest of the start-up code is not needed:
// msvcrt.dll initialises itself, the linker refuses pseudo relocations, Windows finds the unwind
// tables by itself, and no static object has a destructor. The compiler's crtbegin.o only registers
// unwind tables of another format.

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);

// The linker's table of constructors: a marker, the constructors in reverse order, null.
extern void (*__CTOR_LIST__[])();

BOOL WINAPI DllMainCRTStartup(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        std::size_t last = 0;
        while (__CTOR_LIST__[last + 1] != nullptr) {
            ++last;
        }
        for (; last > 0; --last) {
            __CTOR_LIST__[last]();
        }
    }
    return DllMain(instance, reason, reserved);
}

}  // extern "C"
