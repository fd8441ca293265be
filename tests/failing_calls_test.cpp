#include <algorithm>
#include <map>

#include "registration/registration.h"
#include "rules/lock_lookup.h"
#include "support/every_entry_point.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/message_boxes.h"
#include "support/prompt.h"
#include "testing/failing_calls.h"
#include "testing/recorded_calls.h"

STDAPI DllRegisterServer();
STDAPI DllUnregisterServer();

namespace kelvaro {
namespace {

using compat::FailingCall;
using compat::FailingNthCall;
using compat::RecordedCalls;
using Strings = std::vector<std::string>;

constexpr wchar_t kShortcut[] = L"C:\\Test\\Tool.lnk";
const Strings kNotification = {"SHChangeNotify 0x8000000 0 null null"};

// An application that works, so that every failure is one that the test makes.
class FailingCalls : public DriveTest {
  public:
    FailingCalls() {
        InstallLibrary();
        Copy(platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\tool.lnk", kShortcut);
        Write(std::wstring(kApplication) + L"\\Lang\\English.ini", "[ShellExt]\nhelp=Help\n");
        // No program at all: whether it could run is not the question here.
        Write(std::wstring(kApplication) + L"\\KelvaroAuthPrompt.exe", "");
        WriteRules(R"({"type":"exe","target":"C:\\Apps\\Tool.exe"})");
        SetLocale(L"en-US");
    }
    static bool HasMessage(const std::string& message) {
        const Strings messages = Messages();
        return std::find(messages.begin(), messages.end(), message) != messages.end();
    }
    MessageBoxes boxes_;
};

TEST_F(FailingCalls, EachInTurnAndEachWithTheNext) {
    ExerciseEveryEntryPoint(LinkedExports(), kShortcut);
    size_t calls = 0;
    {
        const FailingNthCall counting({});
        ExerciseEveryEntryPoint(LinkedExports(), kShortcut);
        calls = counting.CallsMade();
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
            ASSERT_EQ(platform::HeldResources(), "1 module") << "after call " << index << " failed";
        }
    }
    ExerciseEveryEntryPoint(LinkedExports(), kShortcut);
    EXPECT_TRUE(IsTargetLocked(L"C:\\Apps\\Tool.exe")) << "the next right-click works";
    for (const auto& [name, times] : failed) {
        RecordProperty(name, times);
    }
    std::printf("%zu calls were made to fail, %zu functions\n", calls, failed.size());
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

TEST_F(FailingCalls, ASelectionThatCannotBeRead) {
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

TEST_F(FailingCalls, AProgramThatCannotBeStarted) {
    Extension extension;
    extension.Select({kShortcut});
    CMINVOKECOMMANDINFO request = {};
    {
        const FailingCall failing("CreateProcessW", 4294967295U);
        EXPECT_EQ(extension.Menu().InvokeCommand(&request), S_OK);
    }
    EXPECT_TRUE(HasMessage("CreateProcess failed gle=4294967295"));
    EXPECT_EQ(boxes_.shown, Strings{"Vorandel Kelvaro: Failed to launch Kelvaro command."});
    {
        const FailingCall failing("GetModuleFileNameW", ERROR_GEN_FAILURE);
        EXPECT_EQ(extension.Menu().InvokeCommand(&request), S_OK);
    }
    EXPECT_TRUE(HasMessage("Launch failed: module dir empty"));
    EXPECT_EQ(boxes_.shown.size(), 1U) << "no box without a directory";
}

TEST_F(FailingCalls, ThePromptIsStartedHidden) {
    Extension extension;
    extension.Select({kShortcut});
    CMINVOKECOMMANDINFO request = {};
    const RecordedCalls calls;
    extension.Menu().InvokeCommand(&request);
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
        return Narrow(help);
    };
    EXPECT_EQ(ask(), "Help");
    for (const char* const call : {"CreateFileW", "GetFileSizeEx", "ReadFile", "GetModuleFileNameW",
                                   "MultiByteToWideChar"}) {
        const FailingCall failing(call, ERROR_GEN_FAILURE);
        EXPECT_EQ(ask(), "Toggle lock state via Vorandel Kelvaro") << call;
    }
    // A folder whose existence cannot be told counts as absent; the standard one is the last word.
    const FailingCall failing("GetFileAttributesW", ERROR_ACCESS_DENIED);
    EXPECT_EQ(ask(), "Help");
}

// How many of the ten values are there, below the user's classes and the machine's.
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
        // With one failing write the user's entries before it stay, and the second attempt writes
        // all five: where the user has the key already, it is the same one.
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

TEST_F(FailingCalls, RemovalTakesTheHandlersBeforeTheClass) {
    for (size_t removals = 0; removals <= 3; ++removals) {
        DeleteFileW(L"C:\\registry.reg");
        EXPECT_EQ(DllRegisterServer(), S_OK);
        const FailingCall failing("RegDeleteTreeW", ERROR_ACCESS_DENIED, removals);
        EXPECT_EQ(DllUnregisterServer(), S_OK);
        const std::string registry = Read(L"C:\\registry.reg");
        size_t removed = 0;
        for (const char* const key : {"exefile\\shellex\\ContextMenuHandlers\\VorandelKelvaro]",
                                      "lnkfile\\shellex\\ContextMenuHandlers\\VorandelKelvaro]",
                                      "CLSID\\{A36AA93F-0FF6-4369-BF38-78FAADC0C5ED}]"}) {
            EXPECT_EQ(registry.find(key) == std::string::npos, removed++ < removals) << key;
        }
    }
}

TEST_F(FailingCalls, RegistrationWithoutPathOrIdentifier) {
    DeleteFileW(L"C:\\registry.reg");
    {
        const FailingCall failing("GetModuleFileNameW", ERROR_GEN_FAILURE);
        EXPECT_EQ(DllRegisterServer(), HRESULT_FROM_WIN32(ERROR_GEN_FAILURE));
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
