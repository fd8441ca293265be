#include <objbase.h>

#include "rightclick/library.h"
#include "rightclick/right_click.h"
#include "support/fixture.h"
#include "support/prompt.h"

namespace kelvaro {
namespace {

using rightclick::Options;
using rightclick::Outcome;
using Strings = std::vector<std::string>;

constexpr wchar_t kTool[] = L"C:\\Apps\\Tool.exe";
constexpr wchar_t kShortcut[] = L"C:\\Test\\Tool.lnk";

// The built library, installed and registered, called as the shell calls it.
class EndToEnd : public DriveTest {
  public:
    EndToEnd() {
        const std::wstring directory = kApplication;
        Copy(platform::BuiltFile(KELVARO_LIBRARY), library_);
        for (const wchar_t* const name : {L"English.ini", L"Chinese(Simplified).ini"}) {
            Copy(platform::BuiltFile(KELVARO_LANGUAGE_FILES) + L"\\" + name,
                 directory + L"\\Lang\\" + name);
        }
        InstallPrompt(directory + L"\\KelvaroAuthPrompt.exe");
        InstallPrompt(kTool);
        Copy(platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\tool.lnk", kShortcut);
        SetLocale(L"en-US");
        EXPECT_EQ(rightclick::CallRegistration(library_, "DllRegisterServer"), S_OK);
    }
    ~EndToEnd() override {
        EXPECT_EQ(rightclick::CallRegistration(library_, "DllUnregisterServer"), S_OK);
        EXPECT_FALSE(rightclick::FindHandler(L"exefile"));
        EXPECT_EQ(rightclick::CallRegistration(library_, "DllUnregisterServer"), S_OK);
    }

    static Outcome RightClick(const std::vector<std::wstring>& files, bool choose = false) {
        const auto handler = rightclick::FindHandler(rightclick::ClassOfFile(files[0]));
        EXPECT_TRUE(handler);
        Options options;
        options.files = files;
        options.choose = choose;
        Outcome outcome = handler ? rightclick::RightClick(*handler, options) : Outcome{};
        EXPECT_EQ(outcome.load, S_OK);
        EXPECT_EQ(outcome.canUnload, S_OK) << "nothing may be in use after a right-click";
        return outcome;
    }
    static std::string ItemText(const Outcome& outcome) {
        return outcome.item ? Narrow(outcome.item->text) : "(no item)";
    }

    const std::wstring library_ = std::wstring(kApplication) + L"\\KelvaroShellExt.dll";
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

TEST_F(EndToEnd, SpeaksChinese) {
    SetLocale(L"zh-CN");
    const Outcome outcome = RightClick({kTool});
    EXPECT_EQ(ItemText(outcome),
              "\xE4\xBD\xBF\xE7\x94\xA8 Vorandel Kelvaro "
              "\xE9\x94\x81\xE5\xAE\x9A");
    ASSERT_TRUE(outcome.item);
    EXPECT_EQ(outcome.item->verb, L"vorandel_kelvaro_toggle");
}

TEST_F(EndToEnd, OffersNothingForOtherSelections) {
    Write(L"C:\\Apps\\Other.exe", "MZ");
    EXPECT_EQ(RightClick({kTool, L"C:\\Apps\\Other.exe"}).initialize, E_INVALIDARG);
    EXPECT_EQ(Messages(), Strings{"Initialize ignored selection count=2"});
}

TEST_F(EndToEnd, AChosenVerbIsKnownByName) {
    Options options;
    options.files = {kTool};
    options.verb = L"open";
    const auto handler = rightclick::FindHandler(L"exefile");
    ASSERT_TRUE(handler);
    EXPECT_EQ(rightclick::RightClick(*handler, options).invoke, E_FAIL);
    options.verb = L"VORANDEL_kelvaro_toggle";
    EXPECT_EQ(rightclick::RightClick(*handler, options).invoke, S_OK);
    WaitForPrompt(1);
}

TEST_F(EndToEnd, ALibraryThatIsNoneIsRefused) {
    Write(L"C:\\Test\\none.dll", "no library");
    EXPECT_TRUE(FAILED(rightclick::CallRegistration(L"C:\\Test\\none.dll", "DllRegisterServer")));
    EXPECT_EQ(rightclick::CallRegistration(library_, "NoSuchExport"),
              HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND));
}

}  // namespace
}  // namespace kelvaro
