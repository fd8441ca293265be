#include "menu/verb.h"

#include <cstring>
#include <cwchar>

namespace kelvaro {
namespace {

// A verb field contains a command offset if bits 16 to 31 are zero, otherwise a pointer to the
// verb.
bool IsText(const void* verb) noexcept {
    return HIWORD(reinterpret_cast<UINT_PTR>(verb)) != 0;
}

bool IsNarrowMatch(LPCSTR verb) noexcept {
    return IsText(verb) ? _stricmp(verb, kVerb) == 0
                        : LOWORD(reinterpret_cast<UINT_PTR>(verb)) == 0;
}

bool IsWideMatch(const CMINVOKECOMMANDINFO& request) noexcept {
    if (request.cbSize < sizeof(CMINVOKECOMMANDINFOEX) ||
        (request.fMask & CMIC_MASK_UNICODE) == 0) {
        return false;
    }
    const LPCWSTR verb = reinterpret_cast<const CMINVOKECOMMANDINFOEX&>(request).lpVerbW;
    return IsText(verb) && _wcsicmp(verb, kWideVerb) == 0;
}

}  // namespace

bool IsToggleRequest(const CMINVOKECOMMANDINFO& request) noexcept {
    return IsNarrowMatch(request.lpVerb) || IsWideMatch(request);
}

}  // namespace kelvaro
