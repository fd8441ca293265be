#include "common/file.h"
#include "common/text.h"
#include "registration/keys.h"
#include "registration/registration.h"
#include "rightclick/handler.h"
#include "rightclick/log_lines.h"
#include "rightclick/options.h"
#include "rightclick/report.h"
#include "rightclick/result_text.h"
#include "rightclick/target.h"
#include "support/fixture.h"

namespace rightclick {
namespace {

TEST(Options, ParsesEveryOption) {
    const Options options =
        ParseOptions({L"--choose", L"--json", L"--log", L"--flags", L"1a", L"--verb", L"x",
                      L"--library", L"C:/l.dll", L"C:/Apps\\a.exe", L"--", L"C:\\--b.exe"});
    EXPECT_TRUE(options.choose && options.json && options.log);
    EXPECT_EQ(options.flags, 0x1AU);
    EXPECT_EQ(options.verb, L"x");
    EXPECT_EQ(options.library, L"C:\\l.dll");
    EXPECT_EQ(options.files, (std::vector<std::wstring>{L"C:\\Apps\\a.exe", L"C:\\--b.exe"}));
    EXPECT_EQ(options.action, Action::rightClick);
    EXPECT_EQ(ParseOptions({L"[x]", L"/y"}).files.size(), 2U) << "not a list, not an option";
}

TEST(Options, ChooseTheActionOrTellWhatIsWrong) {
    const auto expect = [](const std::vector<std::wstring>& arguments, Action action,
                           const std::string& error = "") {
        const Options options = ParseOptions(arguments);
        EXPECT_EQ(options.action, action) << error;
        EXPECT_EQ(options.error.empty(), error.empty()) << options.error;
        EXPECT_PRED2(Contains, options.error, error);
    };
    expect({L"--register", L"l.dll"}, Action::registerLibrary);
    expect({L"--unregister", L"l.dll"}, Action::unregisterLibrary);
    expect({L"--explain", L"a.exe"}, Action::explain);
    expect({L"--version", L"--explain"}, Action::print);
    expect({}, Action::print, "FILE is required");
    expect({L""}, Action::print, "FILE: is empty");
    expect({L"a.exe", L"--flags", L"xyz"}, Action::print, "must be a hexadecimal number");
    expect({L"a.exe", L"--flags", L"100000000"}, Action::print, "number up to FFFFFFFF");
    expect({L"--explain", L"a.exe", L"b.exe"}, Action::print, "takes exactly one FILE");
    expect({L"--explain", L"--choose", L"a.exe"}, Action::print, "excludes");
    expect({L"--popup", L"--choose", L"a.exe"}, Action::print, "excludes");
    expect({L"--register", L"l.dll", L"--json"}, Action::print, "excludes");
    expect({L"--register", L"l.dll", L"a.exe"}, Action::print, "this option takes no FILE");
}

TEST(Reason, IsInTheUsersTerms) {
    Options options;
    options.files = {L"C:\\Apps\\Tool.exe"};
    Outcome outcome;
    outcome.library = L"C:\\x.dll";
    const auto expect = [&](const std::string& reason) {
        EXPECT_PRED2(Contains, ExplainNoItem(options, outcome), reason);
    };
    outcome.load = HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT);
    EXPECT_FALSE(Contains(SystemText(outcome.load), "%1"));
    expect("the registered library C:\\x.dll does not exist (0x800700C1); install or repair");
    outcome.loadStep = LoadStep::findExport;
    expect("does not export DllGetClassObject (0x800700C1); install or repair");
    outcome.loadStep = LoadStep::createObject;
    expect("could not create the extension object: " + DescribeFailure(outcome.load));
    outcome.load = CLASS_E_CLASSNOTAVAILABLE;
    expect("class {00000000-0000-0000-0000-000000000000} is not the extension's, and the");
    options.library = L"C:\\x.dll";
    expect("the library C:\\x.dll does not have it (0x80040111)");
    outcome.load = S_OK;
    outcome.initialize = E_INVALIDARG;
    expect("rejected the selection: " + DescribeFailure(E_INVALIDARG));
    options.files = {L"C:\\a.exe", L"C:\\a.exe"};
    expect("2 files are selected; the extension takes exactly one (0x80070057)");
    options.files = {L"C:\\readme.txt"};
    expect("readme.txt is neither a program (.exe) nor a shortcut");
    options.files = {L"C:\\" + std::wstring(260, L'x') + L".exe"};
    expect("the path has 267 characters; the extension reads at most 259");
    outcome.initialize = S_OK;
    expect("could not build its menu item: " + DescribeFailure(E_FAIL));
    outcome.query = S_OK;
    expect("the extension added nothing to the menu (0x00000000)");
    options.flags = 1;
    expect("only the default item");
}

using Report = DriveTest;

TEST_F(Report, PrintsTextAndJson) {
    Options options;
    options.files = {L"C:\\\u5DE5\"\t.exe"};
    options.log = true;
    Outcome outcome;
    outcome.item = {L"Lock", L"verb", L"Help"};
    outcome.query = 1;
    outcome.invoke = outcome.load = outcome.initialize = S_OK;
    outcome.invokeLog = {"[time] CreateProcess started (non-blocking)"};
    Surroundings surroundings;
    surroundings.logLines = {"line"};
    surroundings.notes = {"a note"};
    surroundings.target = Target{kelvaro::FileKind::program, L"", L"C:\\a.exe"};
    surroundings.colour = true;
    const std::string text = ReportAsText(options, outcome, surroundings);
    for (const char* const part :
         {"\"<U+0009>.exe\033[0m\n  note    a note\n  locked  no\n  item    "
          "\033[1;32mLock\033[0m\n",
          "  verb    verb\n  help    Help\n  chosen  accepted; the prompt was started\n",
          "  warning the DLL cannot be unloaded", "  log     \033[2mline"}) {
        EXPECT_PRED2(Contains, text, part);
    }
    EXPECT_EQ(ReportAsJson(options, outcome, surroundings).dump(),
              R"({"files":["C:\\工\"\t.exe"],"target":"C:\\a.exe","locked":false,"offered":true,)"
              R"("text":"Lock","verb":"verb","help":"Help","selection":"drop list",)"
              R"("load":"0x00000000","initialize":"0x00000000","query":"0x00000001",)"
              R"("unloadable":false,"invoke":"0x00000000","prompt":"started",)"
              R"("log":["line"],"notes":["a note"]})");
    surroundings.problem = "nothing is registered";
    outcome.item.reset();
    EXPECT_PRED2(Contains, ReportAsText(options, outcome, surroundings),
                 "no item\033[0m nothing is");
    EXPECT_PRED2(Contains, ReportAsJson(options, outcome, surroundings).dump(),
                 R"("offered":false,"reason":"nothing is registered","log":["line"],)");
}

