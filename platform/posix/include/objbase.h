#pragma once

#include <objidl.h>
#include <unknwn.h>

inline constexpr DWORD CLSCTX_INPROC_SERVER = 1;
inline constexpr DWORD COINIT_APARTMENTTHREADED = 2;

HRESULT CoInitializeEx(LPVOID reserved, DWORD model) noexcept;
void CoUninitialize() noexcept;
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID riid,
                         LPVOID* ppv) noexcept;
LPVOID CoTaskMemAlloc(SIZE_T size) noexcept;
void CoTaskMemFree(LPVOID memory) noexcept;
HRESULT StringFromCLSID(REFCLSID clsid, LPOLESTR* text) noexcept;
HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid) noexcept;
