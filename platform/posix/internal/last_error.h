#pragma once

#include <winbase.h>

namespace compat {

// Sets the last error to `error` and returns 0, which is also FALSE.
inline int Fail(DWORD error) noexcept {
    SetLastError(error);
    return 0;
}

}  // namespace compat
