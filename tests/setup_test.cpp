// Drives the setup program as a process, as a user or another setup does.

#include <windows.h>

#include <filesystem>
#include <functional>
#include <map>
#include <optional>

#include "common/module_path.h"
#include "common/owners.h"
#include "common/path.h"
#include "registration/keys.h"
#include "registration/registration.h"
#include "rightclick/handler.h"
#include "rightclick/library.h"
#include "support/fixture.h"

namespace kelvaro {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kSource[] = L"C:\\Test\\Source";
constexpr wchar_t kTarget[] = L"C:\\Test\\Target";
constexpr wchar_t kOther[] = L"C:\\Test\\Other";
constexpr wchar_t kDll[] = L"KelvaroShellExt.dll";
constexpr wchar_t kEnglish[] = L"Lang\\English.ini";
constexpr wchar_t kChinese[] = L"Lang\\Chinese(Simplified).ini";
constexpr wchar_t kJournal[] = L"Software\\VorandelKelvaroSetup";
constexpr DWORD kKilled = 99;

struct Result {
    DWORD status;
    std::string output;
};

// A process whose output is read by the test.
class Process {
  public:
    explicit Process(const std::wstring& commandLine, const wchar_t* directory = nullptr) {
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        HANDLE output = nullptr;
        CreatePipe(&input_, &output, &inherited, 0);
        SetHandleInformation(input_, HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = output;
        startup.hStdError = output;
        std::wstring line = commandLine;
        EXPECT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                   directory, &startup, &process_))
            << GetLastError();
        CloseHandle(output);
    }
    ~Process() {
        CloseHandle(input_);
        CloseHandle(process_.hThread);
        CloseHandle(process_.hProcess);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    Result WaitForEnd() {
        Result result = {};
        char buffer[1024];
        for (DWORD count = 0;
             ReadFile(input_, buffer, sizeof buffer, &count, nullptr) && count > 0;) {
            result.output.append(buffer, count);
        }
        WaitForSingleObject(process_.hProcess, INFINITE);
        GetExitCodeProcess(process_.hProcess, &result.status);
        std::erase(result.output, '\r');
        return result;
    }

  private:
    HANDLE input_ = nullptr;
    PROCESS_INFORMATION process_ = {};
};

// Sets an environment variable for the processes that start while it lives.
class ScopedVariable {
  public:
    ScopedVariable(const wchar_t* name, const std::wstring& value) : name_(name) {
        SetEnvironmentVariableW(name, value.c_str());
    }
    ~ScopedVariable() { SetEnvironmentVariableW(name_, nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

  private:
    const wchar_t* name_;
};

// What an installation consists of: files by their paths below C:\Test, directories with an empty
// content, and values of the registry.
using State = std::map<std::wstring, std::string>;

void AddKey(State& state, const std::wstring& path) {
    ScopedKey key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS) {
        return;
    }
    wchar_t name[256];
    BYTE data[1024];
    DWORD nameSize = std::size(name);
    DWORD size = sizeof data;
    DWORD type = 0;
    for (DWORD at = 0;
         RegEnumValueW(key.Get(), at, name, &nameSize, nullptr, &type, data, &size) == 0; ++at) {
        state[path + L'\\' + name] =
            std::to_string(type) + std::string(reinterpret_cast<char*>(data), size);
        nameSize = std::size(name);
        size = sizeof data;
    }
    for (DWORD at = 0; RegEnumKeyW(key.Get(), at, name, std::size(name)) == ERROR_SUCCESS; ++at) {
        AddKey(state, path + L'\\' + name);
    }
}

State ReadState() {
    State state;
    for (const std::wstring directory : {kTarget, kOther}) {
        for (const auto& entry : fs::directory_iterator(L"C:\\Test")) {
            state[entry.path()] = "";
        }
        if (fs::exists(directory)) {
            for (const auto& entry : fs::recursive_directory_iterator(directory)) {
                state[entry.path()] =
                    entry.is_directory() ? "" : DriveTest::Read(entry.path().wstring());
            }
        }
    }
    AddKey(state, std::wstring(kClasses) + L"CLSID\\" + DriveTest::kClsidText);
    AddKey(state, std::wstring(kClasses) + std::wstring(kProgramHandler));
    AddKey(state, std::wstring(kClasses) + std::wstring(kShortcutHandler));
    AddKey(state, kJournal);
    return state;
}

// Returns the paths that only one of two states has or that differ. Empty if they are equal.
std::string Difference(const State& expected, const State& found) {
    std::string paths;
    for (const auto* list : {&expected, &found}) {
        for (const auto& [path, content] : *list) {
            const auto there = found.find(path);
            if (!expected.contains(path) || there == found.end() ||
                there->second != expected.at(path)) {
                paths += Utf8(path) + '\n';
            }
        }
    }
    return paths;
}

class Setup : public DriveTest {
  public:
    Setup() {
        RegDeleteTreeW(HKEY_CURRENT_USER, kJournal);
        MakeDirectory(L"C:\\Test");
        MakeSource(KELVARO_SETUP);
    }

