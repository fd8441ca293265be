#include "common/file.h"
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

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(Options, ParsesEveryOption) {
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
    EXPECT_EQ(ParseOptions({L"[x]", L"/y"}).files.size(), 2U) << "not a list, not an option";
}

TEST(Options, ChooseTheActionOrTellWhatIsWrong) {
    const struct {
        std::vector<std::wstring> arguments;
        Action action;
        const char* error;
    } cases[] = {
        {{L"--register", L"C:\\l.dll"}, Action::registerLibrary, ""},
        {{L"--unregister", L"C:\\l.dll"}, Action::unregisterLibrary, ""},
        {{L"--explain", L"C:\\a.exe"}, Action::explain, ""},
        {{L"--version", L"--explain"}, Action::print, ""},
        {{}, Action::print, "FILE is required"},
        {{L"C:\\a.exe", L"--flags", L"xyz"}, Action::print, "must be a hexadecimal number"},
        {{L"C:\\a.exe", L"--flags", L"100000000"}, Action::print, "up to FFFFFFFF"},
        {{L"--explain", L"C:\\a.exe", L"C:\\b.exe"}, Action::print, "takes exactly one FILE"},
        {{L"--explain", L"--choose", L"C:\\a.exe"}, Action::print, "excludes"},
        {{L"--popup", L"--choose", L"C:\\a.exe"}, Action::print, "excludes"},
        {{L"--register", L"C:\\l.dll", L"--json"}, Action::print, "excludes"},
        {{L""}, Action::print, "FILE: is empty"},
        {{L"--register", L"C:\\l.dll", L"C:\\a.exe"}, Action::print, "this option takes no FILE"},
    };
    for (const auto& [arguments, action, error] : cases) {
        const Options options = ParseOptions(arguments);
        EXPECT_EQ(options.action, action) << error;
        EXPECT_EQ(options.error.empty(), std::string(error).empty()) << options.error;
        EXPECT_PRED2(Contains, options.error, error);
    }
    EXPECT_EQ(ParseOptions(cases[0].arguments).library, L"C:\\l.dll");
    EXPECT_PRED2(Contains, ParseOptions({L"--help"}).output, "Lock/Unlock item is missing");
}

TEST(ResultText, NamesKnownResults) {
    EXPECT_EQ(DescribeResult(E_FAIL), "0x80004005 (E_FAIL: failed)");
    EXPECT_EQ(DescribeResult(static_cast<HRESULT>(0x80040999)), "0x80040999");
    EXPECT_PRED2(Contains, DescribeResult(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)), "denied");
}

Options Selecting(const std::vector<std::wstring>& files) {
    Options options;
    options.files = files;
    return options;
}

Outcome NotLoaded(LoadStep step, HRESULT result = HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT)) {
    Outcome outcome;
    outcome.library = L"C:\\x.dll";
    outcome.loadStep = step;
    outcome.load = result;
    return outcome;
}

Outcome Loaded(HRESULT initialize, HRESULT query = E_FAIL) {
    Outcome outcome;
    outcome.load = S_OK;
    outcome.initialize = initialize;
    outcome.query = query;
    return outcome;
}

