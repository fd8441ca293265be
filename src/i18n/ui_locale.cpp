#include "i18n/ui_locale.h"

#include <windows.h>

#include <algorithm>
#include <iterator>

#include "common/owners.h"
#include "common/text.h"

namespace kelvaro {

std::wstring_view NormalizeLocale(std::wstring_view tag) noexcept {
    return EqualsIgnoringCase(TrimWhitespace(tag).substr(0, 2), L"zh") ? kChinese : kEnglish;
}

std::wstring_view ReadRegistryLocale() noexcept {
    ScopedKey key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Vorandel\\Kelvaro", 0, KEY_READ, key.Put()) !=
        ERROR_SUCCESS) {
        return {};
    }
    wchar_t text[64] = {};
    DWORD type = REG_NONE;
    DWORD size = sizeof text;
    const LSTATUS status = RegQueryValueExW(key.Get(), L"UILocale", nullptr, &type,
                                            reinterpret_cast<BYTE*>(text), &size);
    if (status != ERROR_SUCCESS || (type != REG_SZ && type != REG_EXPAND_SZ)) {
        return {};
    }
    // The stored text need not end with a null.
    const auto* const end = std::find(std::begin(text), std::end(text), L'\0');
    return NormalizeLocale({text, static_cast<size_t>(end - text)});
}

std::wstring_view GetUiLocale() noexcept {
    const std::wstring_view chosen = ReadRegistryLocale();
    if (!chosen.empty()) {
        return chosen;
    }
    return PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_CHINESE ? kChinese : kEnglish;
}

}  // namespace kelvaro