    // Writes the unpacked archive.
    static void MakeSource(const char* program) {
        Copy(platform::BuiltFile(program), JoinPath(kSource, L"setup.exe"));
        Copy(platform::BuiltFile(KELVARO_LIBRARY), JoinPath(kSource, kDll));
        Write(JoinPath(kSource, kEnglish), "[ShellExt]\nhelp=New help\n");
        Write(JoinPath(kSource, kChinese), "new");
    }

    // Writes and registers what an earlier version has installed.
    static void InstallEarlierVersion(const std::wstring& directory) {
        Write(JoinPath(directory, kDll), Read(platform::BuiltFile(KELVARO_LIBRARY)) + "earlier");
        Write(JoinPath(directory, kEnglish), "[ShellExt]\nhelp=Old help\n");
        Write(JoinPath(directory, kChinese), "old");
        Register(JoinPath(directory, kDll));
    }

    static void Register(const std::wstring& library) {
        ASSERT_EQ(RegisterUnderRoot(HKEY_CURRENT_USER, kClasses, kClsidText, library), S_OK);
    }

    // Runs setup with `arguments`.
    static Result Run(const std::wstring& arguments, const wchar_t* directory = nullptr) {
        return Process(CommandLine(arguments), directory).WaitForEnd();
    }

    static std::wstring CommandLine(const std::wstring& arguments) {
        return L'"' + JoinPath(kSource, L"setup.exe") + L"\" " + arguments;
    }

    // Fails the test unless setup ends with `status`, prints `text` and, if `status` is not 0,
    // changes nothing.
    static void Expect(DWORD status, const std::string& text, const std::wstring& arguments) {
        const State before = ReadState();
        const Result result = Run(arguments);
        EXPECT_EQ(result.status, status) << Utf8(arguments) << '\n' << result.output;
        EXPECT_NE(result.output.find(text), std::string::npos) << result.output << text;
        if (status != 0) {
            EXPECT_EQ(Difference(before, ReadState()), "") << Utf8(arguments);
        }
    }

    static std::wstring RegisteredLibrary() {
        const auto handler = rightclick::FindHandler(L"exefile");
        return handler ? handler->library : L"";
    }

