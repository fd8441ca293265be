#pragma once

#include <windef.h>

#include <string_view>

namespace compat {

// Returns the bytes of a block of global memory. Empty if `memory` is not a valid handle.
std::string_view GlobalContent(HGLOBAL memory) noexcept;

}  // namespace compat
