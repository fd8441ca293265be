#include <windows.h>

#include "server/class_factory.h"
#include "server/clsid.h"
#include "server/exports.h"
#include "server/module.h"

namespace kelvaro {

constinit HMODULE g_moduleHandle = nullptr;
constinit std::atomic<ULONG> g_objectCount = 0;

}  // namespace kelvaro

extern "C" BOOL WINAPI DllMain(HINSTANCE hinstDLL, DWORD fdwReason, LPVOID /*lpvReserved*/) {
    if (fdwReason == DLL_PROCESS_ATTACH) {
        kelvaro::g_moduleHandle = hinstDLL;
        DisableThreadLibraryCalls(hinstDLL);
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
    return rclsid == kelvaro::kShellExtClsid ? kelvaro::CreateClassFactory(riid, ppv)
                                             : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() {
    return kelvaro::g_objectCount == 0 ? S_OK : S_FALSE;
}
