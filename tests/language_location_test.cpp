#include "i18n/language_location.h"

#include "common/module_path.h"
#include "common/path.h"
#include "server/module.h"
#include "support/fixture.h"

namespace kelvaro {
namespace {

constexpr wchar_t kSpecial[] = L"Lang_Harrowdelle_SpecialOffer";
constexpr wchar_t kEnglish[] = L"English.ini";
constexpr wchar_t kChinese[] = L"Chinese(Simplified).ini";

class LanguageLocation : public DriveTest {
  public:
    LanguageLocation() { InstallLibrary(); }

    static std::wstring InApplication(const std::wstring& name) {
        return JoinPath(kApplication, name);
    }
    static void Add(const std::wstring& folder, const std::wstring& file) {
        Write(InApplication(folder + L"\\" + file), "");
    }
    static void ExpectFile(const std::wstring& expected, const char* when) {
        EXPECT_EQ(Utf8(GetLanguageFilePath()), Utf8(InApplication(expected))) << when;
    }
};

TEST_F(LanguageLocation, PrefersTheFolderThatContainsTheFile) {
    const std::wstring special = std::wstring(kSpecial) + L"\\";
    const std::wstring standard = L"Lang\\";
    for (const auto& [locale, file, other] :
         {std::tuple(L"zh-CN", kChinese, kEnglish), std::tuple(L"en-US", kEnglish, kChinese)}) {
        std::filesystem::remove_all(platform::NativePath(InApplication(kSpecial)));
        std::filesystem::remove_all(platform::NativePath(InApplication(L"Lang")));
        SetLocale(locale);
        EXPECT_EQ(GetLanguageFileName(), file);
        ExpectFile(standard + file, "neither folder exists");
        MakeDirectory(InApplication(kSpecial));
        ExpectFile(special + file, "the special folder is empty");
        Add(kSpecial, other);
        ExpectFile(special + file, "the special folder has the other language");
        Add(L"Lang", other);
        ExpectFile(special + file, "both folders have only the other language");
        Add(L"Lang", file);
        ExpectFile(standard + file, "only the standard folder has the file");
        MakeDirectory(InApplication(special + file));
        ExpectFile(special + file, "both folders have the file, one as a directory");
    }
}

TEST_F(LanguageLocation, IsEmptyWithoutAModule) {
    g_moduleHandle = reinterpret_cast<HMODULE>(uintptr_t{0x10});
    EXPECT_EQ(GetModuleDirectory(g_moduleHandle), L"");
    EXPECT_EQ(GetLanguageFilePath(), L"");
}

}  // namespace
}  // namespace kelvaro
