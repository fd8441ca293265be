#include "common/file.h"
#include "common/owners.h"
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

TEST(Options, ChooseTheAction) {
    const struct {
        std::vector<std::wstring> arguments;
        Action action;
    } cases[] = {{{L"--register", L"C:\\l.dll"}, Action::registerLibrary},
                 {{L"--unregister", L"C:\\l.dll"}, Action::unregisterLibrary},
                 {{L"--explain", L"C:\\\u5DE5.exe"}, Action::explain},
                 {{L"--version", L"--explain"}, Action::print},
                 {{L"--help"}, Action::print}};
    for (const auto& [arguments, action] : cases) {
        const Options options = ParseOptions(arguments);
        EXPECT_EQ(options.error, "");
        EXPECT_EQ(options.action, action) << Utf8(arguments[0]);
    }
    EXPECT_EQ(ParseOptions(cases[0].arguments).library, L"C:\\l.dll");
    EXPECT_EQ(ParseOptions(cases[2].arguments).files[0], L"C:\\\u5DE5.exe");
    EXPECT_PRED2(Contains, ParseOptions({L"--help"}).output, "Lock/Unlock item is missing");
}

TEST(Options, ReportsWrongUsage) {
    const struct {
        std::vector<std::wstring> arguments;
        const char* error;
    } cases[] = {
        {{}, "FILE is required"},
        {{L"--json"}, "FILE is required"},
        {{L"--wrong", L"C:\\a.exe"}, "--wrong"},
        {{L"C:\\a.exe", L"--verb"}, "--verb: 1 required NAME missing"},
        {{L"C:\\a.exe", L"--flags", L"xyz"}, "must be a hexadecimal number up to FFFFFFFF"},
        {{L"C:\\a.exe", L"--flags", L""}, "--flags: must be a hexadecimal number"},
        {{L"C:\\a.exe", L"--flags", L"100000000"}, "--flags: must be a hexadecimal"},
        {{L"--explain", L"C:\\a.exe", L"C:\\b.exe"}, "takes exactly one FILE"},
        {{L"--explain", L"C:\\a.exe", L"--register", L"C:\\l.dll"}, "excludes"},
        {{L"--explain"}, "--explain: takes exactly one FILE"},
        {{L"--explain", L"--choose", L"C:\\a.exe"}, "excludes"},
        {{L"--popup", L"--choose", L"C:\\a.exe"}, "excludes"},
        {{L"--register", L"C:\\l.dll", L"--json"}, "excludes"},
        {{L""}, "FILE: is empty"},
        {{L"--register", L"C:\\l.dll", L"C:\\a.exe"}, "--register: this option takes no FILE"},
        {{L"--register"}, "--register: 1 required LIBRARY missing"}};
    for (const auto& [arguments, error] : cases) {
        EXPECT_PRED2(Contains, ParseOptions(arguments).error, error);
    }
}

TEST(ResultText, NamesKnownResults) {
    EXPECT_EQ(DescribeResult(E_FAIL), "0x80004005 (E_FAIL: failed)");
    EXPECT_EQ(DescribeResult(static_cast<HRESULT>(0x80040999)), "0x80040999");
    const HRESULT denied = HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);
    EXPECT_PRED2(Contains, SystemText(denied), "denied");
    EXPECT_EQ(DescribeResult(denied), "0x80070005 (" + SystemText(denied) + ")");
    EXPECT_EQ(SystemText(static_cast<HRESULT>(0x80040999)), "");
}

