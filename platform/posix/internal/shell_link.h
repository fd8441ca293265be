#pragma once

#include <objbase.h>

namespace compat {

// Creates an empty shell link object and returns its interface `riid` in `*ppv`.
HRESULT CreateShellLink(REFIID riid, void** ppv) noexcept;

}  // namespace compat