    static bool Exists(const std::wstring& path) { return fs::exists(path); }
};

TEST_F(Setup, InstallsUpdatesAndRemoves) {
    const State nothing = ReadState();
    Expect(0, "Installed the extension in \"C:\\Test\\Target\"", L"install C:\\Test\\Target");
    EXPECT_EQ(RegisteredLibrary(), L"C:\\Test\\Target\\KelvaroShellExt.dll");
    const State installed = ReadState();
    for (const wchar_t* const name : {kDll, kEnglish, kChinese}) {
        EXPECT_EQ(Read(JoinPath(kTarget, name)), Read(JoinPath(kSource, name)));
    }
    Expect(0, "", L"install --quiet C:\\Test\\Target");
    EXPECT_EQ(Difference(installed, ReadState()), "");
    InstallEarlierVersion(kTarget);
    EXPECT_EQ(Run(L"install C:\\Test\\Target --quiet").output, "");
    EXPECT_EQ(Difference(installed, ReadState()), "");
    Write(JoinPath(kTarget, L"Lang\\Own.ini"), "not of the extension");
    Expect(0, "Removed the registration", L"uninstall C:\\Test\\Target");
    EXPECT_EQ(RegisteredLibrary(), L"");
    EXPECT_FALSE(Exists(JoinPath(kTarget, kDll)) || Exists(JoinPath(kTarget, kEnglish)));
    EXPECT_TRUE(Exists(JoinPath(kTarget, L"Lang\\Own.ini")));
    fs::remove(JoinPath(kTarget, L"Lang\\Own.ini"));
    Expect(0, "not installed in", L"uninstall C:\\Test\\Target");
    fs::remove(kTarget);
    EXPECT_EQ(Difference(nothing, ReadState()), "");
    Expect(0, "Registered the extension in", L"register");
    EXPECT_EQ(RegisteredLibrary(), L"C:\\Test\\Source\\KelvaroShellExt.dll");
    Expect(0, "Removed the registration", L"unregister");
    EXPECT_EQ(Difference(nothing, ReadState()), "");
}

TEST_F(Setup, RefusesWrongUsage) {
    InstallEarlierVersion(kTarget);
    const State before = ReadState();
    // The scripts before version 1.2 took the directory from this variable.
    const ScopedVariable target(L"target", kTarget);
    for (const std::wstring command : {L"install", L"uninstall"}) {
        const std::wstring wrong[] = {command,
                                      command + L" \"\"",
                                      command + L" C:\\a b",
                                      command + L" C:\\Test\\T*",
                                      command + L" C:\\Test\\Targe?",
                                      command + L" \\\\?\\C:\\Test\\Targe?"};
        for (const std::wstring& arguments : wrong) {
            const Result result = Run(arguments, kTarget);
            EXPECT_EQ(result.status, 2U) << Utf8(arguments) << '\n' << result.output;
        }
        EXPECT_EQ(Run(command + L" /?").status, 0U);
    }
    for (const wchar_t* const wrong : {L"", L"remove", L"register x", L"--quiet"}) {
        EXPECT_EQ(Run(wrong).status, 2U) << Utf8(wrong);
    }
    EXPECT_NE(Run(L"/?").output.find("setup install DIRECTORY"), std::string::npos);
    EXPECT_EQ(Difference(before, ReadState()), "");
    EXPECT_FALSE(Exists(L"C:\\KelvaroShellExt.dll"));
}

TEST_F(Setup, AcceptsEverySpellingOfADirectory) {
    const std::wstring odd = L"C:\\Test\\Setup (1) & ^ 100%TEMP%! 软件";
    const struct {
        std::wstring argument;
        std::wstring directory;
    } cases[] = {
        {L'"' + odd + L'"', odd},
        {L"\"C:\\Test\\with blank\\\" --quiet", L"C:\\Test\\with blank"},
        {L"C:\\Test\\a/b\\\\", L"C:\\Test\\a\\b"},
        {L"C:\\Test\\a\\..\\c\\.", L"C:\\Test\\c"},
        {L"\\\\?\\C:\\Test\\d\\", L"C:\\Test\\d"},
        {L"\\\\.\\C:\\Test\\e", L"C:\\Test\\e"},
        {L"relative", L"C:\\Test\\relative"},
        {L".", L"C:\\Test"},
    };
    for (const auto& [argument, directory] : cases) {
        for (const wchar_t* const command : {L"install ", L"uninstall "}) {
            const Result result = Run(command + argument, L"C:\\Test");
            EXPECT_EQ(result.status, 0U) << Utf8(argument) << '\n' << result.output;
            const bool installed = command == std::wstring(L"install ");
            EXPECT_EQ(Exists(JoinPath(directory, kDll)), installed) << Utf8(directory);
            EXPECT_EQ(RegisteredLibrary(), installed ? JoinPath(directory, kDll) : L"");
        }
    }
}

// Whether the system loads a DLL with such a path is found out by loading it.
TEST_F(Setup, LongPathsAreUsableOrRefused) {
    std::wstring directory = L"C:\\Test";
    while (directory.size() < 300) {
        directory += L"\\" + std::wstring(40, L'd');
    }
    const State before = ReadState();
    const Result result = Run(L"install " + directory);
    if (result.status == 0) {
        EXPECT_TRUE(rightclick::Library(RegisteredLibrary()).IsLoaded());
        EXPECT_EQ(Run(L"uninstall " + directory).status, 0U);
        EXPECT_EQ(RegisteredLibrary(), L"");
    } else {
        EXPECT_EQ(result.status, 1U);
        EXPECT_NE(result.output.find("The path may be too long"), std::string::npos)
            << result.output;
        EXPECT_EQ(Difference(before, ReadState()), "");
    }
}

TEST_F(Setup, KeepsTheInstalledVersionIfTheNewOneIsUnusable) {
    InstallEarlierVersion(kTarget);
    const std::wstring library = JoinPath(kSource, kDll);
    Write(library, Read(library).substr(0, 30000));
    Expect(1, "Cannot load", L"install C:\\Test\\Target");
    Expect(1, "Cannot load", L"install C:\\Test\\New");
    Copy(L"C:\\windows\\system32\\version.dll", library);
    Expect(1, "0x8007007F", L"install C:\\Test\\Target");
    Expect(1, "Cannot load", L"register");
    Copy(platform::BuiltFile(KELVARO_BAD_LIBRARY), library);
    Expect(1, "Access", L"install C:\\Test\\Target");
    Expect(1, "Access", L"install C:\\Test\\New");
    for (const wchar_t* const behaviour : {L"crashes", L"does nothing"}) {
        const ScopedVariable variable(L"KELVARO_BAD_LIBRARY", behaviour);
        Expect(1, "Cannot register", L"install C:\\Test\\New");
        Expect(1, "Cannot register", L"register");
    }
}

TEST_F(Setup, RemovesABrokenVersion) {
    InstallEarlierVersion(kTarget);
    Write(JoinPath(kTarget, kDll), "broken");
    Expect(0, "Removed", L"uninstall C:\\Test\\Target");
    EXPECT_EQ(RegisteredLibrary(), L"");
    EXPECT_TRUE(fs::is_empty(kTarget));
    InstallEarlierVersion(kTarget);
    fs::remove_all(kTarget);
    Expect(0, "Removed the registration", L"uninstall C:\\Test\\Target");
    EXPECT_EQ(RegisteredLibrary(), L"");
}

TEST_F(Setup, RemovesOnlyItsOwnRegistration) {
    InstallEarlierVersion(kTarget);
    InstallEarlierVersion(kOther);
    for (const wchar_t* const arguments :
         {L"uninstall C:\\Test\\Typo", L"uninstall C:\\Test\\Target", L"unregister"}) {
        Expect(0, "The extension in \"C:\\Test\\Other\" stays registered", arguments);
        EXPECT_EQ(RegisteredLibrary(), JoinPath(kOther, kDll));
    }
    EXPECT_FALSE(Exists(JoinPath(kTarget, kDll)));
    EXPECT_TRUE(Exists(JoinPath(kOther, kDll)));

    // Other spellings of the same directory.
    const struct {
        DWORD type;
        std::wstring library;
    } cases[] = {
        {REG_SZ, L"\"c:\\test\\OTHER\\KelvaroShellExt.dll\""},
        {REG_SZ, L"\\\\?\\C:\\Test\\Other\\KelvaroShellExt.dll"},
        {REG_SZ, L"C:\\Test\\Target\\..\\Other\\\\KelvaroShellExt.dll"},
        {REG_EXPAND_SZ, L"%KELVARO_TEST%\\KelvaroShellExt.dll"},
    };
    const ScopedVariable variable(L"KELVARO_TEST", kOther);
    for (const auto& [type, library] : cases) {
        InstallEarlierVersion(kOther);
        const std::wstring key =
            std::wstring(kClasses) + L"CLSID\\" + kClsidText + std::wstring(kServerKey);
        RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), nullptr, type, library.c_str(),
                        static_cast<DWORD>((library.size() + 1) * sizeof(wchar_t)));
        Expect(0, "Removed the registration", L"uninstall C:\\Test\\Other");
        EXPECT_EQ(RegisteredLibrary(), L"") << Utf8(library);
    }