TEST(Reason, IsInTheUsersTerms) {
    const std::wstring tool = L"C:\\Apps\\Tool.exe";
    const std::wstring longPath = L"C:\\" + std::wstring(260, L'x') + L".exe";
    const Outcome rejected = Loaded(E_INVALIDARG);
    const struct {
        std::vector<std::wstring> files;
        Outcome outcome;
        std::string reason;
    } cases[] = {
        {{tool},
         NotLoaded(LoadStep::loadLibrary),
         "the registered library C:\\x.dll does not exist (0x800700C1); to register the"},
        {{tool}, NotLoaded(LoadStep::findExport), "does not export DllGetClassObject"},
        {{tool}, NotLoaded(LoadStep::createObject), "could not create the extension object: "},
        {{tool},
         NotLoaded(LoadStep::createObject, CLASS_E_CLASSNOTAVAILABLE),
         "the registered class {00000000-0000-0000-0000-000000000000} is not the extension's"},
        {{tool, tool},
         rejected,
         "2 files are selected; the extension takes exactly one (0x80070057)"},
        {{L"C:\\readme.txt"}, rejected, "readme.txt is neither a program (.exe) nor a shortcut"},
        {{longPath}, rejected, "the path has 267 characters; the extension reads at most 259"},
        {{tool}, rejected, "rejected the selection: " + SystemText(E_INVALIDARG)},
        {{tool}, Loaded(S_OK), "could not build its menu item: " + SystemText(E_FAIL)},
        {{tool}, Loaded(S_OK, S_OK), "the extension added nothing to the menu (0x00000000)"},
    };
    for (const auto& [files, outcome, reason] : cases) {
        const std::string text = ExplainNoItem(Selecting(files), outcome);
        EXPECT_PRED2(Contains, text, reason);
        EXPECT_FALSE(Contains(text, "%1")) << text;
    }
    Options options = Selecting({tool});
    options.flags = 1;
    options.library = L"C:\\x.dll";
    EXPECT_PRED2(Contains, ExplainNoItem(options, Loaded(S_OK, S_OK)), "only the default item");
    EXPECT_EQ(ExplainNoItem(options, NotLoaded(LoadStep::loadLibrary)),
              "the library C:\\x.dll does not exist (0x800700C1)");
}

using Report = DriveTest;

TEST_F(Report, PrintsTextAndJson) {
    Options options = Selecting({L"C:\\\u5DE5\"\t.exe"});
    options.log = true;
    Outcome outcome = Loaded(S_OK, 1);
    outcome.item = {L"Lock", L"verb", L"Help"};
    outcome.invoke = outcome.canUnload = S_OK;
    outcome.invokeLog = {"[time] CreateProcess started (non-blocking)"};
    Surroundings surroundings;
    surroundings.logLines = {"line"};
    surroundings.notes = {"a note", "another"};
    EXPECT_EQ(ReportAsText(options, outcome, surroundings),
              "C:\\\xE5\xB7\xA5\"<U+0009>.exe\n  note    a note\n  note    another\n"
              "  item    Lock\n  verb    verb\n  help    Help\n"
              "  chosen  accepted; the prompt was started\n  log     line\n");
    EXPECT_EQ(ReportAsJson(options, outcome, surroundings).dump(),
              R"({"files":["C:\\工\"\t.exe"],"target":null,"locked":null,"offered":true,)"
              R"("text":"Lock","verb":"verb","help":"Help","selection":"drop list",)"
              R"("load":"0x00000000","initialize":"0x00000000","query":"0x00000001",)"
              R"("unloadable":true,"invoke":"0x00000000","prompt":"started",)"
              R"("log":["line"],"notes":["a note","another"]})");
    surroundings.colour = true;
    EXPECT_PRED2(Contains, ReportAsText(options, outcome, surroundings), "\033[1;32mLock\033[0m");
    surroundings.problem = "nothing is registered";
    EXPECT_PRED2(Contains, ReportAsJson(options, {}, surroundings).dump(),
                 R"("offered":false,"reason":"nothing is registered","log":["line"],)");
}

