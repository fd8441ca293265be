// Which platform calls an operation makes, with which arguments and in which order.

#include "i18n/texts.h"
#include "menu/shortcut_target.h"
#include "rules/lock_lookup.h"
#include "server/exports.h"
#include "server/module.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/message_boxes.h"
#include "testing/failing_calls.h"
#include "testing/recorded_calls.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

namespace kelvaro {
namespace {

using compat::FailingCall;
using compat::RecordedCalls;
using Strings = std::vector<std::string>;

class PlatformCalls : public DriveTest {
  public:
    PlatformCalls() {
        InstallLibrary();
        WriteApplicationFiles();
    }
    MessageBoxes boxes_;
};

TEST_F(PlatformCalls, SelectionIsReleasedBeforeTheLogIsWritten) {
    const struct {
        std::vector<std::wstring> files;
        const char* failing;
        Strings expected;
    } cases[] = {
        {{kTool}, "", {"GlobalUnlock", "ReleaseStgMedium", "GetLocalTime"}},
        {{kTool, kTool}, "", {"GlobalUnlock", "ReleaseStgMedium", "GetLocalTime"}},
        {{L"C:\\a.txt"}, "", {"GlobalUnlock", "ReleaseStgMedium", "GetLocalTime"}},
        {{kTool}, "DragQueryFileW", {"GlobalUnlock", "ReleaseStgMedium", "GetLocalTime"}},
        {{kTool}, "GlobalLock", {"ReleaseStgMedium", "GetLocalTime"}},
    };
    Extension extension;
    for (const auto& [files, failing, expected] : cases) {
        const FailingCall failure(failing, ERROR_GEN_FAILURE, 1);
        const RecordedCalls calls;
        extension.Select(files);
        Strings lines = calls.LinesOf({"GlobalUnlock", "ReleaseStgMedium", "GetLocalTime"});
        lines.erase(lines.begin());  // the data object fills its memory
        EXPECT_EQ(lines, expected) << failing << files.size();
    }
}

constexpr char kCreation[] =
    "CoCreateInstance {00021401-0000-0000-C000-000000000046} context=1 "
    "{000214F9-0000-0000-C000-000000000046}";

TEST_F(PlatformCalls, ShortcutsAreReadThroughTheLinkObject) {
    RecordedCalls calls;
    ResolveShortcutTarget(kTool);
    EXPECT_EQ(calls.Lines(), Strings{"PathMatchSpecW c:\\apps\\tool.exe *.exe"});
    const struct {
        const wchar_t* target;
        Strings tests;
    } cases[] = {{L"tool.lnk", {"PathMatchSpecW c:\\apps\\tool.exe *.exe"}},
                 {L"document.lnk", {"PathMatchSpecW c:\\apps\\readme.txt *.exe"}},
                 {L"control_panel.lnk", {}}};
    for (const auto& [name, tests] : cases) {
        Copy(SavedShortcut(name), kShortcut);
        calls.Clear();
        ResolveShortcutTarget(kShortcut);
        Strings expected = {"PathMatchSpecW c:\\test\\tool.lnk *.exe",
                            "PathMatchSpecW c:\\test\\tool.lnk *.lnk",
                            kCreation,
                            "IShellLinkW::QueryInterface {0000010B-0000-0000-C000-000000000046}",
                            "IPersistFile::Load C:\\Test\\Tool.lnk mode=0",
                            "IShellLinkW::GetPath capacity=260 flags=4",
                            "IPersistFile::Release",
                            "IShellLinkW::Release"};
        expected.insert(expected.end(), tests.begin(), tests.end());
        EXPECT_EQ(calls.Lines(), expected) << Utf8(name);
    }
}

TEST_F(PlatformCalls, FilesAreSharedForReadingWritingAndDeleting) {
    const RecordedCalls calls;
    Extension extension;
    extension.Select({kTool});
    extension.MenuText();
    for (const std::string& line : calls.LinesOf({"CreateFileW"})) {
        EXPECT_NE(line.find(" share=7 "), std::string::npos) << line;
    }
}

TEST_F(PlatformCalls, LookupWithoutAPathReadsNothing) {
    const RecordedCalls calls;
    EXPECT_FALSE(IsTargetLocked(L""));
    EXPECT_EQ(calls.Lines(), Strings());
}

TEST_F(PlatformCalls, ProductNameIsReadBeforeTheText) {
    // Replaces all texts with the number of the read each time the language file is opened.
    const compat::ScopedCallObserver rewriter([reads = 0](const compat::CallStart& call) mutable {
        if (std::string_view(call.name) == "CreateFileW" &&
            call.arguments.find("English.ini") != std::string::npos) {
            const std::string read = std::to_string(++reads);
            Write(kEnglishFile, "[Product]\nProduct short Name=" + read +
                                    "\n[ShellExt]\nmenu.lock={product} " + read +
                                    "\nhelp={product} " + read + "\nmsg.launch_failed=" + read +
                                    "\nmsg.prompt_not_found=" + read);
        }
        return std::optional<DWORD>();
    });
    EXPECT_EQ(GetMenuText(false), L"1 2");
    EXPECT_EQ(GetHelpText(), L"3 4");
    Extension extension;
    extension.Select({kTool});
    extension.Choose();
    DeleteFileW(kPrompt);
    extension.Choose();
    EXPECT_EQ(boxes_.shown, (Strings{"5: 6", "7: 8"}));
}

TEST_F(PlatformCalls, ItemIsInsertedBeforeItIsLogged) {
    Extension extension;
    extension.Select({kTool});
    const RecordedCalls calls;
    extension.MenuText();
    const Strings lines = calls.LinesOf({"InsertMenuW", "GetLocalTime"});
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1], "GetLocalTime");
}

