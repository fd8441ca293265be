// The built library with the shell and the tools of Windows or Wine.

#include <windows.h>

#include <shlobj.h>

#include "common/owners.h"
#include "rightclick/right_click.h"
#include "shell_host/library.h"
#include "shell_host/popup_menu.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/imports.h"
#include "support/prompt.h"
#include "support/thread.h"

namespace kelvaro {
namespace {

class WindowsShell : public DriveTest {
  public:
    WindowsShell() {
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        InstallPrompt(kPrompt);
        InstallPrompt(kProgram);
        SetLocale(L"en-US");
        EXPECT_EQ(RegSvr32(L"/s"), 0U);
    }
    ~WindowsShell() override {
        for (int removals = 0; removals < 2; ++removals) {
            EXPECT_EQ(RegSvr32(L"/s /u"), 0U);
            EXPECT_FALSE(rightclick::FindHandler(L"exefile"));
            EXPECT_FALSE(rightclick::FindHandler(L"lnkfile"));
        }
    }

    static DWORD RegSvr32(const std::wstring& switches) {
        return platform::RunToEnd(L"regsvr32 " + switches + L" \"" + kLibrary + L"\"");
    }

    // Right-clicks as registered, with the shell's own data object. Returns the first message.
    static std::string RightClick(const std::wstring& file, bool choose = false) {
        DeleteFileW(kLog);
        const auto outcome = RightClickAsRegistered(file, choose);
        EXPECT_TRUE(outcome.shellSelection && outcome.item) << Utf8(file);
        const Strings messages = Messages();
        return messages.empty() ? "" : messages[0];
    }
};

TEST_F(WindowsShell, HandlesTheShellsDataObjectsAndShortcuts) {
    const std::string program = Utf8(kProgram);
    EXPECT_EQ(RightClick(kProgram, true),
              "Initialize ok selected=" + program + " target=" + program + " locked=0");
    EXPECT_TRUE(WaitForPrompt(1).commandLine.ends_with('"' + program + '"'));
    platform::MakeShortcut(kShortcut, kProgram.c_str());
    EXPECT_EQ(RightClick(kShortcut, true),
              "Initialize ok selected=" + Utf8(kShortcut) + " target=" + program + " locked=1");
    EXPECT_TRUE(WaitForPrompt(2).commandLine.ends_with('"' + Utf8(kShortcut) + '"'));

    platform::MakeShortcut(kShortcut, TestPath().c_str());
    const std::string noTarget = "Initialize resolve target failed: " + Utf8(kShortcut);
    EXPECT_EQ(RightClick(kShortcut), noTarget);
    LPITEMIDLIST controls = nullptr;
    ASSERT_EQ(SHGetSpecialFolderLocation(nullptr, CSIDL_CONTROLS, &controls), S_OK);
    platform::MakeShortcut(kShortcut, nullptr, controls);
    CoTaskMemFree(controls);
    EXPECT_EQ(RightClick(kShortcut), noTarget);

    // Wine's link object prefixes such a target with the current directory. The variable must not
    // be expanded.
    platform::MakeShortcut(kShortcut, L"%windir%\\notepad.exe");
    const std::string message = RightClick(kShortcut);
    EXPECT_TRUE(message.ends_with("%windir%\\notepad.exe locked=0")) << message;
}

// Returns the items of the menu that the shell builds for a file, one to a line.
std::string ShellMenuTexts(const std::wstring& file) {
    LPITEMIDLIST item = nullptr;
    ComPtr<IShellFolder> folder;
    LPCITEMIDLIST child = nullptr;
    ComPtr<IContextMenu> menu;
    EXPECT_EQ(SHParseDisplayName(file.c_str(), nullptr, &item, 0, nullptr), S_OK);
    EXPECT_EQ(SHBindToParent(item, IID_IShellFolder, folder.Put(), &child), S_OK);
    EXPECT_EQ(folder->GetUIObjectOf(nullptr, 1, &child, IID_IContextMenu, nullptr, menu.Put()),
              S_OK);
    CoTaskMemFree(item);
    const shell_host::PopupMenu popup;
    EXPECT_GE(menu->QueryContextMenu(popup.Handle(), 0, 1, 0x7FFF, CMF_NORMAL), 0);
    std::wstring texts;
    for (int at = 0; at < popup.Count(); ++at) {
        texts += popup.Text(static_cast<UINT>(at)) + L'\n';
    }
    return Utf8(texts);
}

TEST_F(WindowsShell, MenusOfTheShellHaveTheItem) {
    if (platform::IsWine()) {
        GTEST_SKIP() << "menus of Wine's shell have no items of handlers";
    }
    if (IsUserAnAdmin()) {
        GTEST_SKIP() << "COM ignores the user's registration in an elevated process";
    }
    platform::MakeShortcut(kShortcut, kProgram.c_str());
    for (const std::wstring& file : {kProgram, kShortcut}) {
        EXPECT_PRED2(Contains, ShellMenuTexts(file), "Lock with Vorandel Kelvaro\n");
    }
    CoFreeUnusedLibrariesEx(0, 0);  // otherwise COM can keep the library open
}

int g_entries = 0;

BOOL WINAPI CountEntry(HINSTANCE, DWORD, LPVOID) {
    ++g_entries;
    return TRUE;
}

// Explorer starts and ends threads all the time.
TEST_F(WindowsShell, ThreadsOfTheHostDoNotEnterTheLibrary) {
    const shell_host::Library library(kLibrary);
    BYTE* const base = reinterpret_cast<BYTE*>(library.Handle());
    const auto* const nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    ReplaceCode(base + nt->OptionalHeader.AddressOfEntryPoint,
                reinterpret_cast<void*>(&CountEntry));
    RunOnThread([] {});
    EXPECT_EQ(g_entries, 0);
    EXPECT_TRUE(DisableThreadLibraryCalls(library.Handle()))
        << "Windows refuses a DLL with thread-local storage";
}

}  // namespace
}  // namespace kelvaro
