#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include <string>

#include "internal/call.h"
#include "internal/encoding.h"
#include "internal/guid.h"
#include "internal/shell_link.h"

namespace {

thread_local int g_initialised = 0;  // calls of CoInitializeEx not yet undone

}  // namespace

HRESULT CoInitializeEx(LPVOID /*reserved*/, DWORD /*model*/) noexcept {
    const compat::Call call("CoInitializeEx", E_OUTOFMEMORY);
    if (call.Fails()) {
        return call.Result();
    }
    return g_initialised++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() noexcept {
    --g_initialised;
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD /*context*/, REFIID riid,
                         LPVOID* ppv) noexcept {
    const compat::Call call("CoCreateInstance", REGDB_E_CLASSNOTREG);
    if (ppv == nullptr) {
        return E_POINTER;
    }
    *ppv = nullptr;
    if (call.Fails()) {
        return call.Result();
    }
    if (g_initialised <= 0) {
        return CO_E_NOTINITIALIZED;
    }
    if (!(clsid == CLSID_ShellLink)) {
        return REGDB_E_CLASSNOTREG;
    }
    return outer == nullptr ? compat::CreateShellLink(riid, ppv) : CLASS_E_NOAGGREGATION;
}

HRESULT StringFromCLSID(REFCLSID clsid, LPOLESTR* text) noexcept {
    const compat::Call call("StringFromCLSID", E_OUTOFMEMORY);
    *text = nullptr;
    if (call.Fails()) {
        return call.Result();
    }
    const std::wstring units = compat::WideFromUtf8(compat::FormatGuid(clsid));
    *text = static_cast<LPOLESTR>(CoTaskMemAlloc((units.size() + 1) * sizeof(wchar_t)));
    if (*text == nullptr) {
        return E_OUTOFMEMORY;
    }
    lstrcpynW(*text, units.c_str(), static_cast<int>(units.size() + 1));
    return S_OK;
}

HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid) noexcept {
    const compat::Call call("CLSIDFromString", CO_E_CLASSSTRING);
    *clsid = {};
    if (call.Fails()) {
        return call.Result();
    }
    return compat::ParseGuid(text, *clsid) ? S_OK : CO_E_CLASSSTRING;
}