TEST(Reason, IsInTheUsersTerms) {
    const std::wstring tool = L"C:\\Apps\\Tool.exe";
    Outcome notLoaded;
    notLoaded.library = L"C:\\x.dll";
    notLoaded.load = HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT);
    const auto failedAt = [&notLoaded](LoadStep step) {
        Outcome outcome = notLoaded;
        outcome.loadStep = step;
        return outcome;
    };
    Outcome refused;
    refused.load = S_OK;
    refused.initialize = E_INVALIDARG;
    Outcome noQuery = refused;
    noQuery.initialize = S_OK;
    Outcome nothing = noQuery;
    nothing.query = S_OK;
    const struct {
        std::vector<std::wstring> files;
        Outcome outcome;
        std::string reason;
    } cases[] = {
        {{tool},
         notLoaded,
         "the registered library C:\\x.dll does not exist (0x800700C1); to register the"},
        {{tool}, failedAt(LoadStep::findExport), "does not export DllGetClassObject"},
        {{tool}, failedAt(LoadStep::createObject), "could not create the extension object: "},
        {{tool, tool},
         refused,
         "2 files are selected; the extension takes exactly one (0x80070057)"},
        {{L"C:\\Apps\\readme.txt"},
         refused,
         "readme.txt is neither a program (.exe) nor a shortcut (.lnk) (0x80070057)"},
        {{L"C:\\" + std::wstring(260, L'x') + L".exe"},
         refused,
         "the path has 267 characters; the extension reads at most 259 (0x80070057)"},
        {{tool}, refused, "the extension rejected the selection: " + SystemText(E_INVALIDARG)},
        {{tool}, noQuery, "the extension could not build its menu item: " + SystemText(E_FAIL)},
        {{tool}, nothing, "the extension added nothing to the menu (0x00000000)"},
    };
    for (const auto& [files, outcome, reason] : cases) {
        Options options;
        options.files = files;
        EXPECT_PRED2(Contains, ExplainNoItem(options, outcome), reason);
    }
    Options options;
    options.files = {tool};
    options.flags = 1;
    options.library = L"C:\\x.dll";
    EXPECT_PRED2(Contains, ExplainNoItem(options, nothing), "only the default item");
    EXPECT_TRUE(ExplainNoItem(options, notLoaded).starts_with("the library C:\\x.dll"));
    EXPECT_FALSE(Contains(ExplainNoItem(options, notLoaded), "%1"));
    EXPECT_FALSE(Contains(ExplainNoItem(options, notLoaded), "--register"));
    Outcome otherClass = failedAt(LoadStep::createObject);
    otherClass.load = CLASS_E_CLASSNOTAVAILABLE;
    otherClass.clsid = {1, 2, 3, {}};
    EXPECT_PRED2(Contains, ExplainNoItem(options, otherClass),
                 "the registered class {00000001-0002-0003-0000-000000000000} is not the "
                 "extension's");
}

TEST(Report, PrintsTextAndJson) {
    Options options;
    options.files = {L"C:\\\u5DE5\"\t.exe"};
    options.log = true;
    Outcome outcome;
    outcome.load = outcome.initialize = outcome.canUnload = S_OK;
    outcome.query = 1;
    outcome.item = {L"Lock", L"verb", L"Help"};
    outcome.invoke = S_OK;
    outcome.invokeLog = {"[time] CreateProcess started (non-blocking)"};
    Surroundings surroundings;
    surroundings.logLines = {"line"};
    surroundings.notes = {"a note", "another"};
    EXPECT_EQ(
        ReportAsText(options, outcome, surroundings),
        "C:\\\xE5\xB7\xA5\"<U+0009>.exe\n  note    a note\n  note    another\n  item    Lock\n  "
        "verb    verb\n"
        "  help    Help\n  chosen  accepted; the prompt was started\n  log     line\n");
    EXPECT_EQ(ReportAsJson(options, outcome, surroundings),
              "{\"files\":[\"C:\\\\\xE5\xB7\xA5\\\"\\t.exe\"],\"target\":null,\"locked\":null,"
              "\"offered\":true,"
              "\"text\":\"Lock\",\"verb\":\"verb\",\"help\":\"Help\","
              "\"selection\":\"drop list\",\"load\":\"0x00000000\",\"initialize\":\"0x00000000\","
              "\"query\":\"0x00000001\",\"unloadable\":true,\"invoke\":\"0x00000000\",\"prompt\":"
              "\"started\","
              "\"log\":[\"line\"],\"notes\":[\"a note\",\"another\"]}\n");
    surroundings.colour = true;
    EXPECT_PRED2(Contains, ReportAsText(options, outcome, surroundings), "\033[1;32mLock\033[0m");
    surroundings.problem = "nothing is registered";
    options.log = false;
    surroundings.notes.clear();
    EXPECT_EQ(ReportAsJson(options, {}, surroundings),
              "{\"files\":[\"C:\\\\\xE5\xB7\xA5\\\"\\t.exe\"],\"target\":null,\"locked\":null,"
              "\"offered\":false,"
              "\"reason\":\"nothing is registered\",\"notes\":[]}\n");
}