    // The machine's classes, which DllRegisterServer uses if it cannot write to the user's.
    InstallEarlierVersion(kTarget);
    ASSERT_EQ(RegisterUnderRoot(HKEY_LOCAL_MACHINE, kClasses, kClsidText, JoinPath(kOther, kDll)),
              S_OK);
    Expect(0, "The extension in \"C:\\Test\\Other\" stays", L"uninstall C:\\Test\\Target");
    EXPECT_EQ(RegisteredLibrary(), JoinPath(kOther, kDll));
    Expect(0, "Removed the registration", L"uninstall C:\\Test\\Other");
    EXPECT_EQ(RegisteredLibrary(), L"");
}

TEST_F(Setup, ReplacesReadOnlyFiles) {
    for (const wchar_t* const name : {kDll, kEnglish, kChinese}) {
        SetFileAttributesW(JoinPath(kSource, name).c_str(), FILE_ATTRIBUTE_READONLY);
    }
    for (const char* const expected : {"Installed", "Installed", "Removed"}) {
        const bool removes = expected == std::string("Removed");
        Expect(0, expected, removes ? L"uninstall C:\\Test\\Target" : L"install C:\\Test\\Target");
        for (const wchar_t* const name : {kDll, kEnglish, kChinese}) {
            const std::wstring path = JoinPath(kTarget, name);
            EXPECT_EQ(Exists(path), !removes);
            EXPECT_TRUE(removes ||
                        (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY) == 0);
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
        }
    }
    EXPECT_TRUE(fs::is_empty(kTarget));
}

