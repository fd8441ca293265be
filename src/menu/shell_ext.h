#pragma once

#include <objbase.h>

namespace kelvaro {

// Makes a new KelvaroShellExt, the object behind one context menu, and asks it for `riid`. S_OK
// with one reference in `*ppv`; E_NOINTERFACE, E_POINTER or E_OUTOFMEMORY with nothing left behind.
HRESULT CreateShellExt(REFIID riid, void** ppv) noexcept;

}  // namespace kelvaro