TEST_F(PlatformCalls, PromptIsStartedHiddenAndNotHeld) {
    Copy(platform::BuiltFile("/bin/true"), kPrompt);
    Extension extension;
    extension.Select({kTool});
    const RecordedCalls calls;
    extension.Choose();
    Strings lines = calls.LinesOf({"CreateProcessW", "CloseHandle"});
    std::erase(lines, "CloseHandle file");
    EXPECT_EQ(lines, (Strings{"CreateProcessW application=null command="
                              "\"C:\\Program Files\\Kelvaro\\KelvaroAuthPrompt.exe\" --auth-only "
                              "--startup-gate --shell-toggle \"C:\\Apps\\Tool.exe\" process=null "
                              "thread=null inherit=0 flags=0x8000000 environment=null "
                              "directory=C:\\Program Files\\Kelvaro "
                              "startup=(size=0x68 flags=1 show=0)",
                              "CloseHandle thread", "CloseHandle process"}));
}

TEST_F(PlatformCalls, DllMainActsOnlyOnProcessAttach) {
    HMODULE const module = g_moduleHandle;
    const RecordedCalls calls;
    for (const DWORD reason : {DWORD{0}, DWORD{2}, DWORD{3}}) {
        EXPECT_TRUE(DllMain(reinterpret_cast<HINSTANCE>(uintptr_t{0x10}), reason, nullptr));
        EXPECT_EQ(g_moduleHandle, module) << reason;
    }
    EXPECT_EQ(calls.Lines(), Strings());
    g_moduleHandle = nullptr;
    EXPECT_TRUE(DllMain(module, DLL_PROCESS_ATTACH, nullptr));
    EXPECT_EQ(g_moduleHandle, module);
    EXPECT_EQ(calls.Lines(), Strings{"DisableThreadLibraryCalls module"});
}

const std::string kClassKey = "CLSID\\" + Utf8(DriveTest::kClsidText);
const std::string kProgramHandler = "exefile\\shellex\\ContextMenuHandlers\\VorandelKelvaro";
const std::string kShortcutHandler = "lnkfile\\shellex\\ContextMenuHandlers\\VorandelKelvaro";
const std::string kRoots[] = {"HKEY_CURRENT_USER\\Software\\Classes\\", "HKEY_CLASSES_ROOT\\"};
constexpr char kNotification[] = "SHChangeNotify 0x8000000 0 null null";

// Appends the first `count` of the calls that open the keys of a registration.
void AppendOpenings(Strings& lines, const std::string& root, size_t count) {
    const std::string keys[] = {kClassKey, kClassKey + "\\InprocServer32",
                                kClassKey + "\\InprocServer32", kProgramHandler, kShortcutHandler};
    for (size_t key = 0; key < count; ++key) {
        lines.emplace_back("RegCreateKeyExW ")
            .append(root)
            .append(keys[key])
            .append(" class=null options=0 access=0x20006 security=null");
    }
}

// Fails one write of the user's registration and, in every second case, one of the machine's.
TEST_F(PlatformCalls, RegistrationFallsBackToTheMachine) {
    for (size_t variant = 0; variant < 20; ++variant) {
        const char* const call = variant < 10 ? "RegCreateKeyExW" : "RegSetValueExW";
        const bool both = variant % 2 == 1;
        const size_t userWrites = variant / 2 % 5 + 1;
        const size_t machineWrites = both ? 6 - userWrites : 5;
        DeleteFileW(L"C:\\registry.reg");
        const RecordedCalls calls;
        const FailingCall first(call, ERROR_ACCESS_DENIED, userWrites - 1, 1);
        const FailingCall second(call, ERROR_DISK_FULL, userWrites + machineWrites - 1,
                                 both ? 1 : 0);
        EXPECT_EQ(DllRegisterServer(), both ? HRESULT_FROM_WIN32(DWORD{ERROR_DISK_FULL}) : S_OK);
        Strings expected;
        AppendOpenings(expected, kRoots[0], userWrites);
        AppendOpenings(expected, kRoots[1], machineWrites);
        if (!both) {
            expected.emplace_back(kNotification);
        }
        EXPECT_EQ(calls.LinesOf({"RegCreateKeyExW", "SHChangeNotify"}), expected) << variant;
        const size_t refused = variant < 10 ? (both ? 2 : 1) : 0;
        EXPECT_EQ(calls.Count("RegSetValueExW"), userWrites + machineWrites - refused) << variant;
        EXPECT_EQ(calls.Count("RegCloseKey"), userWrites + machineWrites - refused) << variant;
    }
}

TEST_F(PlatformCalls, UnregistrationRemovesTheHandlersBeforeTheClass) {
    Strings expected;
    for (const std::string& root : kRoots) {
        for (const std::string& key : {kProgramHandler, kShortcutHandler, kClassKey}) {
            expected.emplace_back("RegDeleteTreeW ").append(root).append(key);
        }
    }
    expected.emplace_back(kNotification);
    for (const size_t failures : {size_t{0}, SIZE_MAX}) {
        const FailingCall failing("RegDeleteTreeW", ERROR_ACCESS_DENIED, 0, failures);
        const RecordedCalls calls;
        EXPECT_EQ(DllUnregisterServer(), S_OK);
        EXPECT_EQ(calls.LinesOf({"RegDeleteTreeW", "SHChangeNotify"}), expected) << failures;
    }
}

}  // namespace
}  // namespace kelvaro