TEST_F(Setup, DirectoriesInTheWayStay) {
    InstallEarlierVersion(kTarget);
    for (const wchar_t* const suffix : {L".new", L".1.new", L".2.old"}) {
        MakeDirectory(JoinPath(kTarget, kDll) + suffix);
    }
    Expect(0, "Installed", L"install C:\\Test\\Target");
    EXPECT_EQ(Read(JoinPath(kTarget, kDll)), Read(JoinPath(kSource, kDll)));
    Expect(0, "Removed", L"uninstall C:\\Test\\Target");
    EXPECT_TRUE(Exists(JoinPath(kTarget, kDll) + L".1.new"));

    MakeDirectory(JoinPath(kTarget, kDll));
    Expect(1, "a directory has this name", L"install C:\\Test\\Target");
    Write(L"C:\\Test\\File", "");
    Expect(1, "a file has this name", L"install C:\\Test\\File");
    Write(L"C:\\Test\\New\\Lang", "");
    Expect(1, "New\\Lang\": a file has this name", L"install C:\\Test\\New");
    Expect(1, "C:\\Test\\File", L"install C:\\Test\\File\\Below");
}

TEST_F(Setup, NeedsTheWholeArchive) {
    for (const std::wstring name : {kDll, kEnglish, kChinese}) {
        const std::wstring path = JoinPath(kSource, name);
        fs::rename(path, path + L"x");
        Expect(1, "Unpack the whole archive first: " + Utf8(name) + " is not beside this program.",
               L"install C:\\Test\\Target");
        fs::rename(path + L"x", path);
    }
}

TEST_F(Setup, ReplacesAndRemovesALoadedLibrary) {
    InstallEarlierVersion(kTarget);
    const std::wstring library = JoinPath(kTarget, kDll);
    {
        const rightclick::Library loaded(library);
        ASSERT_TRUE(loaded.IsLoaded());
        Expect(0, "KelvaroShellExt.dll.1.old", L"install C:\\Test\\Target");
        EXPECT_EQ(Read(library), Read(JoinPath(kSource, kDll)));
        Expect(0, "KelvaroShellExt.dll.1.old", L"uninstall C:\\Test\\Target");
        EXPECT_FALSE(Exists(library));
        EXPECT_EQ(ReadModulePath(loaded.Handle()).error, 0U);
    }
    Expect(0, "not installed", L"uninstall C:\\Test\\Target");
    EXPECT_TRUE(fs::is_empty(kTarget));
}

