#include "i18n/ui_locale.h"

#include <algorithm>
#include <iterator>

#include "common/owners.h"
#include "common/text.h"
#include "i18n/languages.h"

namespace kelvaro {
namespace {

// The data of a registry value in a fixed buffer.
struct Setting {
    wchar_t text[64] = {};
    DWORD type = REG_NONE;
};

// Returns the value "UILocale". Its type is REG_NONE if it is missing, cannot be read or is longer
// than the buffer.
Setting ReadSetting() noexcept {
    Setting setting;
    ScopedKey key;
    DWORD size = sizeof setting.text;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Vorandel\\Kelvaro", 0, KEY_READ, key.Put()) !=
            ERROR_SUCCESS ||
        RegQueryValueExW(key.Get(), L"UILocale", nullptr, &setting.type,
                         reinterpret_cast<BYTE*>(setting.text), &size) != ERROR_SUCCESS) {
        return {};
    }
    return setting;
}

template <class Predicate>
const Language& SelectLanguage(Predicate isSelected) noexcept {
    const auto* const found =
        std::find_if(std::begin(kLanguages), std::end(kLanguages), isSelected);
    return found == std::end(kLanguages) ? kDefaultLanguage : *found;
}

}  // namespace

std::wstring_view NormalizeLocale(std::wstring_view text) noexcept {
    text = TrimWhitespace(text);
    return SelectLanguage([text](const Language& language) {
               return EqualsIgnoringCase(text.substr(0, language.prefix.size()), language.prefix);
           })
        .tag;
}

std::wstring_view ReadRegistryLocale() noexcept {
    const Setting setting = ReadSetting();
    if (setting.type != REG_SZ && setting.type != REG_EXPAND_SZ) {
        return {};
    }
    // The stored text need not be terminated.
    const auto* const end = std::find(std::begin(setting.text), std::end(setting.text), L'\0');
    return NormalizeLocale({setting.text, static_cast<size_t>(end - setting.text)});
}

std::wstring_view LocaleOfDisplayLanguage(LANGID language) noexcept {
    const WORD primary = PRIMARYLANGID(language);
    return SelectLanguage(
               [primary](const Language& known) { return known.primaryLanguage == primary; })
        .tag;
}

std::wstring_view GetUiLocale() noexcept {
    const std::wstring_view chosen = ReadRegistryLocale();
    return chosen.empty() ? LocaleOfDisplayLanguage(GetUserDefaultUILanguage()) : chosen;
}

}  // namespace kelvaro