TEST_F(Report, ShowsTheTargetAndTheLock) {
    Surroundings surroundings;
    surroundings.locked = true;
    Options options;
    Outcome offered;
    offered.item = Item{L"Lock", L"verb", L"Help"};
    const auto expect = [&](const std::wstring& file, const std::string& text) {
        options.files = {file};
        surroundings.target = ReadTarget(file);
        EXPECT_PRED2(Contains, ReportAsText(options, offered, surroundings), text);
    };
    expect(kTool, "\n  locked  yes\n");
    expect(SavedShortcut(L"tool.lnk"),
           "\n  target  C:\\Apps\\Tool.exe (does not exist)\n  locked  yes\n");
    if (!platform::IsWine()) {  // Wine expands variables
        expect(SavedShortcut(L"environment.lnk"),
               "notepad.exe (does not exist: environment variables are not expanded)\n");
    }
    expect(SavedShortcut(L"document.lnk"),
           "\n  target  none: document.lnk leads to "
           "C:\\Apps\\readme.txt, which is not a program (.exe)");
    expect(SavedShortcut(L"control_panel.lnk"),
           "control_panel.lnk is not a readable shortcut, or it does not lead to a file");
    expect(TestPath(L"missing.lnk"),
           "missing.lnk does not exist; the item is the one for an unlocked program");
    const Target cut = {kelvaro::FileKind::shortcut, std::wstring(MAX_PATH - 1, L'x'), L""};
    EXPECT_PRED2(Contains, ExplainNoProgram(SavedShortcut(L"tool.lnk"), cut),
                 "is cut after 259 characters");
}

