#include "menu/shortcut_target.h"

#include "support/fixture.h"

namespace kelvaro {
namespace {

using Shortcut = DriveTest;

TEST_F(Shortcut, AProgramIsItsOwnTarget) {
    for (const wchar_t* const path :
         {L"D:\\Games\\Run.Exe", L"run.exe", L".EXE", L"C:\\\u5DE5\u5177.exe"}) {
        EXPECT_EQ(ResolveShortcutTarget(path), path);
    }
    for (const wchar_t* const path :
         {L"", L"C:\\readme.txt", L"C:\\Tool.exe.bak", L"C:\\Tool.lnkx", L"C:\\Apps\\", L"exe"}) {
        EXPECT_EQ(ResolveShortcutTarget(path), L"") << Utf8(path);
    }
}

#ifdef _WIN32
// Wine ignores the environment-variable block, and reads the 8-bit path instead of the item list.
constexpr wchar_t kEnvironmentTarget[] = L"C:\\windows\\notepad.exe";
constexpr wchar_t kChineseTarget[] = L"C:\\Apps\\??.exe";
#else
constexpr wchar_t kEnvironmentTarget[] = L"%windir%\\notepad.exe";
constexpr wchar_t kChineseTarget[] = L"C:\\Apps\\\u5DE5\u5177.exe";
#endif

TEST_F(Shortcut, ReturnsStoredTargetsThatArePrograms) {
    const struct {
        const wchar_t *name, *target;
    } cases[] = {
        {L"tool.lnk", kTool},
        {L"arguments.lnk", kTool},
        {L"environment.lnk", kEnvironmentTarget},
        {L"chinese.lnk", kChineseTarget},
        {L"folder.lnk", L""},
        {L"document.lnk", L""},
        {L"backup.lnk", L""},
        {L"control_panel.lnk", L""},
    };
    for (const auto& [name, target] : cases) {
        EXPECT_EQ(Utf8(ResolveShortcutTarget(SavedShortcut(name))), Utf8(target)) << Utf8(name);
    }
}

TEST_F(Shortcut, DamagedFilesHaveNoTarget) {
    const std::string good = Read(SavedShortcut(L"tool.lnk"));
    Write(L"C:\\Test\\good.LNK", good);
    EXPECT_EQ(ResolveShortcutTarget(L"C:\\Test\\good.LNK"), L"C:\\Apps\\Tool.exe");
    EXPECT_EQ(ResolveShortcutTarget(L"C:\\Test\\missing.lnk"), L"");
    MakeDirectory(L"C:\\Test\\directory.lnk");
    EXPECT_EQ(ResolveShortcutTarget(L"C:\\Test\\directory.lnk"), L"");
    std::string wrongClass = good;
    wrongClass[4] = '\x02';
    std::string wrongSize = good;
    wrongSize[0] = '\x4D';
    for (const std::string& bytes :
         {std::string(), std::string("text"), good.substr(0, 70), good.substr(0, 100), wrongClass,
          wrongSize, std::string(1 << 20, 'L')}) {
        Write(L"C:\\Test\\bad.lnk", bytes);
        EXPECT_EQ(Utf8(ResolveShortcutTarget(L"C:\\Test\\bad.lnk")), "") << bytes.size();
    }
}

}  // namespace
}  // namespace kelvaro
