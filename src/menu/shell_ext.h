#pragma once

#include <objbase.h>

namespace kelvaro {

// Creates a KelvaroShellExt, the object that handles one context menu, and queries it for `riid`.
// Returns S_OK and stores one reference in `*ppv`, or returns E_NOINTERFACE, E_POINTER or
// E_OUTOFMEMORY and keeps no object.
HRESULT CreateShellExt(REFIID riid, void** ppv) noexcept;

}  // namespace kelvaro
