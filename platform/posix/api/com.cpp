#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include "internal/call.h"
#include "internal/encoding.h"
#include "internal/shell_link.h"

namespace {

thread_local int g_initialised = 0;  // calls of CoInitializeEx not yet undone

// Returns "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" with upper-case hexadecimal digits.
std::string FormatGuid(REFGUID id) {
    std::array<char, sizeof "{00000000-0000-0000-0000-000000000000}"> text = {};
    std::snprintf(text.data(), text.size(), "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  id.Data1, unsigned{id.Data2}, unsigned{id.Data3}, unsigned{id.Data4[0]},
                  unsigned{id.Data4[1]}, unsigned{id.Data4[2]}, unsigned{id.Data4[3]},
                  unsigned{id.Data4[4]}, unsigned{id.Data4[5]}, unsigned{id.Data4[6]},
                  unsigned{id.Data4[7]});
    return text.data();
}

// Parses the format of FormatGuid; digits may be upper or lower case. Returns false for other text.
bool ParseGuid(std::wstring_view text, GUID& id) noexcept {
    constexpr std::wstring_view kPattern = L"{########-####-####-####-############}";
    constexpr std::wstring_view kDigits = L"0123456789abcdef";
    if (text.size() != kPattern.size()) {
        return false;
    }
    std::array<uint8_t, sizeof id> bytes = {};
    size_t digits = 0;
    for (size_t at = 0; at < text.size(); ++at) {
        const wchar_t lower = text[at] >= L'A' && text[at] <= L'F' ? text[at] | 0x20 : text[at];
        const size_t digit = kDigits.find(lower);
        if (kPattern[at] != L'#' ? text[at] != kPattern[at] : digit == std::wstring_view::npos) {
            return false;
        }
        if (kPattern[at] == L'#') {
            uint8_t& byte = bytes.at(digits++ / 2);
            byte = static_cast<uint8_t>(size_t{byte} << 4 | digit);
        }
    }
    id.Data1 =
        static_cast<uint32_t>((bytes[0] << 24) | (bytes[1] << 16) | (bytes[2] << 8) | bytes[3]);
    id.Data2 = static_cast<uint16_t>((bytes[4] << 8) | bytes[5]);
    id.Data3 = static_cast<uint16_t>((bytes[6] << 8) | bytes[7]);
    std::copy(bytes.begin() + 8, bytes.end(), std::begin(id.Data4));
    return true;
}

}  // namespace

HRESULT CoInitializeEx(LPVOID /*reserved*/, DWORD /*model*/) noexcept {
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
    const std::wstring units = compat::WideFromUtf8(FormatGuid(clsid));
    *text = static_cast<LPOLESTR>(CoTaskMemAlloc((units.size() + 1) * sizeof(wchar_t)));
    if (*text == nullptr) {
        return E_OUTOFMEMORY;
    }
    lstrcpynW(*text, units.c_str(), static_cast<int>(units.size() + 1));
    return S_OK;
}

HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid) noexcept {
    *clsid = {};
    return ParseGuid(text, *clsid) ? S_OK : CO_E_CLASSSTRING;
}
