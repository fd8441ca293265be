#include <clocale>
#include <cwctype>

#include "rightclick/platform_text.h"

namespace rightclick {

std::wstring LowerCase(std::wstring_view text) {
    // The C locale, which the process keeps, has no letters beyond ASCII.
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    std::wstring lowered(text);
    for (wchar_t& unit : lowered) {
        const auto value = static_cast<wint_t>(unit);
        unit = static_cast<wchar_t>(unicode == nullptr ? std::towlower(value)
                                                       : towlower_l(value, unicode));
    }
    return lowered;
}

std::wstring ExpandVariables(const std::wstring& text) {
    return text;  // There are none.
}

}  // namespace rightclick
