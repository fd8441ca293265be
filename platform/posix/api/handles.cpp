#include <winbase.h>

#include "internal/kernel_object.h"

namespace compat {

ObjectTable<KernelObject, Resource::handle>& Handles() {
    // Never destroyed: a handle may be closed as late as at the process's end.
    static auto& table = *new ObjectTable<KernelObject, Resource::handle>;
    return table;
}

}  // namespace compat

BOOL CloseHandle(HANDLE handle) noexcept {
    if (compat::Handles().Remove(handle)) {
        return TRUE;
    }
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

namespace {

thread_local DWORD g_lastError = ERROR_SUCCESS;

}  // namespace

DWORD GetLastError() noexcept {
    return g_lastError;
}

void SetLastError(DWORD error) noexcept {
    g_lastError = error;
}
