#include <winbase.h>

#include "internal/kernel_object.h"
#include "internal/last_error.h"

namespace compat {

ObjectTable<KernelObject, Resource::handle>& Handles() {
    // Never destroyed, because a static object may close its handle at process exit.
    static auto& table = *new ObjectTable<KernelObject, Resource::handle>;
    return table;
}

}  // namespace compat

BOOL CloseHandle(HANDLE handle) noexcept {
    return compat::Handles().Remove(handle) ? TRUE : compat::Fail(ERROR_INVALID_HANDLE);
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
