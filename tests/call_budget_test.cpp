// Limits the slow platform calls of each entry point. They dominate the delay that users see,
// especially with a virus scanner. Raise a limit only deliberately.

#include "rightclick/drop_list.h"
#include "rightclick/popup_menu.h"
#include "server/clsid.h"
#include "server/exports.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/message_boxes.h"
#include "testing/counted_calls.h"

namespace kelvaro {
namespace {

using Counts = std::map<std::string, size_t>;

// Returns the limits of an entry point that writes `lines` log lines, loads `texts` texts and makes
// `others`. For one text it needs the module's path once, the language setting three times (for
// each of two folders and for the result), two existence tests and the language file.
Counts Limits(size_t lines, size_t texts, Counts others = {}) {
    others["CreateFileW"] += lines + texts;
    others["GetModuleFileNameW"] += texts;
    others["RegOpenKeyExW"] += 3 * texts;
    others["GetFileAttributesW"] += 2 * texts;
    return others;
}

class CallBudget : public DriveTest {
  public:
    CallBudget() {
        InstallLibrary();
        WriteApplicationFiles();
        Write(kLog, "");
    }

    // Fails for each slow call that was made more often than `limits` allow since the last check.
    void Check(const char* what, Counts limits) {
        Counts made = calls_.Take();
        for (const char* const name :
             {"CreateFileW", "GetFileAttributesW", "RegOpenKeyExW", "RegCreateKeyExW",
              "RegDeleteTreeW", "GetModuleFileNameW", "CreateProcessW", "CoCreateInstance"}) {
            EXPECT_LE(made[name], limits[name]) << name << " in " << what;
        }
    }
    compat::CountedCalls calls_;
    MessageBoxes boxes_;
};

TEST_F(CallBudget, RightClicksMakeNoMoreSlowCallsThanPlanned) {
    calls_.Take();
    ComPtr<IClassFactory> factory;
    DllGetClassObject(kShellExtClsid, IID_IClassFactory, factory.Put());
    Extension extension;
    Check("creating the objects", {});
    EXPECT_EQ(extension.Select({kTool}), S_OK);
    Check("Initialize with a program", Limits(1, 0, {{"CreateFileW", 1}}));
    EXPECT_EQ(extension.Select({kShortcut}), S_OK);
    Check("Initialize with a shortcut",
          Limits(1, 0, {{"CreateFileW", 1}, {"CoCreateInstance", 1}}));
    EXPECT_EQ(extension.MenuText(), L"Unlock with Vorandel Kelvaro");
    Check("QueryContextMenu", Limits(1, 2));
    const rightclick::PopupMenu popup;
    EXPECT_EQ(extension.Menu().QueryContextMenu(popup.Handle(), 0, 1, 9, CMF_DEFAULTONLY), S_OK);
    Check("QueryContextMenu for a double click", {});
    for (const auto& [kind, texts] :
         {std::pair(GCS_VERBW, size_t{0}), std::pair(GCS_HELPTEXTA, size_t{0}),
          std::pair(GCS_HELPTEXTW, size_t{2})}) {
        wchar_t text[80] = {};
        extension.Menu().GetCommandString(0, kind, nullptr, reinterpret_cast<LPSTR>(text), 80);
        Check("GetCommandString", Limits(0, texts));
    }
}

TEST_F(CallBudget, InvocationsMakeNoMoreSlowCallsThanPlanned) {
    const Counts start = {
        {"GetModuleFileNameW", 1}, {"GetFileAttributesW", 1}, {"CreateProcessW", 1}};
    Extension extension;
    extension.Select({kTool});
    calls_.Take();
    EXPECT_EQ(extension.Choose(), S_OK);
    Check("InvokeCommand with a prompt that cannot run", Limits(3, 2, start));
    DeleteFileW(kPrompt);
    EXPECT_EQ(extension.Choose(), S_OK);
    Check("InvokeCommand without a prompt",
          Limits(2, 2, {{"GetModuleFileNameW", 1}, {"GetFileAttributesW", 3}}));
    Copy(platform::BuiltFile("/bin/true"), kPrompt);
    EXPECT_EQ(extension.Choose(), S_OK);
    Check("InvokeCommand", Limits(3, 0, start));
    EXPECT_EQ(boxes_.shown.size(), 2U);
}

TEST_F(CallBudget, RegistrationMakesNoMoreSlowCallsThanPlanned) {
    calls_.Take();
    EXPECT_EQ(DllRegisterServer(), S_OK);
    Check("DllRegisterServer", {{"GetModuleFileNameW", 1}, {"RegCreateKeyExW", 5}});
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    Check("DllUnregisterServer", {{"RegDeleteTreeW", 6}});
}

}  // namespace
}  // namespace kelvaro