TEST_F(Report, ShowsTheTargetAndTheLock) {
    const auto text = [](const std::wstring& file, bool locked, const Outcome& outcome = {}) {
        Surroundings surroundings;
        surroundings.target = ReadTarget(file);
        surroundings.locked = locked;
        return ReportAsText(Selecting({file}), outcome, surroundings);
    };
    const std::wstring shortcut = SavedShortcut(L"tool.lnk");
    EXPECT_PRED2(Contains, text(kTool, true), "\n  locked  yes\n");
    EXPECT_PRED2(Contains, text(shortcut, false),
                 "\n  target  C:\\Apps\\Tool.exe (does not exist)\n  locked  no\n");
    EXPECT_PRED2(Contains, text(SavedShortcut(L"environment.lnk"), false),
                 "notepad.exe (does not exist: environment variables are not expanded)\n");
    EXPECT_PRED2(Contains, text(SavedShortcut(L"document.lnk"), false),
                 "\n  target  none: document.lnk leads to C:\\Apps\\readme.txt, which is not a "
                 "program (.exe)\n  locked  no\n");
    EXPECT_PRED2(Contains, text(SavedShortcut(L"control_panel.lnk"), false),
                 "control_panel.lnk is not a readable shortcut, or it does not lead to a file\n");
    Outcome offered;
    offered.item = Item{L"Lock", L"verb", L"Help"};
    EXPECT_PRED2(Contains, text(L"C:\\Test\\missing.lnk", false, offered),
                 "missing.lnk does not exist; the item is the one for an unlocked program");
    Write(kTool, "MZ");
    EXPECT_PRED2(Contains, text(shortcut, false), "Tool.exe\n  locked  no\n");
    Surroundings surroundings;
    surroundings.target = ReadTarget(shortcut);
    EXPECT_PRED2(Contains, ReportAsJson(Selecting({shortcut}), {}, surroundings).dump(),
                 R"("target":"C:\\Apps\\Tool.exe","locked":false,)");
    surroundings.target->program.clear();
    surroundings.target->stored.assign(MAX_PATH - 1, L'x');
    EXPECT_PRED2(Contains, ReportAsText(Selecting({shortcut}), {}, surroundings),
                 "is cut after 259 characters");
}

TEST_F(Report, NotesTellWhichFilesExplorerDoesNotShow) {
    MakeDirectory(L"C:\\dir.exe");
    Write(kTool, "MZ");
    EXPECT_EQ(NotesOnFiles({kTool, L"C:\\dir.exe", L"C:\\none.exe"}),
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
    const std::wstring handler = L"exefile\\shellex\\ContextMenuHandlers\\VorandelKelvaro";
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
    EXPECT_EQ(LogLinesFrom(size), Lines());
    kelvaro::AppendToFile(kLog, "one\r\ntwo \xE4\r\n");
    EXPECT_EQ(LogLinesFrom(size), (Lines{"one", "two \xC3\xA4"}));
    Write(kLog, "1\r\n");
    EXPECT_EQ(LogLinesFrom(size), Lines{"1"}) << "a new log";
}

TEST_F(Log, TellsWhetherItCanBeWritten) {
    EXPECT_EQ(ExplainUnwritableLog(), "it does not exist and cannot be created");
    MakeDirectory(kLog);
    EXPECT_EQ(ExplainUnwritableLog(), DescribeError(ERROR_ACCESS_DENIED));
    RemoveDirectoryW(kLog);
    Write(kLog, "");
    EXPECT_EQ(ExplainUnwritableLog(), "");
}

TEST_F(Log, TellsWhatBecameOfThePrompt) {
    const struct {
        const char* message;
        const char* state;
        const char* words;
    } cases[] = {
        {"CreateProcess started (non-blocking)", "started", "the prompt was started"},
        {"CreateProcess failed gle=5", "not started", "the prompt did not start: "},
        {"Launch failed: KelvaroAuthPrompt/Kelvaro not found in C:\\K", "not found",
         "no prompt was found in C:\\K"},
        {"Launch failed: module dir empty", "not found", "did not return the DLL's path"},
        {"CreateProcess: \"C:\\CreateProcess started.exe\"", "unknown", "the log does not tell"},
    };
    for (const auto& [message, state, words] : cases) {
        const PromptResult result =
            ReadPromptResult({"no time", std::string("[2026-11-25 18:00:00] ") + message});
        EXPECT_STREQ(result.state, state) << message;
        EXPECT_PRED2(Contains, result.words, words);
    }
}

}  // namespace
}  // namespace rightclick
