#include "i18n/texts.h"

#include "common/owners.h"
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
    const auto expectDefaults = [](std::string_view file) {
        EXPECT_EQ(GetMenuText(false), L"Lock with Vorandel Kelvaro") << file;
        EXPECT_EQ(GetMenuText(true), L"Unlock with Vorandel Kelvaro") << file;
        EXPECT_EQ(GetHelpText(), L"Toggle lock state via Vorandel Kelvaro") << file;
        EXPECT_EQ(LoadText(kPromptNotFound), L"Cannot find KelvaroAuthPrompt.exe.") << file;
        EXPECT_EQ(LoadText(kLaunchFailed), L"Failed to launch Kelvaro command.") << file;
    };
    MakeDirectory(kEnglishFile);
    expectDefaults("a directory");
    RemoveDirectoryW(kEnglishFile.c_str());
    const std::string files[] = {"",
                                 "[Other]\nmenu.lock=x",
                                 "\xFF\xFE",
                                 "\xFF\xFE[",
                                 "\xEF\xBB\xBF",
                                 std::string(100'000, '\0'),
                                 "[ShellExt]" + std::string(2'000'000, 'x')};
    for (const std::string& file : files) {
        WriteEnglish(file);
        expectDefaults(std::string_view(file).substr(0, 30));
    }
    WriteEnglish("[ShellExt]\nmenu.lock=x\nmenu.unlock=x");
#ifdef _WIN32
    const ScopedHandle holder(
        CreateFileW(kEnglishFile.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    expectDefaults("opened exclusively");
#else
    // On Windows the file would take up two gibibytes of the disk.
    std::filesystem::resize_file(platform::NativePath(kEnglishFile), uintmax_t{1} << 31);
    expectDefaults("two gibibytes");
#endif
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
