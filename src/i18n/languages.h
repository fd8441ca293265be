#pragma once

#include <windows.h>

#include <string_view>

namespace kelvaro {

// An interface language.
struct Language {
    std::wstring_view tag;       // how the rest of the library names it
    WORD primaryLanguage;        // the display language that selects it
    std::wstring_view prefix;    // the start of a setting that selects it, in lower case
    std::wstring_view fileName;  // its language file
};

// All languages. Each has a file in lang/.
inline constexpr Language kLanguages[] = {
    {L"en-US", LANG_ENGLISH, L"en", L"English.ini"},
    {L"zh-CN", LANG_CHINESE, L"zh", L"Chinese(Simplified).ini"},
};

// The language for settings and display languages that select none of these.
inline constexpr const Language& kDefaultLanguage = kLanguages[0];

}  // namespace kelvaro
