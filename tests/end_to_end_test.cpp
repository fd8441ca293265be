#include <windows.h>

#include <shlobj.h>

#include "rightclick/right_click.h"
#include "rightclick/selection.h"
#include "shell_host/library.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/prompt.h"
#include "support/thread.h"

namespace kelvaro {
namespace {

// Installs and registers the built library and calls it as the shell does.
class EndToEnd : public DriveTest {
  public:
    EndToEnd() {
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        Copy(platform::BuiltFile(KELVARO_LANGUAGE_FILES) + L"\\English.ini", kEnglishFile);
        InstallPrompt(kPrompt);
        InstallPrompt(kProgram);
        WriteShortcut(kShortcut, kProgram);
        SetLocale(L"en-US");
        EXPECT_EQ(shell_host::CallRegistration(kLibrary, "DllRegisterServer"), S_OK);
    }
    ~EndToEnd() override {
        EXPECT_EQ(shell_host::CallRegistration(kLibrary, "DllUnregisterServer"), S_OK);
        EXPECT_FALSE(rightclick::FindHandler(L"exefile"));
    }

    // Right-clicks as registered. Returns the text of the item.
    static std::string RightClick(const std::wstring& file, bool choose = false) {
        const auto item = RightClickAsRegistered(file, choose).item;
        return item ? Utf8(item->text) : "(no item)";
    }
};

TEST_F(EndToEnd, LocksAndUnlocksAProgram) {
    EXPECT_EQ(RightClick(kProgram, true), "Lock with Vorandel Kelvaro");
    EXPECT_EQ(WaitForPrompt(1).commandLine, '"' + Utf8(kPrompt) +
                                                "\" --auth-only --startup-gate --shell-toggle \"" +
                                                Utf8(kProgram) + '"');
    EXPECT_EQ(RightClick(kProgram), "Unlock with Vorandel Kelvaro");
    EXPECT_EQ(RightClick(kShortcut, true), "Unlock with Vorandel Kelvaro");
    EXPECT_TRUE(WaitForPrompt(2).commandLine.ends_with('"' + Utf8(kShortcut) + '"'));
    EXPECT_EQ(RightClick(kProgram), "Lock with Vorandel Kelvaro");
    EXPECT_EQ(Messages()[4], "CreateProcess started (non-blocking)");
}

TEST_F(EndToEnd, SaysThatThePromptIsMissing) {
    std::filesystem::remove(platform::NativePath(kPrompt));
    RightClick(kProgram, true);
    EXPECT_EQ(boxes_.shown, std::vector<std::string>{
                                "Vorandel Kelvaro: KelvaroAuthPrompt.exe could not be found. "
                                "Please reinstall the application."});
}

// A shell can show the menu of one object and, when the item is clicked, invoke a second one by the
// item's name, on another thread.
TEST_F(EndToEnd, ASecondObjectOnAnotherThreadIsInvokedByName) {
    const shell_host::Library library(kLibrary);
    const Exports exports = ExportsOf(library);
    const auto showMenu = [](Extension& extension) {
        EXPECT_EQ(extension.Select(rightclick::MakeSelection({kProgram}).dataObject), S_OK);
        EXPECT_EQ(Utf8(extension.MenuText(CMF_EXPLORE)), "Lock with Vorandel Kelvaro");
    };
    {
        Extension shown(exports);
        showMenu(shown);
        wchar_t verb[64] = {};
        auto* const bytes = reinterpret_cast<LPSTR>(verb);
        EXPECT_EQ(shown.Menu().GetCommandString(0, GCS_VERBW, nullptr, bytes, 64), S_OK);
        RunOnThread([&] {
            CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
            {
                Extension clicked(exports);
                showMenu(clicked);
                CMINVOKECOMMANDINFOEX request = {};
                request.cbSize = sizeof request;
                request.fMask = CMIC_MASK_UNICODE;
                request.lpVerb = "";
                request.lpVerbW = verb;
                auto* const command = reinterpret_cast<CMINVOKECOMMANDINFO*>(&request);
                EXPECT_EQ(clicked.Menu().InvokeCommand(command), S_OK);
            }
            CoUninitialize();
        });
        EXPECT_EQ(exports.canUnloadNow(), S_FALSE) << "the first object is still alive";
    }
    EXPECT_EQ(exports.canUnloadNow(), S_OK);
    EXPECT_TRUE(WaitForPrompt(1).commandLine.ends_with('"' + Utf8(kProgram) + '"'));
    EXPECT_EQ(Messages().size(), 7U) << "two menus, and three lines of the invocation";
}

}  // namespace
}  // namespace kelvaro
