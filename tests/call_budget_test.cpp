// Limits the slow platform calls of each entry point. They dominate the delay that users see,
// especially with a virus scanner. Raise a limit only deliberately.

#include <objbase.h>
#include <shlobj.h>

#include "common/owners.h"
#include "rightclick/drop_list.h"
#include "rightclick/library.h"
#include "rightclick/popup_menu.h"
#include "server/clsid.h"
#include "support/call_counter.h"
#include "support/fixture.h"
#include "support/message_boxes.h"
#include "support/prompt.h"

namespace kelvaro {
namespace {

using Counts = std::map<std::string, size_t>;

// One text: the module's path once; the file name of the language for each of two folders and for
// the result; the special-offer folder and then the standard one; the language file.
constexpr size_t kModulePathsOfText = 1;
constexpr size_t kSettingsOfText = 3;
constexpr size_t kExistenceTestsOfText = 2;
constexpr size_t kFilesOfText = 1;

// Returns the budget of an entry point that logs `lines` lines, loads `texts` texts and makes
// `others`.
Counts Budget(size_t lines, size_t texts, const Counts& others = {}) {
    Counts budget = others;
    budget["CreateFileW"] += lines + texts * kFilesOfText;
    budget["GetModuleFileNameW"] += texts * kModulePathsOfText;
    budget["RegOpenKeyExW"] += texts * kSettingsOfText;
    budget["GetFileAttributesW"] += texts * kExistenceTestsOfText;
    std::erase_if(budget, [](const auto& entry) { return entry.second == 0; });
    return budget;
}

class CallBudget : public DriveTest {
  public:
    CallBudget() {
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        WriteApplicationFiles();
        Write(kLog, "");
    }
};

TEST_F(CallBudget, EntryPointsMakeNoMoreSlowCallsThanPlanned) {
    const rightclick::Library library(kLibrary);
    ASSERT_TRUE(library.IsLoaded());
    CallCounter counter(library.Handle());
    MessageBoxes boxes;

    ComPtr<IClassFactory> factory;
    library.Export<HRESULT(STDMETHODCALLTYPE*)(REFCLSID, REFIID, LPVOID*)>("DllGetClassObject")(
        kShellExtClsid, IID_IClassFactory, factory.Put());
    ComPtr<IShellExtInit> object;
    factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put());
    ComPtr<IContextMenu> menu;
    object->QueryInterface(IID_IContextMenu, menu.Put());
    EXPECT_EQ(counter.Take(), Counts{}) << "creating the object";

    for (const auto& [file, others] :
         {std::pair(kTool, Counts{{"CreateFileW", 1}}),
          std::pair(kShortcut, Counts{{"CreateFileW", 1}, {"CoCreateInstance", 1}})}) {
        const ComPtr<IDataObject> selection(rightclick::MakeDropListObject({file}));
        counter.Take();
        EXPECT_EQ(object->Initialize(nullptr, selection.Get(), nullptr), S_OK);
        EXPECT_EQ(counter.Take(), Budget(1, 0, others)) << "Initialize " << Utf8(file);
    }
    {
        const rightclick::PopupMenu popup;
        EXPECT_EQ(menu->QueryContextMenu(popup.Handle(), 0, 1, 9, CMF_NORMAL), 1);
        EXPECT_EQ(counter.Take(), Budget(1, 2)) << "QueryContextMenu";
    }
    wchar_t text[80] = {};
    for (const auto& [kind, texts] :
         {std::pair(UINT{GCS_VERBW}, size_t{0}), std::pair(UINT{GCS_HELPTEXTA}, size_t{0}),
          std::pair(UINT{GCS_HELPTEXTW}, size_t{2})}) {
        menu->GetCommandString(0, kind, nullptr, reinterpret_cast<LPSTR>(text), 80);
        EXPECT_EQ(counter.Take(), Budget(0, texts)) << "GetCommandString " << kind;
    }
    CMINVOKECOMMANDINFO request = {};
    request.cbSize = sizeof request;
    const auto invoke = [&] { return menu->InvokeCommand(&request); };
    EXPECT_EQ(invoke(), S_OK);
    EXPECT_EQ(
        counter.Take(),
        Budget(3, 2, {{"GetModuleFileNameW", 1}, {"GetFileAttributesW", 1}, {"CreateProcessW", 1}}))
        << "InvokeCommand with a prompt that cannot run";
    DeleteFileW(kPrompt);
    counter.Take();
    EXPECT_EQ(invoke(), S_OK);
    EXPECT_EQ(counter.Take(), Budget(2, 2, {{"GetModuleFileNameW", 1}, {"GetFileAttributesW", 3}}))
        << "InvokeCommand without a prompt";
    InstallPrompt(kPrompt);
    counter.Take();
    EXPECT_EQ(invoke(), S_OK);
    EXPECT_EQ(
        counter.Take(),
        Budget(3, 0, {{"GetModuleFileNameW", 1}, {"GetFileAttributesW", 1}, {"CreateProcessW", 1}}))
        << "InvokeCommand";
    WaitForPrompt(1);
    counter.Take();

    library.Export<HRESULT(STDMETHODCALLTYPE*)()>("DllRegisterServer")();
    EXPECT_EQ(counter.Take(), (Counts{{"GetModuleFileNameW", 1}, {"RegCreateKeyExW", 5}}));
    library.Export<HRESULT(STDMETHODCALLTYPE*)()>("DllUnregisterServer")();
    EXPECT_EQ(counter.Take(), (Counts{{"RegDeleteTreeW", 6}}));
}

}  // namespace
}  // namespace kelvaro
