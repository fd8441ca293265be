#pragma once

#include <windows.h>

#include <new>
#include <utility>

namespace kelvaro {

// Runs the body of a COM method or export and keeps exceptions inside the library. Returns the
// body's result, E_OUTOFMEMORY for std::bad_alloc and E_FAIL for any other exception.
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
