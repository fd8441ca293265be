#pragma once

#include <windef.h>

#include <string_view>

namespace compat {

// The bytes of a block of global memory, empty when `memory` is none.
std::string_view GlobalContent(HGLOBAL memory) noexcept;

}  // namespace compat
