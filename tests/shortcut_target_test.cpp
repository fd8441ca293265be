#include "menu/shortcut_target.h"

#include "common/owners.h"
#include "support/fixture.h"

namespace kelvaro {
namespace {

using namespace std::string_literals;

using Shortcut = DriveTest;

TEST_F(Shortcut, AProgramIsItsOwnTarget) {
    MakeDirectory(TestPath(L"folder.exe"));
    for (const std::wstring& path : std::vector<std::wstring>{
             L"D:\\Games\\Run.Exe", L"run.exe", L".EXE", L" a.exe", L"C:\\\u5DE5\u5177.exe",
             TestPath(L"folder.exe"), TestPath(L"folder.exe\\a.exe")}) {
        EXPECT_EQ(ResolveShortcutTarget(path), path);
    }
    for (const wchar_t* const path :
         {L"", L"C:\\readme.txt", L"C:\\Tool.exe.bak", L"C:\\Tool.lnkx", L"C:\\Apps\\", L"exe",
          L"C:\\x.exe\\a.txt", L"C:\\Toolexe", L"C:\\Tool.com", L"C:\\Tool.exe "}) {
        EXPECT_EQ(ResolveShortcutTarget(path), L"") << Utf8(path);
    }
}

TEST_F(Shortcut, OnlyWholeTargetsThatEndInExeCount) {
    const std::string longest = "C:\\" + std::string(252, 'n') + ".exe";
    const struct {
        std::string stored, target;
    } cases[] = {{"C:\\Apps\\Missing.EXE", "C:\\Apps\\Missing.EXE"},
                 {" C:\\Apps\\A  b .exe", " C:\\Apps\\A  b .exe"},
                 {"C:\\Apps\\Tool.lnk", ""},
                 {"C:\\Apps\\Tool.exe.bak", ""},
                 {"C:\\Apps\\Toolexe", ""},
                 {"C:\\Apps\\Tool.com", ""},
                 {"C:\\Apps\\Tool.exe\\", ""},
                 {"C:\\Apps\\Tool.exe ", ""},
                 {longest, longest},
                 {longest + ".bak", longest},  // cut to 259 characters
                 {"C:\\n" + longest.substr(3), ""}};
    for (const auto& [stored, target] : cases) {
        WriteShortcut(kShortcut, {stored.begin(), stored.end()});
        EXPECT_EQ(Utf8(ResolveShortcutTarget(kShortcut)), target) << stored;
    }
}

TEST_F(Shortcut, ReturnsStoredTargetsThatArePrograms) {
    struct Case {
        const wchar_t *name, *target;
    };
    std::vector<Case> cases = {
        {L"tool.lnk", kTool},   {L"arguments.lnk", kTool}, {L"folder.lnk", L""},
        {L"document.lnk", L""}, {L"backup.lnk", L""},      {L"control_panel.lnk", L""},
    };
    if (!platform::IsWine()) {  // Wine expands variables and loses characters
        cases.push_back({L"environment.lnk", L"%windir%\\notepad.exe"});
        cases.push_back({L"chinese.lnk", L"C:\\Apps\\\u5DE5\u5177.exe"});
    }
    for (const auto& [name, target] : cases) {
        EXPECT_EQ(Utf8(ResolveShortcutTarget(SavedShortcut(name))), Utf8(target)) << Utf8(name);
    }
}

TEST_F(Shortcut, DamagedFilesHaveNoTarget) {
    const std::string good = Read(SavedShortcut(L"tool.lnk"));
    Write(TestPath(L"good.LNK"), good);
    {
        const ScopedHandle reader(CreateFileW(TestPath(L"good.LNK").c_str(), GENERIC_READ,
                                              FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_EQ(ResolveShortcutTarget(TestPath(L"good.LNK")), kTool) << "needs only read access";
    }
    EXPECT_EQ(ResolveShortcutTarget(TestPath(L"missing.lnk")), L"");
    MakeDirectory(TestPath(L"directory.lnk"));
    EXPECT_EQ(ResolveShortcutTarget(TestPath(L"directory.lnk")), L"");
    std::string wrongClass = good;
    wrongClass[4] = '\x02';
    std::string wrongSize = good;
    wrongSize[0] = '\x4D';
    for (const std::string& bytes :
         {std::string(), std::string("text"), good.substr(0, 70), good.substr(0, 100), wrongClass,
          wrongSize, std::string(1 << 20, 'L')}) {
        Write(TestPath(L"bad.lnk"), bytes);
        EXPECT_EQ(Utf8(ResolveShortcutTarget(TestPath(L"bad.lnk"))), "") << bytes.size();
    }
}

}  // namespace
}  // namespace kelvaro
