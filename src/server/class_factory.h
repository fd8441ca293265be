#pragma once

#include <objbase.h>

namespace kelvaro {

// Makes a new KelvaroClassFactory and asks it for `riid`. S_OK with one reference in `*ppv`;
// E_NOINTERFACE, E_POINTER or E_OUTOFMEMORY with nothing left behind.
HRESULT CreateClassFactory(REFIID riid, void** ppv) noexcept;

}  // namespace kelvaro
