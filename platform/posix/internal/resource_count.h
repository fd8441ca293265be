#pragma once

namespace compat {

// What a program gets from the platform and has to give back.
enum class Resource { handle, key, globalMemory, globalLock, taskMemory, comObject, menu, module };

// Adds `change` to the number of resources of `kind` that the process holds.
void CountResource(Resource kind, int change) noexcept;

}  // namespace compat
