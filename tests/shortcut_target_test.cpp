#include "menu/shortcut_target.h"

#include "support/fixture.h"

namespace kelvaro {
namespace {

using Shortcut = DriveTest;

std::wstring Saved(const std::wstring& name) {
    return platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\" + name;
}

TEST_F(Shortcut, AProgramIsItsOwnTarget) {
    for (const wchar_t* const path :
         {L"D:\\Games\\Run.Exe", L"run.exe", L".EXE", L"C:\\\u5DE5\u5177.exe"}) {
        EXPECT_EQ(ResolveShortcutTarget(path), path);
    }
    for (const wchar_t* const path :
         {L"", L"C:\\readme.txt", L"C:\\Tool.exe.bak", L"C:\\Tool.lnkx", L"C:\\Apps\\", L"exe"}) {
        EXPECT_EQ(ResolveShortcutTarget(path), L"") << Narrow(path);
    }
}

TEST_F(Shortcut, ItsStoredTargetCountsWhenThatIsAProgram) {
    const struct {
        const wchar_t *name, *target;
    } cases[] = {
        {L"tool.lnk", L"C:\\Apps\\Tool.exe"},
        {L"arguments.lnk", L"C:\\Apps\\Tool.exe"},
        {L"folder.lnk", L""},
        {L"document.lnk", L""},
        {L"backup.lnk", L""},
        {L"control_panel.lnk", L""},
    };
    for (const auto& [name, target] : cases) {
        EXPECT_EQ(Narrow(ResolveShortcutTarget(Saved(name))), Narrow(target)) << Narrow(name);
    }
}

// Windows gives the stored form with its variable. Wine's link object does not know of it.
TEST_F(Shortcut, EnvironmentVariablesStay) {
#ifdef _WIN32
    constexpr wchar_t kExpected[] = L"C:\\windows\\notepad.exe";
#else
    constexpr wchar_t kExpected[] = L"%windir%\\notepad.exe";
#endif
    EXPECT_EQ(Narrow(ResolveShortcutTarget(Saved(L"environment.lnk"))), Narrow(kExpected));
}

// Windows takes the long name of the item list. Wine takes the 8-bit path beside it, which has
// question marks for what the code page lacks.
TEST_F(Shortcut, NamesOfAnyScript) {
#ifdef _WIN32
    constexpr wchar_t kExpected[] = L"C:\\Apps\\??.exe";
#else
    constexpr wchar_t kExpected[] = L"C:\\Apps\\\u5DE5\u5177.exe";
#endif
    EXPECT_EQ(Narrow(ResolveShortcutTarget(Saved(L"chinese.lnk"))), Narrow(kExpected));
}

TEST_F(Shortcut, WhatIsNoShortcutHasNoTarget) {
    const std::string good = Read(Saved(L"tool.lnk"));
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
        EXPECT_EQ(Narrow(ResolveShortcutTarget(L"C:\\Test\\bad.lnk")), "") << bytes.size();
    }
}

}  // namespace
}  // namespace kelvaro
