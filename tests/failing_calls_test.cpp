#include <filesystem>
#include <regex>
#include <set>

#include "common/code_page.h"
#include "common/file.h"
#include "i18n/ui_locale.h"
#include "menu/shortcut_target.h"
#include "rightclick/explain_report.h"
#include "rules/lock_lookup.h"
#include "server/exports.h"
#include "support/every_entry_point.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "testing/failing_calls.h"
#include "testing/watch.h"

namespace kelvaro {
namespace {

using compat::FailingCall;
using compat::FailingNthCall;

class FailingCalls : public DriveTest {
  public:
    FailingCalls() {
        InstallLibrary();
        WriteApplicationFiles();
    }
};

// Makes every call of the library with those platform calls failing whose numbers are given.
// Returns how many calls can fail, and adds the names of those that failed to `failed`.
size_t CallWithFailures(const std::vector<size_t>& numbers, std::set<std::string>& failed) {
    // Without the directory the first log line has to create it.
    std::filesystem::remove_all(platform::NativePath(DriveTest::kLog).parent_path());
    const FailingNthCall failing(numbers);
    ExerciseEveryEntryPoint(LinkedExports(), DriveTest::kShortcut);
    for (const std::string& name : failing.Failed()) {
        failed.insert(name);
    }
    return failing.CallsMade();
}

TEST_F(FailingCalls, EveryFailureLeavesNothingOpenAndTheNextRightClickWorks) {
    std::set<std::string> failed;
    const size_t calls = CallWithFailures({}, failed);
    for (size_t number = 0; number < calls; ++number) {
        for (const auto& numbers : {std::vector{number}, {number, number + 1}}) {
            CallWithFailures(numbers, failed);
            ASSERT_EQ(platform::HeldResources(), "1 module") << "call " << number;
        }
    }
    EXPECT_EQ(CallWithFailures({}, failed), calls);
    EXPECT_TRUE(IsTargetLocked(L"C:\\Apps\\Tool.exe")) << "a later right-click must work";

    // The list that says which imports of the Windows DLL can fail.
    const std::string list =
        Read(platform::BuiltFile(KELVARO_TEST_DATA "/../../scripts/lib/dll-imports.txt"));
    ASSERT_NE(list, "");
    const std::regex line(R"( (\w+) fails\n)");
    for (std::sregex_iterator match(list.begin(), list.end(), line), end; match != end; ++match) {
        const std::string import = (*match)[1];
        EXPECT_TRUE(failed.contains(import)) << import;
    }
}

TEST_F(FailingCalls, ARuleFileOfTwoGibibytesThatShrinksIsReadToItsNewEnd) {
    std::filesystem::resize_file(platform::NativePath(kRules), uintmax_t{1} << 31);
    const compat::ScopedCallObserver truncating(
        [](const compat::CallStart& call) -> std::optional<DWORD> {
            if (call.name == std::string_view("ReadFile")) {
                std::filesystem::resize_file(platform::NativePath(kRules), sizeof kToolRule - 1);
            }
            return std::nullopt;
        });
    EXPECT_TRUE(IsTargetLocked(kTool));
}

TEST_F(FailingCalls, ATargetNeedsASuccessAndAnObject) {
    const struct {
        const char* call;
        HRESULT result;
        const wchar_t* target;
    } cases[] = {{"CoCreateInstance", S_OK, L""},  // succeeds without an object
                 {"IShellLinkW::QueryInterface", S_OK, L""},
                 {"IShellLinkW::GetPath", E_FAIL, L""},  // although it has stored the path
                 {"IShellLinkW::GetPath", S_FALSE, kTool}};
    for (const auto& [call, result, target] : cases) {
        const FailingCall failing(call, static_cast<DWORD>(result));
        EXPECT_EQ(Utf8(ResolveShortcutTarget(kShortcut)), Utf8(target)) << call << result;
    }
}

TEST_F(FailingCalls, LogsWhyTheSelectionCannotBeRead) {
    Extension extension;
    for (const std::string call : {"GlobalLock", "DragQueryFileW"}) {
        const FailingCall failing(call, ERROR_GEN_FAILURE, 1);
        EXPECT_EQ(extension.Select({kShortcut}), E_INVALIDARG) << call;
        EXPECT_EQ(Messages().back(), "Initialize " + call + " failed");
    }
}

// See "What hosts can rely on" in docs/architecture.md.
TEST_F(FailingCalls, LogsAndShowsWhyThePromptDoesNotStart) {
    Extension extension;
    extension.Select({kShortcut});
    {
        const FailingCall failing("CreateProcessW", ERROR_SUCCESS);
        EXPECT_EQ(extension.Choose(), S_OK);
    }
    EXPECT_EQ(Messages().back(), "CreateProcess failed gle=0");
    EXPECT_EQ(boxes_.shown.size(), 1U);
    const FailingCall failing("GetModuleFileNameW", ERROR_GEN_FAILURE);
    EXPECT_EQ(extension.Choose(), S_OK);
    EXPECT_EQ(Messages().back(), "Launch failed: module dir empty");
    EXPECT_EQ(boxes_.shown.size(), 1U) << "no box without a directory";
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
    // Each conversion makes a call for the length, then one for the text. Either both lengths fail
    // or both texts.
    for (const auto& numbers : {std::vector<size_t>{0, 1}, {1, 3}}) {
        const FailingNthCall failing(numbers);
        EXPECT_EQ(WideFromBytes(CP_UTF8, 0, "text"), L"");
        EXPECT_EQ(Utf8FromWide(L"text"), "");
    }
}

TEST_F(FailingCalls, UnreadableLanguageSettingCountsAsMissing) {
    SetLocale(L"zh-CN");
    const compat::Watch<&RegOpenKeyExW> watch([](auto, auto, auto, REGSAM access, auto) {
        EXPECT_EQ(access, KEY_READ) << "some users can only read";
    });
    for (const char* const call : {"RegOpenKeyExW", "RegQueryValueExW"}) {
        const FailingCall failing(call, ERROR_ACCESS_DENIED);
        EXPECT_EQ(GetUiLocale(), L"en-US") << call;
    }
}

TEST_F(FailingCalls, RegistrationFailsWithoutModulePathOrClsid) {
    DeleteFileW(L"C:\\registry.json");
    for (const DWORD error : {DWORD{ERROR_GEN_FAILURE}, DWORD{ERROR_SUCCESS}}) {
        const FailingCall failing("GetModuleFileNameW", error);
        EXPECT_EQ(DllRegisterServer(), error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(error));
    }
    for (const HRESULT result : {E_OUTOFMEMORY, S_OK}) {  // S_OK: succeeds without a text
        const FailingCall failing("StringFromCLSID", static_cast<DWORD>(result));
        EXPECT_EQ(DllRegisterServer(), E_FAIL);
        EXPECT_EQ(DllUnregisterServer(), E_FAIL);
    }
    EXPECT_EQ(Read(L"C:\\registry.json"), "");
}

TEST_F(FailingCalls, AnotherProcessMayCreateADirectoryFirst) {
    const FailingCall failing("CreateDirectoryW", ERROR_ALREADY_EXISTS);
    EXPECT_TRUE(CreateDirectories(TestPath(L"new")));
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
