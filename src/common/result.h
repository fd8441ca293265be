#pragma once

#include <windows.h>

namespace kelvaro {

// Returns the HRESULT of a call that failed with the system error code `error`. A failing call may
// leave the code at 0, which HRESULT_FROM_WIN32 turns into S_OK; the result is E_FAIL then.
inline HRESULT FailureFromWin32(DWORD error) noexcept {
    return error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(error);
}

}  // namespace kelvaro
