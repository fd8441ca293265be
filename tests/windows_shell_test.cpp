// The built library with the shell and the tools of Windows or Wine.

#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include "common/owners.h"
#include "common/path.h"
#include "registration/registration.h"
#include "rightclick/library.h"
#include "rightclick/right_click.h"
#include "server/clsid.h"
#include "support/fixture.h"
#include "support/prompt.h"

namespace kelvaro {
namespace {

using Strings = std::vector<std::string>;

// Runs a command line and returns its exit code, or the error if it does not start.
DWORD RunToEnd(std::wstring commandLine) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        return GetLastError();
    }
    const ScopedHandle processHandle(process.hProcess);
    const ScopedHandle threadHandle(process.hThread);
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    return code;
}

// Creates a shortcut to a path or to a shell item with the shell's own link object.
void MakeShortcut(const std::wstring& file, const wchar_t* target, LPCITEMIDLIST item = nullptr) {
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> saver;
    ASSERT_EQ(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                               link.Put()),
              S_OK);
    ASSERT_GE(item == nullptr ? link->SetPath(target) : link->SetIDList(item), S_OK);
    ASSERT_EQ(link->QueryInterface(IID_IPersistFile, saver.Put()), S_OK);
    ASSERT_EQ(saver->Save(file.c_str(), TRUE), S_OK);
}

class WindowsShell : public DriveTest {
  public:
    explicit WindowsShell(const std::wstring& directory = kApplication)
        : library_(JoinPath(directory, L"KelvaroShellExt.dll")) {
        MakeDirectory(L"C:\\Test");
        Copy(platform::BuiltFile(KELVARO_LIBRARY), library_);
        InstallPrompt(JoinPath(directory, L"KelvaroAuthPrompt.exe"));
        InstallPrompt(kTool);
        SetLocale(L"en-US");
    }

    DWORD RegSvr32(const std::wstring& switches) const {
        return RunToEnd(L"regsvr32 " + switches + L" \"" + library_ + L"\"");
    }

    // Right-clicks as registered, with the shell's own data object. Returns the first message.
    static std::string RightClick(const std::wstring& file, bool choose = false) {
        DeleteFileW(kLog);
        const auto handler = rightclick::FindHandler(rightclick::ClassOfFile(file));
        rightclick::Options options;
        options.files = {file};
        options.choose = choose;
        const auto outcome =
            handler ? rightclick::RightClick(*handler, options) : rightclick::Outcome{};
        EXPECT_TRUE(outcome.shellSelection) << Utf8(file);
        EXPECT_TRUE(outcome.item) << Utf8(file);
        EXPECT_EQ(outcome.canUnload, S_OK);
        const Strings messages = Messages();
        return messages.empty() ? "" : messages[0];
    }

    const std::wstring library_;
};

TEST_F(WindowsShell, RegistersAndUnregistersWithRegsvr32) {
    EXPECT_EQ(RegSvr32(L"/s"), 0U);
    ASSERT_TRUE(rightclick::FindHandler(L"exefile"));
    EXPECT_EQ(rightclick::FindHandler(L"lnkfile")->library, library_);
    for (int removals = 0; removals < 2; ++removals) {
        EXPECT_EQ(RegSvr32(L"/s /u"), 0U);
        EXPECT_FALSE(rightclick::FindHandler(L"exefile"));
        EXPECT_FALSE(rightclick::FindHandler(L"lnkfile"));
    }
}

TEST_F(WindowsShell, HandlesTheShellsDataObjectsAndShortcuts) {
    ASSERT_EQ(RegSvr32(L"/s"), 0U);
    EXPECT_EQ(RightClick(kTool, true),
              "Initialize ok selected=C:\\Apps\\Tool.exe target=C:\\Apps\\Tool.exe locked=0");
    EXPECT_TRUE(WaitForPrompt(1).commandLine.ends_with("\"C:\\Apps\\Tool.exe\""));
    MakeShortcut(L"C:\\Test\\Tool.lnk", kTool);
    EXPECT_EQ(RightClick(L"C:\\Test\\Tool.lnk", true),
              "Initialize ok selected=C:\\Test\\Tool.lnk target=C:\\Apps\\Tool.exe locked=1");
    EXPECT_TRUE(WaitForPrompt(2).commandLine.ends_with("\"C:\\Test\\Tool.lnk\""));

    MakeShortcut(L"C:\\Test\\Folder.lnk", L"C:\\Apps");
    EXPECT_EQ(RightClick(L"C:\\Test\\Folder.lnk"),
              "Initialize resolve target failed: C:\\Test\\Folder.lnk");
    LPITEMIDLIST controls = nullptr;
    ASSERT_EQ(SHGetSpecialFolderLocation(nullptr, CSIDL_CONTROLS, &controls), S_OK);
    MakeShortcut(L"C:\\Test\\Controls.lnk", nullptr, controls);
    CoTaskMemFree(controls);
    EXPECT_EQ(RightClick(L"C:\\Test\\Controls.lnk"),
              "Initialize resolve target failed: C:\\Test\\Controls.lnk");

    // Wine's link object prefixes such a target with the current directory. The variable must not
    // be expanded.
    MakeShortcut(L"C:\\Test\\Variable.lnk", L"%windir%\\notepad.exe");
    const std::string message = RightClick(L"C:\\Test\\Variable.lnk");
    EXPECT_TRUE(message.ends_with("%windir%\\notepad.exe locked=0")) << message;
    EXPECT_EQ(RegSvr32(L"/s /u"), 0U);
}

