#pragma once

#include <objbase.h>

namespace layer {

// Makes a shell link object, empty until it loads a file, and asks it for `riid`.
HRESULT CreateShellLink(REFIID riid, void** ppv) noexcept;

}  // namespace layer
