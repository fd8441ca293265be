// Files and requests that nobody sends by mistake.

#include <string>

#include "i18n/language_file.h"
#include "rules/lock_lookup.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/message_boxes.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#endif

namespace kelvaro {
namespace {

constexpr wchar_t kTool[] = L"C:\\Apps\\Tool.exe";
constexpr wchar_t kEnglish[] = L"C:\\Program Files\\Kelvaro\\Lang\\English.ini";
constexpr char kRule[] = R"({"type":"exe","target":"C:\\Apps\\Tool.exe"})";

class Hostile : public DriveTest {
  public:
    Hostile() {
        InstallLibrary();
        SetLocale(L"en-US");
        WriteRules(kRule);
        Write(kEnglish, "[ShellExt]\nmenu.lock=Found\nmenu.unlock=Found\n");
    }

    // A whole menu has to come of it whatever the files are; the item's text.
    static std::string RightClick() {
        Extension extension;
        EXPECT_EQ(extension.Select({kTool}), S_OK);
        return Narrow(extension.MenuText());
    }
};

TEST_F(Hostile, FilesThatAreDirectories) {
    for (const wchar_t* const path : {kRules, kEnglish, kLog}) {
        DeleteFileW(path);
        MakeDirectory(path);
    }
    EXPECT_EQ(RightClick(), "Lock with Vorandel Kelvaro");
}

TEST_F(Hostile, FilesThatOthersKeepToThemselves) {
    Write(kLog, "");
    HANDLE holders[3] = {};
    size_t held = 0;
    for (const wchar_t* const path : {kRules, kEnglish, kLog}) {
        holders[held++] =
            CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    }
    EXPECT_EQ(RightClick(), "Lock with Vorandel Kelvaro");
    for (const HANDLE holder : holders) {
        EXPECT_TRUE(CloseHandle(holder));
    }
    EXPECT_EQ(RightClick(), "Found");
    EXPECT_TRUE(IsTargetLocked(kTool));
}

TEST_F(Hostile, TextsWithEverythingInThem) {
    const struct {
        const char* what;
        std::string bytes;
    } cases[] = {
        {"zero bytes", std::string(100'000, '\0')},
        {"a line without end", "[ShellExt]" + std::string(8'000'000, 'x')},
        {"a million sections",
         [] {
             std::string text;
             for (int section = 0; section < 1'000'000; ++section) {
                 text += "[s]\n";
             }
             return text;
         }()},
        {"brackets", std::string(1'000'000, '[')},
        {"half a unit", "\xFF\xFE["},
    };
    for (const auto& [what, bytes] : cases) {
        Write(kEnglish, bytes);
        EXPECT_EQ(RightClick(), "Unlock with Vorandel Kelvaro") << what;
    }
    Write(kEnglish, "[ShellExt]\nmenu.unlock=" + std::string(100'000, 'y'));
    EXPECT_EQ(RightClick(), std::string(511, 'y')) << "the menu takes what it can show";
}

TEST_F(Hostile, ShortcutsWithLengthsThatLie) {
    const std::string good =
        Read(platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\tool.lnk");
    const std::wstring path = L"C:\\Test\\bad.lnk";
    // The item list's, an item's and the link info's length.
    for (const size_t at : {size_t{76}, size_t{78}, size_t{241}}) {
        for (const char* const lie : {"\xFF\xFF", "\x01\x00", "\x00\x00"}) {
            std::string bad = good;
            bad.replace(at, 2, lie, 2);
            Write(path, bad);
            Extension extension;
            EXPECT_EQ(extension.Select({path}), S_OK) << at;
            EXPECT_EQ(Narrow(extension.MenuText()), "Found") << at;
        }
    }
    Write(path, std::string(size_t{64} << 20, '\x4C'));
    Extension extension;
    EXPECT_EQ(extension.Select({path}), S_OK);
    EXPECT_EQ(Messages().back(), "Initialize resolve target failed: C:\\Test\\bad.lnk");
}

#ifndef _WIN32

// Whatever is read of a file that changes meanwhile, something is answered.
TEST_F(Hostile, FilesThatAreCutWhileTheyAreRead) {
    std::atomic<bool> done = false;
    std::thread writer([&done] {
        const auto native = platform::NativePath(kRules);
        std::string large = kRule;
        large.resize(size_t{4} << 20, ' ');
        while (!done) {
            Write(kRules, large);
            EXPECT_EQ(truncate(native.c_str(), 10), 0);
        }
    });
    for (int count = 0; count < 300; ++count) {
        IsTargetLocked(kTool);
    }
    done = true;
    writer.join();
    WriteRules(kRule);
    EXPECT_TRUE(IsTargetLocked(kTool));
}

// Only the host can make files of holes and links in circles without rights of an administrator.
TEST_F(Hostile, FilesOfTwoGibibytes) {
    for (const wchar_t* const path : {kEnglish, kRules}) {
        ASSERT_EQ(truncate(platform::NativePath(path).c_str(), off_t{1} << 31), 0);
    }
    EXPECT_EQ(ReadLanguageText(kEnglish), L"");
#ifndef KELVARO_INSTRUMENTED
    // The rule stands before the hole, and has to be found.
    EXPECT_EQ(RightClick(), "Unlock with Vorandel Kelvaro");
#endif
}

TEST_F(Hostile, LinksInACircle) {
    for (const wchar_t* const path : {kRules, kEnglish, kLog}) {
        const auto native = platform::NativePath(path);
        DeleteFileW(path);
        MakeDirectory(std::wstring(path, std::wstring_view(path).rfind(L'\\')));
        ASSERT_EQ(symlink(native.filename().c_str(), native.c_str()), 0);
    }
    EXPECT_EQ(RightClick(), "Lock with Vorandel Kelvaro");
}

TEST_F(Hostile, FilesWithoutTheRightToReadThem) {
    for (const wchar_t* const path : {kRules, kEnglish}) {
        chmod(platform::NativePath(path).c_str(), 0);
    }
    EXPECT_EQ(RightClick(), "Lock with Vorandel Kelvaro");
}

#endif

}  // namespace
}  // namespace kelvaro
