#include <algorithm>
#include <map>

#include "rules/lock_lookup.h"
#include "server/exports.h"
#include "support/every_entry_point.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/message_boxes.h"
#include "support/prompt.h"
#include "testing/failing_calls.h"
#include "testing/recorded_calls.h"

namespace kelvaro {
namespace {

using compat::FailingCall;
using compat::FailingNthCall;
using compat::RecordedCalls;
using Strings = std::vector<std::string>;

const Strings kNotification = {"SHChangeNotify 0x8000000 0 null null"};

class FailingCalls : public DriveTest {
  public:
    FailingCalls() {
        InstallLibrary();
        WriteApplicationFiles();
    }
    MessageBoxes boxes_;
};

TEST_F(FailingCalls, EachCallAndEachPairInTurn) {
    ExerciseEveryEntryPoint(LinkedExports(), kShortcut);
    size_t calls = 0;
    {
        const FailingNthCall counter({});  // no index: it only counts
        ExerciseEveryEntryPoint(LinkedExports(), kShortcut);
        calls = counter.CallsMade();
    }
    std::map<std::string, int> failed;
    for (size_t index = 0; index < calls; ++index) {
        for (const auto& indexes : {std::vector{index}, {index, index + 1}}) {
            {
                const FailingNthCall failing(indexes);
                ExerciseEveryEntryPoint(LinkedExports(), kShortcut);
                for (const std::string& name : failing.Failed()) {
                    ++failed[name];
                }
            }
            ASSERT_EQ(platform::HeldResources(), "1 module") << "call " << index;
        }
    }
    ExerciseEveryEntryPoint(LinkedExports(), kShortcut);
    EXPECT_TRUE(IsTargetLocked(L"C:\\Apps\\Tool.exe")) << "a later right-click must work";
    for (const auto& [name, times] : failed) {
        RecordProperty(name, times);
    }
    std::printf("made %zu calls of %zu functions fail\n", calls, failed.size());
    for (const char* const name : {"CreateFileW",         "ReadFile",
                                   "WriteFile",           "GetFileSizeEx",
                                   "GetFileAttributesW",  "RegOpenKeyExW",
                                   "RegQueryValueExW",    "RegCreateKeyExW",
                                   "RegSetValueExW",      "RegDeleteTreeW",
                                   "MultiByteToWideChar", "GlobalAlloc",
                                   "GlobalLock",          "DragQueryFileW",
                                   "CoCreateInstance",    "IShellLinkW::QueryInterface",
                                   "IPersistFile::Load",  "IShellLinkW::GetPath",
                                   "GetModuleFileNameW",  "InsertMenuW",
                                   "CreateProcessW",      "MessageBoxW",
                                   "StringFromCLSID"}) {
        EXPECT_GT(failed[name], 0) << name;
    }
}

TEST_F(FailingCalls, SelectionCannotBeRead) {
    const struct {
        const char *call, *message;
        size_t skip;
        HRESULT result;
    } cases[] = {
        {"GlobalAlloc", "Initialize GetData failed", 0, E_INVALIDARG},
        {"GlobalLock", "Initialize GlobalLock failed", 1, E_INVALIDARG},
        {"DragQueryFileW", "Initialize ignored selection count=0", 0, E_INVALIDARG},
        {"DragQueryFileW", "Initialize DragQueryFileW failed", 1, E_INVALIDARG},
        {"CoCreateInstance", "Initialize resolve target failed: C:\\Test\\Tool.lnk", 0, S_OK},
        {"IShellLinkW::QueryInterface", "Initialize resolve target failed: C:\\Test\\Tool.lnk", 0,
         S_OK},
        {"IPersistFile::Load", "Initialize resolve target failed: C:\\Test\\Tool.lnk", 0, S_OK},
        {"IShellLinkW::GetPath", "Initialize resolve target failed: C:\\Test\\Tool.lnk", 0, S_OK},
    };
    Extension extension;
    for (const auto& [call, message, skip, result] : cases) {
        DeleteFileW(kLog);
        const FailingCall failing(call, static_cast<DWORD>(E_FAIL), skip);
        EXPECT_EQ(extension.Select({kShortcut}), result) << call;
        EXPECT_EQ(Messages(), Strings{message}) << call;
    }
}

TEST_F(FailingCalls, PromptCannotBeStarted) {
    Extension extension;
    extension.Select({kShortcut});
    const std::string box = "Vorandel Kelvaro: Failed to launch Kelvaro command.";
    for (const DWORD error : {4294967295U, 0U}) {
        const FailingCall failing("CreateProcessW", error);
        EXPECT_EQ(extension.Choose(), S_OK);
        EXPECT_EQ(Messages().back(), "CreateProcess failed gle=" + std::to_string(error));
    }
    EXPECT_EQ(boxes_.shown, (Strings{box, box}));
    const FailingCall failing("GetModuleFileNameW", ERROR_GEN_FAILURE);
    EXPECT_EQ(extension.Choose(), S_OK);
    EXPECT_EQ(Messages().back(), "Launch failed: module dir empty");
    EXPECT_EQ(boxes_.shown.size(), 2U) << "no box without a directory";
}

TEST_F(FailingCalls, PromptStartsHidden) {
    Extension extension;
    extension.Select({kShortcut});
    const RecordedCalls calls;
    extension.Choose();
    EXPECT_EQ(calls.LinesOf({"CreateProcessW"}),
              Strings{"CreateProcessW application=null command="
                      "\"C:\\Program Files\\Kelvaro\\KelvaroAuthPrompt.exe\" --auth-only "
                      "--startup-gate --shell-toggle \"C:\\Test\\Tool.lnk\" process=null "
                      "thread=null inherit=0 flags=0x8000000 environment=null "
                      "directory=C:\\Program Files\\Kelvaro "
                      "startup=(size=0x68 flags=1 show=0)"});
}

TEST_F(FailingCalls, TextsFallBackToTheirDefaults) {
    Extension extension;
    wchar_t help[40] = {};
    const auto ask = [&] {
        extension.Menu().GetCommandString(0, GCS_HELPTEXTW, nullptr, reinterpret_cast<LPSTR>(help),
                                          40);
        return Utf8(help);
    };
    EXPECT_EQ(ask(), "Help");
    for (const char* const call : {"CreateFileW", "GetFileSizeEx", "ReadFile", "GetModuleFileNameW",
                                   "MultiByteToWideChar"}) {
        const FailingCall failing(call, ERROR_GEN_FAILURE);
        EXPECT_EQ(ask(), "Toggle lock state via Vorandel Kelvaro") << call;
    }
    // An existence test that fails counts as absent. The standard folder is used even then.
    const FailingCall failing("GetFileAttributesW", ERROR_ACCESS_DENIED);
    EXPECT_EQ(ask(), "Help");
}

// Returns how many values the registry file has below the user's and the machine's classes.
std::pair<size_t, size_t> CountEntries(const std::string& registry) {
    const auto count = [&registry](std::string_view root) {
        size_t entries = 0;
        bool counting = false;
        for (size_t at = 0; at < registry.size();) {
            const size_t end = registry.find('\n', at);
            const std::string_view line = std::string_view(registry).substr(at, end - at);
            counting = line.starts_with('[') ? line.starts_with(root) : counting;
            entries += counting && (line.starts_with('@') || line.starts_with('"')) ? 1 : 0;
            at = end + 1;
        }
        return entries;
    };
    return {count("[HKEY_CURRENT_USER\\Software\\Classes"),
            count("[HKEY_LOCAL_MACHINE\\Software\\Classes")};
}

TEST_F(FailingCalls, RegistrationFallsBackToTheMachine) {
    const DWORD denied = ERROR_ACCESS_DENIED;
    for (const char* const call : {"RegCreateKeyExW", "RegSetValueExW"}) {
        // After a failing write the earlier entries of the user stay, and the second attempt writes
        // all five. HKEY_CLASSES_ROOT leads to the user's key if there is one.
        for (size_t write = 0; write < 5; ++write) {
            DeleteFileW(L"C:\\registry.reg");
            const RecordedCalls calls;
            const FailingCall failing(call, denied, write, 1);
            EXPECT_EQ(DllRegisterServer(), S_OK) << call << write;
            EXPECT_EQ(calls.LinesOf({"SHChangeNotify"}), kNotification);
            const auto [user, machine] = CountEntries(Read(L"C:\\registry.reg"));
            EXPECT_GE(user, write) << call << write;
            EXPECT_EQ(user + machine, 5U) << call << write;
        }
        for (size_t write = 0; write < 5; ++write) {
            DeleteFileW(L"C:\\registry.reg");
            const RecordedCalls calls;
            const FailingCall failing(call, denied, write);
            EXPECT_EQ(DllRegisterServer(), HRESULT_FROM_WIN32(denied)) << call << write;
            EXPECT_EQ(calls.Count("SHChangeNotify"), 0U) << "no registration, no notification";
            EXPECT_EQ(CountEntries(Read(L"C:\\registry.reg")), std::pair(write, size_t{0}));
        }
    }
}

TEST_F(FailingCalls, UnregistrationRemovesTheHandlersBeforeTheClass) {
    for (size_t removals = 0; removals <= 3; ++removals) {
        DeleteFileW(L"C:\\registry.reg");
        EXPECT_EQ(DllRegisterServer(), S_OK);
        const FailingCall failing("RegDeleteTreeW", ERROR_ACCESS_DENIED, removals);
        EXPECT_EQ(DllUnregisterServer(), S_OK);
        const std::string registry = Read(L"C:\\registry.reg");
        size_t removed = 0;
        for (const char* const key :
             {"exefile\\shellex\\ContextMenuHandlers\\VorandelKelvaro]",
              "lnkfile\\shellex\\ContextMenuHandlers\\VorandelKelvaro]", "CLSID\\{A36AA93F-"}) {
            EXPECT_EQ(registry.find(key) == std::string::npos, removed++ < removals) << key;
        }
    }
}

TEST_F(FailingCalls, RegistrationNeedsModulePathAndClsid) {
    DeleteFileW(L"C:\\registry.reg");
    for (const DWORD error : {DWORD{ERROR_GEN_FAILURE}, DWORD{ERROR_SUCCESS}}) {
        const FailingCall failing("GetModuleFileNameW", error);
        EXPECT_EQ(DllRegisterServer(), error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(error));
    }
    const RecordedCalls calls;
    {
        const FailingCall failing("StringFromCLSID", static_cast<DWORD>(E_OUTOFMEMORY));
        EXPECT_EQ(DllRegisterServer(), E_FAIL);
        EXPECT_EQ(DllUnregisterServer(), E_FAIL);
    }
    EXPECT_EQ(calls.Count("SHChangeNotify"), 0U);
    EXPECT_EQ(Read(L"C:\\registry.reg"), "");
    const FailingCall failing("RegDeleteTreeW", ERROR_ACCESS_DENIED);
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(calls.LinesOf({"SHChangeNotify"}), kNotification);
}

}  // namespace
}  // namespace kelvaro
