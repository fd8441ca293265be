#pragma once

#include <objbase.h>

namespace compat {

// Makes a shell link object, empty until it loads a file, and asks it for `riid`.
HRESULT CreateShellLink(REFIID riid, void** ppv) noexcept;

}  // namespace compat
