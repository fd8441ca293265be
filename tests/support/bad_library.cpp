// A DLL with the extension's exports whose registration goes wrong, for the tests of the setup
// program. The environment variable KELVARO_BAD_LIBRARY says how.

#include <windows.h>

#include <objbase.h>

#include <cstdlib>
#include <string>

#include "registration/keys.h"
#include "server/clsid.h"
#include "server/exports.h"

STDAPI DllCanUnloadNow() {
    return S_OK;
}

STDAPI DllGetClassObject(REFCLSID, REFIID, LPVOID*) {
    return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllUnregisterServer() {
    return S_OK;
}

STDAPI DllRegisterServer() {
    const char* const text = std::getenv("KELVARO_BAD_LIBRARY");
    const std::string behaviour = text == nullptr ? "" : text;
    if (behaviour == "does nothing") {
        return S_OK;
    }
    // Leaves half a registration.
    wchar_t clsid[40] = {};
    StringFromGUID2(kelvaro::kShellExtClsid, clsid, 40);
    const std::wstring key = std::wstring(kelvaro::kClasses) + L"CLSID\\" + clsid;
    RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str());
    RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), nullptr, REG_SZ, L"bad", sizeof L"bad");
    if (behaviour == "crashes") {
        __builtin_trap();
    }
    return E_ACCESSDENIED;
}
