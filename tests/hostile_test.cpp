// Damaged, huge, locked and changing files.

#include <string>

#include "common/owners.h"
#include "i18n/language_file.h"
#include "rules/lock_lookup.h"
#include "support/extension.h"
#include "support/fixture.h"

#ifndef _WIN32
#include <unistd.h>
#endif

namespace kelvaro {
namespace {

class Hostile : public DriveTest {
  public:
    Hostile() {
        InstallLibrary();
        SetLocale(L"en-US");
        WriteRules(kToolRule);
        Write(kEnglishFile, "[ShellExt]\nmenu.lock=Found\nmenu.unlock=Found\n");
    }

    // Builds a menu for kTool. Returns the text of the item.
    static std::string RightClick() {
        Extension extension;
        EXPECT_EQ(extension.Select({kTool}), S_OK);
        return Utf8(extension.MenuText());
    }
};

TEST_F(Hostile, DirectoriesInPlaceOfFilesGiveDefaultTexts) {
    for (const std::wstring& path : {std::wstring(kRules), kEnglishFile, std::wstring(kLog)}) {
        DeleteFileW(path.c_str());
        MakeDirectory(path);
    }
    EXPECT_EQ(RightClick(), "Lock with Vorandel Kelvaro");
}

#ifdef _WIN32

TEST_F(Hostile, FilesOpenedExclusivelyGiveDefaultTexts) {
    Write(kLog, "");
    {
        const auto hold = [](const std::wstring& path) {
            return CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        };
        const ScopedHandle rules(hold(kRules));
        const ScopedHandle texts(hold(kEnglishFile));
        const ScopedHandle lines(hold(kLog));
        EXPECT_TRUE(rules && texts && lines);
        EXPECT_EQ(RightClick(), "Lock with Vorandel Kelvaro");
    }
    EXPECT_EQ(RightClick(), "Found");
    EXPECT_TRUE(IsTargetLocked(kTool));
}

#endif

TEST_F(Hostile, UnusableLanguageFilesGiveDefaultTexts) {
    std::string sections;
    for (int section = 0; section < 1'000'000; ++section) {
        sections += "[s]\n";
    }
    const struct {
        const char* what;
        std::string bytes;
    } cases[] = {
        {"zero bytes", std::string(100'000, '\0')},
        {"one long line", "[ShellExt]" + std::string(8'000'000, 'x')},
        {"a million sections", sections},
        {"an odd number of bytes", "\xFF\xFE["},
    };
    for (const auto& [what, bytes] : cases) {
        Write(kEnglishFile, bytes);
        EXPECT_EQ(RightClick(), "Unlock with Vorandel Kelvaro") << what;
    }
    Write(kEnglishFile, "[ShellExt]\nmenu.unlock=" + std::string(100'000, 'y'));
    EXPECT_EQ(RightClick(), std::string(511, 'y')) << "cut by GetMenuStringW";
}

#ifndef _WIN32

// Under Windows, sparse files need more rights.
TEST_F(Hostile, FilesOfTwoGibibytes) {
    for (const std::wstring& path : {kEnglishFile, std::wstring(kRules)}) {
        ASSERT_EQ(truncate(platform::NativePath(path).c_str(), off_t{1} << 31), 0);
    }
    EXPECT_EQ(ReadLanguageText(kEnglishFile), L"");
#ifndef KELVARO_INSTRUMENTED
    // Reads the whole file, which is too large for the sanitizers. The rule is at its start.
    EXPECT_EQ(RightClick(), "Unlock with Vorandel Kelvaro");
#endif
}

#endif

}  // namespace
}  // namespace kelvaro
