#include <windows.h>

#include <shlobj.h>

#include "common/owners.h"
#include "common/path.h"
#include "rightclick/right_click.h"
#include "rightclick/selection.h"
#include "server/clsid.h"
#include "server/exports.h"
#include "shell_host/library.h"
#include "shell_host/popup_menu.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/prompt.h"
#include "support/small_stack.h"

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

// An object of the registered library with the menu that it has extended.
class ExtendedMenu {
  public:
    ExtendedMenu(const shell_host::Library& library, const std::wstring& file) {
        ComPtr<IClassFactory> factory;
        ComPtr<IShellExtInit> object;
        const ComPtr<IDataObject> files(rightclick::MakeSelection({file}).dataObject);
        EXPECT_EQ(library.Export<decltype(&DllGetClassObject)>("DllGetClassObject")(
                      kShellExtClsid, IID_IClassFactory, factory.Put()),
                  S_OK);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put()), S_OK);
        EXPECT_EQ(object->Initialize(nullptr, files.Get(), nullptr), S_OK);
        EXPECT_EQ(object->QueryInterface(IID_IContextMenu, handler_.Put()), S_OK);
        EXPECT_EQ(handler_->QueryContextMenu(popup_.Handle(), 0, 100, 0x7FFF, CMF_EXPLORE), 1);
    }

    IContextMenu& Handler() { return *handler_.Get(); }

  private:
    shell_host::PopupMenu popup_;
    ComPtr<IContextMenu> handler_;
};

// Explorer shows the menu of one object. When the item is clicked, it invokes a second object by
// the item's name, often on another thread.
TEST_F(EndToEnd, ASecondObjectOnAnotherThreadIsInvokedByName) {
    const shell_host::Library library(kLibrary);
    const auto canUnload = library.Export<HRESULT(STDMETHODCALLTYPE*)()>("DllCanUnloadNow");
    {
        ExtendedMenu shown(library, kProgram);
        wchar_t verb[64] = {};
        auto* const bytes = reinterpret_cast<LPSTR>(verb);
        EXPECT_EQ(shown.Handler().GetCommandString(0, GCS_VERBW, nullptr, bytes, 64), S_OK);
        RunOnSmallStack([&] {
            CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
            {
                ExtendedMenu clicked(library, kProgram);
                CMINVOKECOMMANDINFOEX request = {};
                request.cbSize = sizeof request;
                request.fMask = CMIC_MASK_UNICODE;
                request.lpVerb = "";
                request.lpVerbW = verb;
                request.nShow = SW_SHOWNORMAL;
                EXPECT_EQ(clicked.Handler().InvokeCommand(
                              reinterpret_cast<CMINVOKECOMMANDINFO*>(&request)),
                          S_OK);
            }
            CoUninitialize();
        });
        EXPECT_EQ(canUnload(), S_FALSE) << "the first object is still alive";
    }
    EXPECT_EQ(canUnload(), S_OK);

    EXPECT_TRUE(WaitForPrompt(1).commandLine.ends_with('"' + Utf8(kProgram) + '"'));
    EXPECT_EQ(Messages().size(), 7U) << "two menus, and three lines of the invocation";
}

}  // namespace
}  // namespace kelvaro