// Before Wine's shell opens a file, it calls the machine's handlers whose key is named by their
// class identifier. It requests the default item only, so the extension adds none.
TEST_F(WindowsShell, TheShellItselfLoadsTheLibrary) {
    constexpr wchar_t kClass[] = L"KelvaroTest";
    ASSERT_EQ(RegisterUnderRoot(HKEY_CLASSES_ROOT, L"", kClsidText, library_), S_OK);
    const std::wstring handlers = JoinPath(kClass, L"shellex\\ContextMenuHandlers");
    WriteRegistryString(HKEY_CLASSES_ROOT, JoinPath(handlers, kClsidText), L"", L"");
    MakeShortcut(L"C:\\Test\\Tool.lnk", kTool);
    Write(L"C:\\Test\\None.exe", "not a program, so nothing starts");
    WriteRegistryString(HKEY_CLASSES_ROOT, L".exe", L"", kClass);
    WriteRegistryString(HKEY_CLASSES_ROOT, L".lnk", L"", kClass);
    for (const wchar_t* const file : {L"C:\\Test\\None.exe", L"C:\\Test\\Tool.lnk"}) {
        SHELLEXECUTEINFOW request = {};
        request.cbSize = sizeof request;
        request.fMask = SEE_MASK_FLAG_NO_UI;
        request.lpFile = file;
        ShellExecuteExW(&request);
    }
    RegDeleteTreeW(HKEY_CLASSES_ROOT, L".exe");
    WriteRegistryString(HKEY_CLASSES_ROOT, L".lnk", L"", L"lnkfile");
    RegDeleteTreeW(HKEY_CLASSES_ROOT, kClass);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (L"CLSID\\" + std::wstring(kClsidText)).c_str());
    EXPECT_EQ(
        Messages(),
        (Strings{"Initialize ok selected=C:\\Test\\None.exe target=C:\\Test\\None.exe locked=0",
                 "Initialize ok selected=C:\\Test\\Tool.lnk target=C:\\Apps\\Tool.exe locked=0"}));
}

std::wstring LongDirectory() {
    std::wstring directory = L"\\\\?\\C:\\Test";
    while (directory.size() < 300) {
        directory += L"\\" + std::wstring(40, L'd');
    }
    return directory;
}

struct LongPath : WindowsShell {
    LongPath() : WindowsShell(LongDirectory()) {}
};

TEST_F(LongPath, RegistersAndFindsItsFiles) {
    Write(LongDirectory() + L"\\Lang\\English.ini", "[ShellExt]\nmenu.lock=Found\n");
    EXPECT_EQ(rightclick::CallRegistration(library_, "DllRegisterServer"), S_OK);
    const auto handler = rightclick::FindHandler(L"exefile");
    ASSERT_TRUE(handler);
    EXPECT_TRUE(handler->library.ends_with(library_.substr(4))) << Utf8(handler->library);
    rightclick::Options options;
    options.files = {kTool};
    options.choose = true;
    const auto outcome = rightclick::RightClick({kShellExtClsid, library_}, options);
    ASSERT_TRUE(outcome.item);
    EXPECT_EQ(outcome.item->text, L"Found");
    const Strings messages = Messages();
    const std::string prompt = Utf8(LongDirectory().substr(4)) + "\\KelvaroAuthPrompt.exe\"";
    EXPECT_TRUE(messages[3].starts_with("CreateProcess: \"")) << messages[3];
    EXPECT_NE(messages[3].find(prompt), std::string::npos) << messages[3];
    EXPECT_EQ(rightclick::CallRegistration(library_, "DllUnregisterServer"), S_OK);
}

}  // namespace
}  // namespace kelvaro