TEST_F(DriveTest, ReportShowsTheTargetAndTheLock) {
    const std::wstring shortcuts = platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\";
    Write(L"C:\\Test\\broken.lnk", "no shortcut");
    const struct {
        std::wstring file;
        bool locked;
        const char* lines;
    } cases[] = {
        {L"C:\\Apps\\Tool.exe", true, "\n  locked  yes\n"},
        {shortcuts + L"tool.lnk", false,
         "\n  target  C:\\Apps\\Tool.exe (does not exist)\n  locked  no\n"},
        {shortcuts + L"document.lnk", false,
         "\n  target  none: document.lnk leads to C:\\Apps\\readme.txt, which is not a program "
         "(.exe)\n  locked  no\n"},
        {shortcuts + L"control_panel.lnk", false, "it does not lead to a file\n"},
        {L"C:\\Test\\broken.lnk", false, "broken.lnk is not a readable shortcut"},
        {L"C:\\Test\\missing.lnk", false, "missing.lnk does not exist\n"},
    };
    for (const auto& [file, locked, lines] : cases) {
        Options options;
        options.files = {file};
        Surroundings surroundings;
        surroundings.target = ReadTarget(file);
        surroundings.locked = locked;
        EXPECT_PRED2(Contains, ReportAsText(options, {}, surroundings), lines);
    }
    Write(L"C:\\Apps\\Tool.exe", "MZ");
    Options options;
    options.files = {shortcuts + L"tool.lnk"};
    Surroundings surroundings;
    surroundings.target = ReadTarget(options.files[0]);
    EXPECT_PRED2(Contains, ReportAsText(options, {}, surroundings), "Tool.exe\n  locked  no\n");
    EXPECT_PRED2(Contains, ReportAsJson(options, {}, surroundings),
                 R"("target":"C:\\Apps\\Tool.exe","locked":false,)");
    surroundings.target = Target{kelvaro::FileKind::shortcut, std::wstring(MAX_PATH - 1, L'x'), {}};
    EXPECT_PRED2(Contains, ReportAsText(options, {}, surroundings), "is cut after 259 characters");
    Outcome offered;
    offered.item = Item{L"Lock", L"verb", L"Help"};
    EXPECT_PRED2(Contains, ReportAsText(options, offered, surroundings),
                 "; the item is the one for an unlocked program");
}

TEST_F(DriveTest, NotesTellWhichFilesExplorerDoesNotShow) {
    MakeDirectory(L"C:\\dir.exe");
    Write(kTool, "MZ");
    EXPECT_EQ(NotesOnFiles({kTool, L"C:\\dir.exe", L"C:\\none.exe"}),
              (std::vector<std::string>{
                  "dir.exe is a folder; Explorer never loads the extension for folders",
                  "none.exe does not exist; Explorer could not have shown it"}));
}

using HandlerTest = DriveTest;

TEST_F(HandlerTest, FindsTheRegisteredLibrary) {
    const auto problem = [] { return FindRegistration(L"exefile").problem; };
    EXPECT_PRED2(Contains, problem(), "nothing is registered for exefile for this user; ");
    EXPECT_PRED2(Contains, FindRegistration(L"myexe").problem,
                 "for exefile and lnkfile only; to restore");
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
    EXPECT_PRED2(Contains, problem(), "it is not a class identifier");
    write(handler, clsid);
    EXPECT_PRED2(Contains, problem(), "registered for exefile, but without a library");
    EXPECT_FALSE(FindHandler(L"exefile"));
    const std::wstring server = L"Software\\Classes\\CLSID\\" + clsid + L"\\InprocServer32";
    write(server, L"\"C:\\x.dll\"");
    ASSERT_TRUE(FindHandler(L"exefile"));
    EXPECT_EQ(FindHandler(L"exefile")->library, L"C:\\x.dll") << "COM ignores the quotes";
    kelvaro::ScopedKey key;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, server.c_str(), 0, KEY_WRITE, key.Put()), 0);
#ifdef _WIN32
    const std::wstring library = L"%SystemDrive%\\y.dll";
#else
    const std::wstring library = L"C:\\y.dll";
#endif
    RegSetValueExW(key.Get(), nullptr, 0, REG_EXPAND_SZ,
                   reinterpret_cast<const BYTE*>(library.c_str()),
                   static_cast<DWORD>((library.size() + 1) * sizeof(wchar_t)));
    EXPECT_EQ(FindHandler(L"exefile")->library, L"C:\\y.dll");
}

using LogReaderTest = DriveTest;

TEST_F(LogReaderTest, ReturnsNewLines) {
    using Lines = std::vector<std::string>;
    Write(kLog, "old\r\n");
    const LogReader reader;
    EXPECT_EQ(reader.NewLines(), Lines());
    kelvaro::AppendToFile(kLog, "one\r\ntwo \xE4\r\n");
    EXPECT_EQ(reader.NewLines(), (Lines{"one", "two \xC3\xA4"}));
    Write(kLog, "1\r\n");
    EXPECT_EQ(reader.NewLines(), Lines{"1"}) << "a new log";
}

TEST_F(LogReaderTest, TellsWhetherTheLogCanBeWritten) {
    EXPECT_EQ(ExplainUnwritableLog(), "it does not exist and cannot be created");
    MakeDirectory(kLog);
    EXPECT_EQ(ExplainUnwritableLog(), DescribeError(ERROR_ACCESS_DENIED));
    RemoveDirectoryW(kLog);
    Write(kLog, "");
    EXPECT_EQ(ExplainUnwritableLog(), "");
}

TEST(Log, TellsWhatBecameOfThePrompt) {
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
