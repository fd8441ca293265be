#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include <array>
#include <cstdio>
#include <cwchar>
#include <string>

#include "internal/call.h"
#include "internal/encoding.h"
#include "internal/shell_link.h"

namespace {

thread_local int g_initialised = 0;  // calls of CoInitializeEx not yet undone

constexpr size_t kGuidLength = 38;

std::string FormatGuid(REFCLSID id) {
    std::array<char, kGuidLength + 1> text = {};
    std::snprintf(text.data(), text.size(), "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  id.Data1, unsigned{id.Data2}, unsigned{id.Data3}, unsigned{id.Data4[0]},
                  unsigned{id.Data4[1]}, unsigned{id.Data4[2]}, unsigned{id.Data4[3]},
                  unsigned{id.Data4[4]}, unsigned{id.Data4[5]}, unsigned{id.Data4[6]},
                  unsigned{id.Data4[7]});
    return text.data();
}

}  // namespace

HRESULT CoInitializeEx(LPVOID /*reserved*/, DWORD /*model*/) noexcept {
    const compat::Call call("CoInitializeEx", E_OUTOFMEMORY);
    if (call.Fails()) {
        return static_cast<HRESULT>(call.Error());
    }
    return g_initialised++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() noexcept {
    const compat::Call call("CoUninitialize");
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
        return static_cast<HRESULT>(call.Error());
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
        return static_cast<HRESULT>(call.Error());
    }
    *text = static_cast<LPOLESTR>(CoTaskMemAlloc((kGuidLength + 1) * sizeof(wchar_t)));
    if (*text == nullptr) {
        return E_OUTOFMEMORY;
    }
    const std::wstring units = compat::WideFromUtf8(FormatGuid(clsid));
    lstrcpynW(*text, units.c_str(), kGuidLength + 1);
    return S_OK;
}

HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid) noexcept {
    const compat::Call call("CLSIDFromString", CO_E_CLASSSTRING);
    *clsid = {};
    if (call.Fails()) {
        return static_cast<HRESULT>(call.Error());
    }
    const std::string bytes = compat::Utf8FromWide(text);
    std::array<unsigned, 11> parts = {};
    // NOLINTNEXTLINE(cert-err34-c): each part has a width, so no number can overflow
    const int read = std::sscanf(bytes.c_str(), "{%8X-%4X-%4X-%2X%2X-%2X%2X%2X%2X%2X%2X}",
                                 &parts[0], &parts[1], &parts[2], &parts[3], &parts[4], &parts[5],
                                 &parts[6], &parts[7], &parts[8], &parts[9], &parts[10]);
    if (read != static_cast<int>(parts.size()) || bytes.size() != kGuidLength) {
        return CO_E_CLASSSTRING;
    }
    clsid->Data1 = parts[0];
    clsid->Data2 = static_cast<uint16_t>(parts[1]);
    clsid->Data3 = static_cast<uint16_t>(parts[2]);
    for (size_t at = 0; at < sizeof clsid->Data4; ++at) {
        clsid->Data4[at] = static_cast<uint8_t>(parts.at(3 + at));
    }
    return S_OK;
}
