#include "registration/registration.h"
#include "rightclick/handler.h"
#include "rightclick/options.h"
#include "rightclick/report.h"
#include "rightclick/result_text.h"
#include "support/fixture.h"

namespace rightclick {
namespace {

TEST(Options, AreRead) {
    const Options options =
        ParseOptions({L"--choose", L"--json", L"--log", L"--flags", L"1a", L"--verb", L"x",
                      L"--library", L"C:\\l.dll", L"C:/Apps\\a.exe", L"--", L"C:\\--b.exe"});
    EXPECT_EQ(options.error, "");
    EXPECT_TRUE(options.choose && options.json && options.log);
    EXPECT_EQ(options.flags, 0x1AU);
    EXPECT_EQ(options.verb, L"x");
    EXPECT_EQ(options.library, L"C:\\l.dll");
    EXPECT_EQ(options.files, (std::vector<std::wstring>{L"C:\\Apps\\a.exe", L"C:\\--b.exe"}));
    EXPECT_EQ(options.action, Action::rightClick);
    EXPECT_EQ(ParseOptions({L"--register", L"C:\\l.dll"}).action, Action::registerLibrary);
    EXPECT_EQ(ParseOptions({L"--help"}).action, Action::help);
}

TEST(Options, WrongOnesAreNamed) {
    const struct {
        std::vector<std::wstring> arguments;
        const char* error;
    } cases[] = {{{}, "which file?"},
                 {{L"--json"}, "which file?"},
                 {{L"--wrong", L"C:\\a.exe"}, "unknown option --wrong"},
                 {{L"C:\\a.exe", L"--verb"}, "--verb needs a value"},
                 {{L"C:\\a.exe", L"--flags", L"xyz"}, "--flags takes a hexadecimal number"},
                 {{L"C:\\a.exe", L"--flags", L""}, "--flags takes a hexadecimal number"},
                 {{L"--register"}, "--register needs a value"}};
    for (const auto& [arguments, error] : cases) {
        EXPECT_EQ(ParseOptions(arguments).error, error);
    }
}

TEST(Results, AreExplained) {
    EXPECT_EQ(DescribeResult(E_FAIL), "0x80004005 (E_FAIL: failed)");
    EXPECT_EQ(DescribeResult(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)),
              "0x80070005 (access is denied)");
    EXPECT_EQ(DescribeResult(HRESULT_FROM_WIN32(1234)), "0x800704D2 (system error 1234)");
    EXPECT_EQ(DescribeResult(static_cast<HRESULT>(0x80040999)), "0x80040999");
}

TEST(Report, SaysTheSameForPeopleAndPrograms) {
    Options options;
    options.files = {L"C:\\\u5DE5\"\t.exe"};
    options.log = true;
    Outcome outcome;
    outcome.load = outcome.initialize = outcome.canUnload = S_OK;
    outcome.query = 1;
    outcome.item = {L"Lock", L"verb", L"Help"};
    outcome.invoke = E_FAIL;
    EXPECT_EQ(ReportAsText(options, outcome, {"a note", false, {"line"}}),
              "C:\\\xE5\xB7\xA5\"\t.exe\n  note    a note\n  item    Lock\n  verb    verb\n"
              "  help    Help\n  chosen  0x80004005 (E_FAIL: failed)\n  log     line\n");
    EXPECT_NE(ReportAsText(options, outcome, {"", true, {}}).find("\033[1;32mLock\033[0m"),
              std::string::npos);
    EXPECT_EQ(ReportAsJson(options, outcome, {"", false, {"line"}}),
              "{\"files\": [\"C:\\\\\xE5\xB7\xA5\\\"\\u0009.exe\"], \"offered\": true, "
              "\"text\": \"Lock\", \"verb\": \"verb\", \"help\": \"Help\", "
              "\"selection\": \"drop list\", "
              "\"load\": \"0x00000000\", \"initialize\": \"0x00000000\", \"query\": "
              "\"0x00000001\", \"unloadable\": true, \"invoke\": \"0x80004005\", "
              "\"log\": [\"line\"]}\n");
    outcome = {};
    EXPECT_NE(ReportAsText(options, outcome, {}).find("could not be used"), std::string::npos);
}

using HandlerTest = DriveTest;

TEST_F(HandlerTest, IsFoundThroughTheRegistry) {
    EXPECT_FALSE(FindHandler(L"exefile"));
    EXPECT_EQ(ClassOfFile(L"C:\\a\\b.EXE"), L"exefile");
    EXPECT_EQ(ClassOfFile(L"C:\\a\\b.lnk"), L"lnkfile");
    EXPECT_EQ(ClassOfFile(L"C:\\a.exe\\b"), L"");
    const std::wstring handler =
        L"Software\\Classes\\exefile\\shellex\\ContextMenuHandlers\\"
        L"VorandelKelvaro";
    const std::wstring clsid = kClsidText;
    const auto write = [](const std::wstring& key, const std::wstring& data) {
        kelvaro::WriteRegistryString(HKEY_CURRENT_USER, key, L"", data);
    };
    write(handler, L"no class identifier");
    EXPECT_FALSE(FindHandler(L"exefile"));
    write(handler, clsid);
    EXPECT_FALSE(FindHandler(L"exefile")) << "the class has no library";
    write(L"Software\\Classes\\CLSID\\" + clsid + L"\\InprocServer32", L"C:\\x.dll");
    ASSERT_TRUE(FindHandler(L"exefile"));
    EXPECT_EQ(FindHandler(L"exefile")->library, L"C:\\x.dll");
}

}  // namespace
}  // namespace rightclick
