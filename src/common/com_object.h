#pragma once

#include <unknwn.h>

#include <new>

namespace kelvaro {

// Creates an `Object`, whose first reference belongs to its creator, and queries it for `riid`.
// Returns S_OK and stores one reference in `*ppv`, or returns E_NOINTERFACE, E_POINTER or
// E_OUTOFMEMORY and keeps no object.
template <class Object>
HRESULT CreateObject(REFIID riid, void** ppv) noexcept {
    auto* const object = new (std::nothrow) Object;
    if (object == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = object->QueryInterface(riid, ppv);
    object->Release();
    return result;
}

}  // namespace kelvaro
