#pragma once

#include <windows.h>

#include <string_view>

namespace kelvaro {

// Returns the tag of the interface language: that of the user's setting, or of the display language
// if there is no setting.
std::wstring_view GetUiLocale() noexcept;

// Returns the language tag that the user's setting "UILocale" selects. Empty if the setting is
// missing, is not text, or has more than 64 units.
std::wstring_view ReadRegistryLocale() noexcept;

// Returns the language tag that the setting `text` selects by its first letters, ignoring case and
// white space before them; that of the default language if they select none.
std::wstring_view NormalizeLocale(std::wstring_view text) noexcept;

// Returns the language tag that the display language `language` selects; that of the default
// language if it selects none.
std::wstring_view LocaleOfDisplayLanguage(LANGID language) noexcept;

}  // namespace kelvaro
