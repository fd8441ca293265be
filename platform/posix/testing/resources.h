#pragma once

#include <string>

namespace compat {

// Returns what the process holds of the platform, for example "2 handle, 1 key". Empty if nothing.
std::string HeldResources();

}  // namespace compat
