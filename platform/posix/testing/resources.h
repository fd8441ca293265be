#pragma once

#include <cstddef>
#include <string>

namespace compat {

// Returns what the process holds of the platform, for example "2 handle, 1 key". Empty if nothing.
std::string HeldResources();

// Returns how many bytes the process has read from files through ReadFile.
size_t BytesRead() noexcept;

}  // namespace compat
