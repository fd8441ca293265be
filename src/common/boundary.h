#pragma once

#include <windows.h>

#include <new>
#include <utility>

namespace kelvaro {

// Runs the body of a COM method or export and keeps every error inside the library: memory
// exhaustion becomes E_OUTOFMEMORY, anything else E_FAIL. The host is not ours to bring down.
template <class Body>
HRESULT GuardBoundary(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

}  // namespace kelvaro