TEST_F(Setup, AFileThatCannotBeRenamedKeepsEverything) {
    for (const wchar_t* const name : {kDll, kEnglish}) {
        InstallEarlierVersion(kTarget);
        const ScopedHandle file(CreateFileW(JoinPath(kTarget, name).c_str(), GENERIC_READ,
                                            FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        Expect(1, Utf8(JoinPath(kTarget, name)), L"install C:\\Test\\Target");
        Expect(1, "Close the program", L"uninstall C:\\Test\\Target");
    }
}

TEST_F(Setup, WaitsForAnotherSetup) {
    HANDLE other = CreateMutexW(nullptr, TRUE, L"Global\\VorandelKelvaroSetup");
    Expect(1, "Another setup is running", L"install C:\\Test\\Target");
    Process waiting(CommandLine(L"install C:\\Test\\Target"));
    Sleep(500);
    EXPECT_FALSE(Exists(JoinPath(kTarget, kDll)));
    ReleaseMutex(other);
    CloseHandle(other);
    EXPECT_EQ(waiting.WaitForEnd().status, 0U);
}

// The names that a run of another user, or an earlier version, leaves if it is killed.
TEST_F(Setup, RestoresALibraryThatWasOnlyRenamed) {
    InstallEarlierVersion(kTarget);
    const State before = ReadState();
    const std::wstring library = JoinPath(kTarget, kDll);
    fs::rename(library, library + L".12.old");
    Write(library + L".3.old", "older");
    Write(library + L".new", "new");
    fs::remove(JoinPath(kSource, kEnglish));
    EXPECT_EQ(Run(L"install C:\\Test\\Target").status, 1U);
    EXPECT_EQ(Difference(before, ReadState()), "");
}

struct Scenario {
    const char* name;
    std::function<void()> prepare;
    std::wstring arguments;
};

// Tells GoogleTest how to print the parameter.
void PrintTo(const Scenario& scenario, std::ostream* stream) {
    *stream << scenario.name;
}

class SetupFaults : public Setup, public testing::WithParamInterface<Scenario> {
  public:
    // Restores the state before the run.
    static void Prepare() {
        platform::Reset();
        RegDeleteTreeW(HKEY_CURRENT_USER, kJournal);
        MakeSource(KELVARO_SETUP_FAULTS);
        GetParam().prepare();
    }

    static Result RunWithFault(const std::wstring& fault) {
        const ScopedVariable variable(L"KELVARO_FAULT", fault);
        return Run(GetParam().arguments);
    }

    // A run that fails before it changes anything, but repairs.
    static void Repair() {
        const std::wstring file = JoinPath(kSource, kEnglish);
        fs::rename(file, file + L"x");
        const Result result = Run(L"install C:\\Test\\Target");
        EXPECT_EQ(result.status, 1U) << result.output;
        fs::rename(file + L"x", file);
    }
};

TEST_P(SetupFaults, LeaveTheOldOrTheNewState) {
    Prepare();
    const State before = ReadState();
    ASSERT_EQ(RunWithFault(L"none").status, 0U);
    const State after = ReadState();
    ASSERT_NE(Difference(before, after), "");

    int steps = 0;
    for (const std::wstring fault : {L"kill ", L"refuse ", L"refuse-from "}) {
        int finished = 0;
        for (int step = 1; steps == 0 || step < steps; ++step) {
            Prepare();
            const Result result = RunWithFault(fault + std::to_wstring(step));
            if (steps == 0 && result.status != kKilled) {
                steps = step;
                break;
            }
            const std::string where = Utf8(fault) + std::to_string(step) + '\n' + result.output;
            if (fault == L"refuse " && result.status == 1) {
                EXPECT_EQ(Difference(before, ReadState()), "") << where;
                continue;
            }
            // A removal succeeds without deleting the empty directory. The next removal deletes it.
            if (result.status == 0 && GetParam().arguments.starts_with(L"uninstall")) {
                EXPECT_EQ(Run(GetParam().arguments).status, 0U);
            }
            Repair();
            const State repaired = ReadState();
            const bool isNew = Difference(after, repaired).empty();
            EXPECT_TRUE(isNew || Difference(before, repaired).empty())
                << where << "differs from the old state in\n"
                << Difference(before, repaired) << "and from the new one in\n"
                << Difference(after, repaired);
            EXPECT_TRUE(result.status != 0 || isNew) << where;
            EXPECT_TRUE(result.status != 1 || !isNew) << where;
            finished += isNew ? 1 : 0;
        }
        EXPECT_GT(steps, 10);
        EXPECT_GT(finished, 0) << Utf8(fault);
    }
}

INSTANTIATE_TEST_SUITE_P(
    , SetupFaults,
    testing::Values(Scenario{"FirstInstallation", [] {}, L"install C:\\Test\\Target"},
                    Scenario{"Update", [] { Setup::InstallEarlierVersion(kTarget); },
                             L"install C:\\Test\\Target"},
                    Scenario{"AnotherDirectory", [] { Setup::InstallEarlierVersion(kOther); },
                             L"install C:\\Test\\Target"},
                    Scenario{"Removal", [] { Setup::InstallEarlierVersion(kTarget); },
                             L"uninstall C:\\Test\\Target"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace kelvaro
