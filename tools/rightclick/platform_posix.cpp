#include <clocale>
#include <cwctype>

#include "rightclick/platform.h"
#include "rightclick/selection.h"
#include "shell_host/drop_list.h"

// Replaces what only Windows has: a screen, the shell's data objects, and environment variables in
// paths.

namespace rightclick {

std::wstring LowerCase(std::wstring_view text) {
    // The C locale, which the process keeps, has no letters beyond ASCII.
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    std::wstring lowered(text);
    for (wchar_t& unit : lowered) {
        unit = static_cast<wchar_t>(towlower_l(static_cast<wint_t>(unit), unicode));
    }
    return lowered;
}

std::wstring ExpandVariables(const std::wstring& text) {
    return text;
}

bool HasScreen() {
    return false;
}

std::optional<UINT> ShowMenu(HMENU /*menu*/, HWND& /*owner*/) {
    return std::nullopt;
}

Selection MakeSelection(const std::vector<std::wstring>& files) {
    return {shell_host::MakeDropListObject(files), false};
}

}  // namespace rightclick
