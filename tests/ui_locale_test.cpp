#include "i18n/ui_locale.h"

#include "common/owners.h"
#include "support/fixture.h"

namespace kelvaro {
namespace {

TEST(NormalizeLocale, SelectsTheTagByThePrefix) {
    for (const wchar_t* const tag :
         {L"zh-CN", L"zh-TW", L"ZH_cn", L"zh", L"Zh-Hans", L"  zh-HK\t", L"zhuang"}) {
        EXPECT_EQ(NormalizeLocale(tag), L"zh-CN") << Utf8(tag);
    }
    for (const wchar_t* const tag :
         {L"en-US", L"fr-FR", L"chinese", L"cn", L"z", L"", L"  ", L"z h", L"-zh"}) {
        EXPECT_EQ(NormalizeLocale(tag), L"en-US") << Utf8(tag);
    }
}

class UiLocale : public DriveTest {
  public:
    // Stores text as it is, without a terminating null. Returns whether this user may do so.
    static bool Store(HKEY root, std::wstring_view text) {
        ScopedKey key;
        RegCreateKeyExW(root, L"Software\\Vorandel\\Kelvaro", 0, nullptr, 0, KEY_WRITE, nullptr,
                        key.Put(), nullptr);
        return key && RegSetValueExW(key.Get(), L"UILocale", 0, REG_SZ,
                                     reinterpret_cast<const BYTE*>(text.data()),
                                     static_cast<DWORD>(text.size() * sizeof(wchar_t))) == 0;
    }
};

TEST_F(UiLocale, FollowsTheSetting) {
    EXPECT_EQ(ReadRegistryLocale(), L"");
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L" ZH-tw ", L"zh-CN"}, {L"en-GB", L"en-US"}, {L"", L"en-US"}, {L"%LANG%", L"en-US"}};
    for (const auto& [setting, locale] : cases) {
        for (const DWORD type : std::initializer_list<DWORD>{REG_SZ, REG_EXPAND_SZ}) {
            SetLocale(setting, type);
            EXPECT_EQ(ReadRegistryLocale(), locale) << Utf8(setting);
            EXPECT_EQ(GetUiLocale(), locale) << Utf8(setting);
        }
    }
}

TEST_F(UiLocale, IgnoresUnusableSettings) {
    for (const DWORD type :
         std::initializer_list<DWORD>{REG_DWORD, REG_MULTI_SZ, REG_BINARY, REG_NONE}) {
        SetLocale(L"zh", type);
        EXPECT_EQ(ReadRegistryLocale(), L"") << type;
    }
    SetLocale(L"zh" + std::wstring(61, L' '));
    EXPECT_EQ(ReadRegistryLocale(), L"zh-CN") << "63 characters and the null just fit";
    SetLocale(L"zh" + std::wstring(62, L' '));
    EXPECT_EQ(ReadRegistryLocale(), L"");
    EXPECT_EQ(GetUiLocale(), LocaleOfDisplayLanguage(GetUserDefaultUILanguage()));
}

TEST_F(UiLocale, ReadsUnterminatedSettings) {
    // RegSetValueExW also stores a null that follows the data, so a letter follows. Without the
    // last stored letter the setting would not be Chinese.
    const std::wstring full = std::wstring(62, L' ') + L"zhx";
    EXPECT_TRUE(Store(HKEY_CURRENT_USER, std::wstring_view(full).substr(0, 64)));
    EXPECT_EQ(ReadRegistryLocale(), L"zh-CN");
    EXPECT_TRUE(Store(HKEY_CURRENT_USER, {L"z\0h", 3}));
    EXPECT_EQ(ReadRegistryLocale(), L"en-US");
}

TEST(DisplayLanguage, SelectsChineseForEveryChineseOne) {
    for (const LANGID language :
         std::initializer_list<LANGID>{0x0004, 0x0404, 0x0804, 0x0C04, 0x1004, 0x1404, 0x7C04}) {
        EXPECT_EQ(LocaleOfDisplayLanguage(language), L"zh-CN") << language;
    }
    // English, Turkish, none; the last ones share only some bits with Chinese.
    for (const LANGID language :
         std::initializer_list<LANGID>{0x0409, 0x041F, 0x0000, 0x0005, 0x0014, 0x0104, 0x0204}) {
        EXPECT_EQ(LocaleOfDisplayLanguage(language), L"en-US") << language;
    }
}

TEST_F(UiLocale, FollowsTheDisplayLanguageOnlyWithoutASetting) {
    EXPECT_EQ(GetUiLocale(), LocaleOfDisplayLanguage(GetUserDefaultUILanguage()));
#ifndef _WIN32
    EXPECT_TRUE(Store(HKEY_LOCAL_MACHINE, L"zh")) << "the machine's setting does not count";
    for (const auto& [variable, locale] :
         {std::pair("zh_TW.UTF-8", L"zh-CN"), std::pair("de_DE.UTF-8", L"en-US")}) {
        setenv("LC_ALL", variable, 1);
        SetLocale(L" ");
        EXPECT_EQ(GetUiLocale(), L"en-US") << "a present setting wins";
        RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Vorandel");
        EXPECT_EQ(GetUiLocale(), locale) << variable;
    }
#endif
}

}  // namespace
}  // namespace kelvaro
