#include "i18n/texts.h"

#include "i18n/language_file.h"
#include "i18n/languages.h"
#include "support/fixture.h"

namespace kelvaro {
namespace {

TEST(FillProductName, ReplacesTheFirstPlaceholder) {
    const struct {
        const wchar_t *text, *filled;
    } cases[] = {{L"Lock with {product}", L"Lock with P{product}"},
                 {L"{product}{product}", L"P{product}{product}"},
                 {L"{Product} {product", L"{Product} {product"},
                 {L"", L""}};
    for (const auto& [text, filled] : cases) {
        EXPECT_EQ(FillProductName(text, L"P{product}"), filled) << Utf8(text);
    }
}

class Texts : public DriveTest {
  public:
    Texts() {
        InstallLibrary();
        SetLocale(L"en-US");
    }
    static void WriteEnglish(std::string_view bytes) { Write(kEnglishFile, bytes); }
};

TEST_F(Texts, FallBackToTheDefaults) {
    for (const std::string_view content :
         {"", "[Other]\nmenu.lock=x", "\xFF\xFE", "\xEF\xBB\xBF"}) {
        WriteEnglish(content);
        EXPECT_EQ(GetMenuText(false), L"Lock with Vorandel Kelvaro");
        EXPECT_EQ(GetMenuText(true), L"Unlock with Vorandel Kelvaro");
        EXPECT_EQ(GetHelpText(), L"Toggle lock state via Vorandel Kelvaro");
        EXPECT_EQ(LoadText(kPromptNotFound), L"Cannot find KelvaroAuthPrompt.exe.");
        EXPECT_EQ(LoadText(kLaunchFailed), L"Failed to launch Kelvaro command.");
    }
}

// See "What hosts can rely on" in docs/architecture.md.
TEST_F(Texts, ReflectChangesOfTheLanguageFile) {
    WriteEnglish("[product]\nPRODUCT SHORT NAME=Kel\n[shellext]\nmenu.lock={product}: lock\n");
    EXPECT_EQ(GetMenuText(false), L"Kel: lock");
    EXPECT_EQ(GetMenuText(true), L"Unlock with Kel");
    WriteEnglish("[Product]\nProduct short Name=\n[ShellExt]\nhelp=\nmenu.unlock=\n");
    EXPECT_EQ(GetMenuText(false), L"Lock with ");
    EXPECT_EQ(GetMenuText(true), L"");
    EXPECT_EQ(GetHelpText(), L"");
    WriteEnglish(std::string(1 << 21, '\n') + "[ShellExt]\nmenu.lock=");
    EXPECT_EQ(GetMenuText(false), L"");
}

// The shipped files have every text, with a placeholder where the default has one.
TEST(LanguageFiles, AreComplete) {
    for (const Language& language : kLanguages) {
        const std::wstring name(language.fileName);
        const std::wstring path = platform::BuiltFile(KELVARO_LANGUAGE_FILES) + L"\\" + name;
        const std::wstring text = ReadLanguageText(path);
        ASSERT_FALSE(text.empty()) << Utf8(path);
        for (const TextKey& key :
             {kProductName, kMenuLock, kMenuUnlock, kHelp, kPromptNotFound, kLaunchFailed}) {
            const auto value = FindIniValue(text, key.section, key.key);
            ASSERT_TRUE(value && !value->empty()) << Utf8(key.key) << " in " << Utf8(name);
            const bool named = key.defaultText.find(L"{product}") != std::wstring_view::npos;
            EXPECT_EQ(value->find(L"{product}") != std::wstring_view::npos, named)
                << Utf8(key.key) << " in " << Utf8(name);
        }
    }
}

}  // namespace
}  // namespace kelvaro
