#include <algorithm>
#include <map>

#include "common/code_page.h"
#include "common/file.h"
#include "i18n/ui_locale.h"
#include "rightclick/explain_report.h"
#include "rules/lock_lookup.h"
#include "server/exports.h"
#include "support/every_entry_point.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/message_boxes.h"
#include "testing/failing_calls.h"
#include "testing/recorded_calls.h"

namespace kelvaro {
namespace {

using compat::FailingCall;
using compat::FailingNthCall;
using compat::RecordedCalls;
using Strings = std::vector<std::string>;

class FailingCalls : public DriveTest {
  public:
    FailingCalls() {
        InstallLibrary();
        WriteApplicationFiles();
    }
    MessageBoxes boxes_;
};

TEST_F(FailingCalls, EveryFailureLeavesNothingOpenAndTheNextRightClickWorks) {
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
    std::printf("made %zu calls of %zu functions fail\n", calls, failed.size());
    std::string functions;
    for (const auto& [name, times] : failed) {
        RecordProperty(name, times);
        functions += name + " ";
    }
    EXPECT_EQ(
        functions,
        "CoCreateInstance CreateFileW CreatePopupMenu CreateProcessW DragQueryFileW "
        "GetFileAttributesW GetFileSizeEx GetModuleFileNameW GlobalAlloc GlobalLock "
        "IPersistFile::Load IShellLinkW::GetPath IShellLinkW::QueryInterface InsertMenuW "
        "MessageBoxW MultiByteToWideChar ReadFile RegCreateKeyExW RegDeleteTreeW RegOpenKeyExW "
        "RegQueryValueExW RegSetValueExW StringFromCLSID WideCharToMultiByte WriteFile ");
}

TEST_F(FailingCalls, LogsWhyTheSelectionCannotBeRead) {
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

TEST_F(FailingCalls, LogsAndShowsWhyThePromptDoesNotStart) {
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

TEST_F(FailingCalls, TextsThatCannotBeConvertedAreEmpty) {
    for (const size_t index : {0U, 1U}) {  // the call for the length, then the conversion
        {
            const FailingNthCall widen({index});
            EXPECT_EQ(WideFromBytes(CP_UTF8, 0, "text"), L"") << index;
        }
        const FailingNthCall narrow({index});
        EXPECT_EQ(Utf8FromWide(L"text"), "") << index;
    }
}

TEST_F(FailingCalls, UnreadableLanguageSettingCountsAsMissing) {
    SetLocale(L"zh-CN");
    for (const char* const call : {"RegOpenKeyExW", "RegQueryValueExW"}) {
        const FailingCall failing(call, ERROR_ACCESS_DENIED);
        EXPECT_EQ(GetUiLocale(), L"en-US") << call;
    }
}

TEST_F(FailingCalls, RegistrationFailsWithoutModulePathOrClsid) {
    DeleteFileW(L"C:\\registry.reg");
    for (const DWORD error : {DWORD{ERROR_GEN_FAILURE}, DWORD{ERROR_SUCCESS}}) {
        const FailingCall failing("GetModuleFileNameW", error);
        EXPECT_EQ(DllRegisterServer(), error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(error));
    }
    const RecordedCalls calls;
    const FailingCall failing("StringFromCLSID", static_cast<DWORD>(E_OUTOFMEMORY));
    EXPECT_EQ(DllRegisterServer(), E_FAIL);
    EXPECT_EQ(DllUnregisterServer(), E_FAIL);
    EXPECT_EQ(calls.LinesOf({"RegDeleteTreeW", "SHChangeNotify"}), Strings());
    EXPECT_EQ(Read(L"C:\\registry.reg"), "");
}

TEST_F(FailingCalls, AnotherProcessMayCreateADirectoryFirst) {
    constexpr wchar_t kDirectory[] = L"C:\\Test\\new";
    for (const auto& [error, exists] :
         {std::pair(ERROR_ALREADY_EXISTS, true), std::pair(ERROR_ACCESS_DENIED, false)}) {
        const FailingCall failing("CreateDirectoryW", static_cast<DWORD>(error));
        EXPECT_EQ(CreateDirectories(kDirectory), exists) << error;
    }
    EXPECT_TRUE(CreateDirectories(kDirectory));
}

TEST_F(FailingCalls, RegistrationFailsIfASuccessfulCallReturnsNoClsid) {
    const FailingCall failing("StringFromCLSID", static_cast<DWORD>(S_OK));
    EXPECT_EQ(DllRegisterServer(), E_FAIL);
    EXPECT_EQ(DllUnregisterServer(), E_FAIL);
}

TEST_F(FailingCalls, ExplainDoesNotTakeAFailureForAMissingRuleFile) {
    const FailingCall open("CreateFileW", ERROR_CANT_RESOLVE_FILENAME);
    const FailingCall attributes("GetFileAttributesW", ERROR_CANT_RESOLVE_FILENAME);
    const auto explanation = rightclick::ExplainFile(L"C:\\Apps\\Tool.exe");
    EXPECT_EQ(explanation["verdict"], "is not locked: the rule file cannot be read: 0x80070781");
    EXPECT_EQ(rightclick::ReportAsText(explanation).find("does not exist"), std::string::npos);
}

}  // namespace
}  // namespace kelvaro
