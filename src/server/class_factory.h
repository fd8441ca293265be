#pragma once

#include <objbase.h>

namespace kelvaro {

// Creates a KelvaroClassFactory and queries it for `riid`. Returns S_OK and stores one reference in
// `*ppv`, or returns E_NOINTERFACE, E_POINTER or E_OUTOFMEMORY and keeps no object.
HRESULT CreateClassFactory(REFIID riid, void** ppv) noexcept;

}  // namespace kelvaro
