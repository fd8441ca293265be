#include <windows.h>

#include <shlobj.h>

#include "common/owners.h"
#include "rightclick/library.h"
#include "rightclick/popup_menu.h"
#include "rightclick/right_click.h"
#include "rightclick/selection.h"
#include "server/clsid.h"
#include "server/exports.h"
#include "support/fixture.h"
#include "support/prompt.h"
#include "support/small_stack.h"

namespace kelvaro {
namespace {

using rightclick::Options;
using rightclick::Outcome;
using Strings = std::vector<std::string>;

// Installs and registers the built library and calls it as the shell does.
class EndToEnd : public DriveTest {
  public:
    EndToEnd() {
        const std::wstring directory = kApplication;
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        for (const wchar_t* const name : {L"English.ini", L"Chinese(Simplified).ini"}) {
            Copy(platform::BuiltFile(KELVARO_LANGUAGE_FILES) + L"\\" + name,
                 directory + L"\\Lang\\" + name);
        }
        InstallPrompt(kPrompt);
        InstallPrompt(kTool);
        CopyShortcut();
        SetLocale(L"en-US");
        EXPECT_EQ(rightclick::CallRegistration(kLibrary, "DllRegisterServer"), S_OK);
    }
    ~EndToEnd() override {
        EXPECT_EQ(rightclick::CallRegistration(kLibrary, "DllUnregisterServer"), S_OK);
        EXPECT_FALSE(rightclick::FindHandler(L"exefile"));
        EXPECT_EQ(rightclick::CallRegistration(kLibrary, "DllUnregisterServer"), S_OK);
    }

    static Outcome RightClick(const std::vector<std::wstring>& files, bool choose = false) {
        const auto handler = rightclick::FindHandler(rightclick::ClassOfFile(files[0]));
        EXPECT_TRUE(handler);
        Options options;
        options.files = files;
        options.choose = choose;
        Outcome outcome = handler ? rightclick::RightClick(*handler, options) : Outcome{};
        EXPECT_EQ(outcome.load, S_OK);
        EXPECT_EQ(outcome.canUnload, S_OK) << "an object is still alive";
        return outcome;
    }
    static std::string ItemText(const Outcome& outcome) {
        return outcome.item ? Utf8(outcome.item->text) : "(no item)";
    }
};

TEST_F(EndToEnd, LocksAndUnlocksAProgram) {
    EXPECT_EQ(ItemText(RightClick({kTool}, true)), "Lock with Vorandel Kelvaro");
    EXPECT_EQ(WaitForPrompt(1).commandLine,
              "\"C:\\Program Files\\Kelvaro\\KelvaroAuthPrompt.exe\" --auth-only --startup-gate "
              "--shell-toggle \"C:\\Apps\\Tool.exe\"");
    EXPECT_EQ(ItemText(RightClick({kTool})), "Unlock with Vorandel Kelvaro");
    EXPECT_EQ(ItemText(RightClick({kShortcut}, true)), "Unlock with Vorandel Kelvaro");
    EXPECT_TRUE(WaitForPrompt(2).commandLine.ends_with("\"C:\\Test\\Tool.lnk\""));
    EXPECT_EQ(ItemText(RightClick({kTool})), "Lock with Vorandel Kelvaro");
    EXPECT_EQ(Messages()[4], "CreateProcess started (non-blocking)");
}

// An object of the registered library with the menu that it has extended.
class ExtendedMenu {
  public:
    ExtendedMenu(const rightclick::Library& library, const std::wstring& file) {
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
    rightclick::PopupMenu popup_;
    ComPtr<IContextMenu> handler_;
};

// Explorer shows the menu of one object. When the item is clicked, it invokes a second object by
// the item's name, often on another thread.
TEST_F(EndToEnd, ASecondObjectOnAnotherThreadIsInvokedByName) {
    const rightclick::Library library(kLibrary);
    const auto canUnload = library.Export<HRESULT(STDMETHODCALLTYPE*)()>("DllCanUnloadNow");
    {
        ExtendedMenu shown(library, kTool);
        char verb[64] = {};
        wchar_t wideVerb[64] = {};
        EXPECT_EQ(shown.Handler().GetCommandString(0, GCS_VERBA, nullptr, verb, 64), S_OK);
        EXPECT_EQ(shown.Handler().GetCommandString(0, GCS_VERBW, nullptr,
                                                   reinterpret_cast<LPSTR>(wideVerb), 64),
                  S_OK);
        RunOnSmallStack([&] {
            CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
            {
                ExtendedMenu clicked(library, kTool);
                CMINVOKECOMMANDINFOEX request = {};
                request.cbSize = sizeof request;
                request.fMask = CMIC_MASK_UNICODE;
                request.lpVerb = verb;
                request.lpVerbW = wideVerb;
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

    const std::string commandLine = WaitForPrompt(1).commandLine;
    const std::string initialize =
        "Initialize ok selected=C:\\Apps\\Tool.exe target=C:\\Apps\\Tool.exe locked=0";
    const std::string query = "QueryContextMenu add item locked=0";
    EXPECT_EQ(Messages(),
              (Strings{initialize, query, initialize, query,
                       "InvokeCommand start selected=C:\\Apps\\Tool.exe",
                       "CreateProcess: " + commandLine, "CreateProcess started (non-blocking)"}));
}

TEST_F(EndToEnd, ShowsChineseTexts) {
    SetLocale(L"zh-CN");
    const Outcome outcome = RightClick({kTool});
    EXPECT_EQ(ItemText(outcome),
              "\xE4\xBD\xBF\xE7\x94\xA8 Vorandel Kelvaro "
              "\xE9\x94\x81\xE5\xAE\x9A");
    ASSERT_TRUE(outcome.item);
    EXPECT_EQ(outcome.item->verb, L"vorandel_kelvaro_toggle");
}

#ifndef _WIN32
TEST_F(EndToEnd, ThePromptKeepsRulesThatItCannotRead) {
    WriteRules("[]");
    const auto rules = platform::NativePath(kRules);
    std::filesystem::permissions(rules, std::filesystem::perms::owner_write);
    RightClick({kTool}, true);
    WaitForPrompt(1);
    std::filesystem::permissions(rules, std::filesystem::perms::owner_read);
    EXPECT_EQ(Read(kRules), "[]");
}
#endif

TEST_F(EndToEnd, ReportsLibrariesThatCannotBeCalled) {
    Write(L"C:\\Test\\none.dll", "no library");
    EXPECT_TRUE(FAILED(rightclick::CallRegistration(L"C:\\Test\\none.dll", "DllRegisterServer")));
    EXPECT_EQ(rightclick::CallRegistration(kLibrary, "NoSuchExport"),
              HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND));
}

}  // namespace
}  // namespace kelvaro