TEST_F(Report, NotesTellWhichFilesExplorerDoesNotShow) {
    MakeDirectory(TestPath(L"dir.exe"));
    Write(kProgram, "MZ");
    EXPECT_EQ(NotesOnFiles({kProgram, TestPath(L"dir.exe"), L"C:\\none.exe"}),
              (std::vector<std::string>{
                  "dir.exe is a folder; Explorer never loads the extension for folders",
                  "none.exe does not exist; Explorer could not have shown it"}));
}

using Registration = DriveTest;

TEST_F(Registration, LeadsToTheLibraryOrTellsWhatIsWrong) {
    const auto problem = [](const wchar_t* fileClass = L"exefile") {
        std::string reason;
        FindHandler(fileClass, &reason);
        return reason;
    };
    EXPECT_PRED2(Contains, problem(), "nothing is registered for exefile for this user; ");
    EXPECT_PRED2(Contains, problem(L"myexe"), "for exefile and lnkfile only; to restore");
    EXPECT_EQ(ClassOfFile(L"C:\\a\\b.EXE"), L"exefile");
    EXPECT_EQ(ClassOfFile(L"C:\\a\\b.lnk"), L"lnkfile");
    const std::wstring clsid = kClsidText;
    const auto write = [](const std::wstring& key, const std::wstring& data) {
        kelvaro::WriteRegistryString(HKEY_CURRENT_USER, L"Software\\Classes\\" + key, L"", data);
    };
    const std::wstring handler = kelvaro::Concat({kelvaro::kProgramClass, kelvaro::kHandlerKey});
    write(handler, L"no class identifier");
    EXPECT_PRED2(Contains, problem(), "it is not a class identifier");
    write(handler, clsid);
    EXPECT_PRED2(Contains, problem(), "registered for exefile, but without a library");
    write(L"CLSID\\" + clsid + L"\\InprocServer32", L"\"C:\\x.dll\"");
    const auto library = [] { return FindHandler(L"exefile").value_or(Handler{}).library; };
    EXPECT_EQ(library(), L"C:\\x.dll") << "COM ignores the quotes";
#ifdef _WIN32
    RegSetKeyValueW(HKEY_CURRENT_USER,
                    (L"Software\\Classes\\CLSID\\" + clsid + L"\\InprocServer32").c_str(), nullptr,
                    REG_EXPAND_SZ, L"%SystemDrive%\\y.dll", sizeof L"%SystemDrive%\\y.dll");
    EXPECT_EQ(library(), L"C:\\y.dll") << "COM expands variables";
#endif
}

using Log = DriveTest;

TEST_F(Log, ReturnsNewLines) {
    using Lines = std::vector<std::string>;
    Write(kLog, "old\r\n");
    const size_t size = LogSize();
    kelvaro::AppendToFile(kLog, "one\r\ntwo \xE4\r\n");
    EXPECT_EQ(LogLinesFrom(size), (Lines{"one", "two \xC3\xA4"}));
    Write(kLog, "1\r\n");
    EXPECT_EQ(LogLinesFrom(size), Lines{"1"}) << "a new log";
}

TEST_F(Log, TellsWhetherItCanBeWritten) {
    EXPECT_EQ(ExplainUnwritableLog(), "it does not exist and cannot be created");
    MakeDirectory(kLog);
    EXPECT_EQ(ExplainUnwritableLog(), DescribeError(ERROR_ACCESS_DENIED));
}

TEST_F(Log, TellsWhatBecameOfThePrompt) {
    const auto expect = [](const std::string& message, const char* state,
                           const std::string& words) {
        const auto result = ReadPromptResult({"no time", "[2026-11-25 18:00:00] " + message});
        EXPECT_STREQ(result.state, state) << message;
        EXPECT_PRED2(Contains, result.words, words);
    };
    expect("CreateProcess started (non-blocking)", "started", "the prompt was started");
    expect("CreateProcess failed gle=5", "not started",
           "the prompt did not start: " + DescribeError(ERROR_ACCESS_DENIED));
    expect("Launch failed: KelvaroAuthPrompt/Kelvaro not found in C:\\K", "not found", "in C:\\K");
    expect("Launch failed: module dir empty", "not found", "did not return the DLL's path");
    expect("CreateProcess: \"C:\\CreateProcess started (non-blocking)\"", "unknown",
           "does not tell");
}

}  // namespace
}  // namespace rightclick
