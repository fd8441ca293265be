#include "launch/launch_toggle.h"

#include "rules/lock_lookup.h"
#include "support/fixture.h"
#include "support/prompt.h"

#ifndef _WIN32
#include "testing/watch.h"
#endif

namespace kelvaro {
namespace {

TEST(CommandLine, EscapesQuotes) {
    EXPECT_EQ(BuildCommandLine(L"p", L"a\"b\\"),
              L"\"p\" --auth-only --startup-gate --shell-toggle \"a\\\"b\\\"");
}

class Launch : public DriveTest {
  public:
    Launch() {
        InstallLibrary();
        SetLocale(L"en-US");
    }
    static std::string Started(const std::string& name) {
        return "CreateProcess: \"" + Utf8(kApplication) + "\\" + name +
               "\" --auth-only --startup-gate --shell-toggle \"C:\\Apps\\Tool.exe\"";
    }
};

TEST_F(Launch, StartsTheFirstProgramThatExists) {
    int calls = 0;
    for (const std::string name : {"Kelvaro_UI.exe", "Kelvaro.exe", "KelvaroAuthPrompt.exe"}) {
        InstallPrompt(kApplication + L"\\" + std::wstring(name.begin(), name.end()));
        DeleteFileW(kLog);
        LaunchToggle(kTool, nullptr);
        EXPECT_EQ(Messages(), (Strings{Started(name), "CreateProcess started (non-blocking)"}));
        const auto call = WaitForPrompt(++calls);
        EXPECT_EQ("CreateProcess: " + call.commandLine, Started(name));
        EXPECT_EQ(call.directory, Utf8(kApplication));
    }
    EXPECT_EQ(boxes_.shown, Strings());
}

TEST_F(Launch, ReportsThatNoProgramExists) {
    LaunchToggle(L"", nullptr);
    const Strings logged = {"Launch failed: KelvaroAuthPrompt/Kelvaro not found in " +
                            Utf8(kApplication)};
    EXPECT_EQ(Messages(), logged);
    EXPECT_EQ(boxes_.shown, Strings{"Vorandel Kelvaro: Cannot find KelvaroAuthPrompt.exe."});
    EXPECT_EQ(boxes_.logged, logged) << "the log comes first: the box blocks";
}

// The next program is not tried: it could ask for another authorisation.
TEST_F(Launch, ReportsThatTheProgramDoesNotStart) {
    Write(kEnglishFile,
          "[Product]\nProduct short Name=Kel\n[ShellExt]\nmsg.launch_failed=No {product}\n");
    MakeDirectory(kPrompt);
    InstallPrompt(kApplication + L"\\Kelvaro.exe");
    LaunchToggle(kTool, nullptr);
    EXPECT_EQ(Messages(),
              (Strings{Started("KelvaroAuthPrompt.exe"), "CreateProcess failed gle=5"}));
    EXPECT_EQ(boxes_.shown, (Strings{"Kel: No {product}"}));
    EXPECT_EQ(boxes_.logged, (Strings{"CreateProcess failed gle=5"}));
    RemoveDirectoryW(kPrompt.c_str());
    Write(kPrompt, "no program");
    LaunchToggle(kTool, nullptr);
    EXPECT_EQ(Messages().back(), "CreateProcess failed gle=193");
}

TEST_F(Launch, PassesAnyPathAsOneArgument) {
    InstallPrompt(kPrompt);
    int calls = 0;
    for (const wchar_t* const path :
         {L"C:\\Apps\\a  b.exe", L"C:\\Apps\\100%PATH%.exe", L"C:\\Apps\\a & b ^ c, d;'e'.exe",
          L"C:\\\u5DE5\u5177\\\u00E9 \xD83D\xDE00.exe", L"C:\\Apps\\--shell-toggle.exe"}) {
        LaunchToggle(path, nullptr);
        const auto call = WaitForPrompt(++calls);
        EXPECT_TRUE(call.commandLine.ends_with(" \"" + Utf8(path) + "\"")) << call.commandLine;
        EXPECT_TRUE(IsTargetLocked(path)) << Utf8(path);
    }
}

#ifndef _WIN32

TEST_F(Launch, StartsThePromptHiddenAndWithoutTheHostsHandles) {
    Copy(platform::BuiltFile("/bin/true"), kPrompt);
    int starts = 0;
    const compat::Watch<&CreateProcessW> watch(
        [&starts](LPCWSTR application, auto, auto, auto, BOOL inherit, DWORD flags,
                  LPVOID environment, LPCWSTR directory, STARTUPINFOW* startup, auto) {
            ++starts;
            EXPECT_EQ(application, nullptr) << "the system takes the program from the line";
            EXPECT_FALSE(inherit);
            EXPECT_EQ(flags, CREATE_NO_WINDOW);
            EXPECT_EQ(environment, nullptr) << "the prompt needs the host's environment";
            EXPECT_EQ(directory, kApplication);
            EXPECT_EQ(startup->cb, sizeof *startup);
            EXPECT_EQ(startup->dwFlags, STARTF_USESHOWWINDOW);
            EXPECT_EQ(startup->wShowWindow, SW_HIDE);
        });
    LaunchToggle(kTool, nullptr);
    EXPECT_EQ(starts, 1);
}

#endif

}  // namespace
}  // namespace kelvaro
