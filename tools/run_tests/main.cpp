// Runs the test programs beside this one and deletes what they leave. Runs nothing if others' files
// or keys exist where the tests write.

#include <windows.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "common/code_page.h"
#include "common/owners.h"
#include "console/console.h"
#include "rightclick/handler.h"
#include "run_tests/remains.h"

namespace fs = std::filesystem;

namespace {

using kelvaro::ScopedHandle;
using kelvaro::Utf8FromWide;

HANDLE g_job = nullptr;  // the test program that runs and every process that it has started
volatile bool g_stopped = false;

void Say(const std::string& line) {
    console::Print(stdout, line + '\n');
}

// Ends the test program when the user presses Ctrl+C or closes the window. The main thread then
// cleans up.
BOOL WINAPI Stop(DWORD event) {
    g_stopped = true;
    TerminateJobObject(g_job, 1);
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        Sleep(INFINITE);  // the process ends when this function returns
    }
    return TRUE;
}

// Returns the library of an installed extension that is not a copy made by the tests. Empty if
// there is none.
std::wstring InstalledLibrary() {
    const auto handler = rightclick::FindHandler(L"exefile");
    const bool installed = handler &&
                           handler->library.find(remains::TestDirectory()) == std::wstring::npos &&
                           fs::exists(handler->library);
    return installed ? handler->library : L"";
}

// Returns the start of a file.
std::wstring ReadText(HANDLE file) {
    std::wstring text(4096, L'\0');
    DWORD size = 0;
    ReadFile(file, text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)), &size, nullptr);
    text.resize(size / sizeof(wchar_t));
    return text;
}

// Makes sure that nothing exists where the tests write, and marks what they will make as theirs.
// Deletes what an interrupted run has left. Returns the mark, which no other run can open
// meanwhile, and stores its content in `parents`. INVALID_HANDLE_VALUE, after a message, if the
// tests must not run.
HANDLE Begin(std::wstring& parents) {
    const std::wstring name = remains::MarkFile();
    const auto open = [&name](DWORD how) {
        return CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, how, 0, nullptr);
    };
    HANDLE mark = open(OPEN_EXISTING);
    if (mark != INVALID_HANDLE_VALUE) {
        if (const std::wstring library = InstalledLibrary(); !library.empty()) {
            Say("Nothing is run: an interrupted run left files, and since then the extension was "
                "installed as " +
                Utf8FromWide(library) + ". Uninstall it first.");
            CloseHandle(mark);
            return INVALID_HANDLE_VALUE;
        }
        parents = ReadText(mark);
        remains::Remove();
        Say("Deleted what an interrupted run has left.");
        return mark;
    }
    if (GetLastError() == ERROR_SHARING_VIOLATION) {
        Say("Nothing is run: another run is in progress.");
        return INVALID_HANDLE_VALUE;
    }
    if (const auto found = remains::Find(); !found.empty()) {
        Say("Nothing is run, because the tests would delete:");
        for (const std::wstring& place : found) {
            Say("  " + Utf8FromWide(place));
        }
        return INVALID_HANDLE_VALUE;
    }
    mark = open(CREATE_NEW);
    parents = remains::MissingParents();
    DWORD written = 0;
    const auto size = static_cast<DWORD>(parents.size() * sizeof(wchar_t));
    if (mark == INVALID_HANDLE_VALUE || !WriteFile(mark, parents.data(), size, &written, nullptr)) {
        Say("Nothing is run: cannot write " + Utf8FromWide(name));
        CloseHandle(mark);
        return INVALID_HANDLE_VALUE;
    }
    return mark;
}

// Deletes what the tests have made and the mark. Returns whether nothing is left.
bool End(HANDLE mark, const std::wstring& parents) {
    remains::Remove();
    const auto left = remains::Find();
    for (const std::wstring& place : left) {
        Say("cannot be deleted: " + Utf8FromWide(place));
    }
    CloseHandle(mark);
    if (left.empty()) {
        remains::RemoveParents(parents);
        DeleteFileW(remains::MarkFile().c_str());
    }
    return left.empty();
}

// Runs a command line and writes its output to a file. Returns its exit code, or the error if it
// does not start. Ends it after twenty minutes.
DWORD Run(std::wstring commandLine, const fs::path& directory, const fs::path& output) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const ScopedHandle file(CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited,
                                        CREATE_ALWAYS, 0, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = file.Get();
    startup.hStdError = file.Get();
    PROCESS_INFORMATION created = {};
    if (!file ||
        !CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                        nullptr, directory.c_str(), &startup, &created)) {
        return GetLastError();
    }
    const ScopedHandle process(created.hProcess);
    const ScopedHandle thread(created.hThread);
    AssignProcessToJobObject(g_job, process.Get());
    ResumeThread(thread.Get());
    constexpr DWORD kTwentyMinutes = 20 * 60 * 1000;
    WaitForSingleObject(process.Get(), kTwentyMinutes);
    TerminateJobObject(g_job, 1);  // also what the program has started and not ended
    WaitForSingleObject(process.Get(), INFINITE);
    DWORD code = 1;
    GetExitCodeProcess(process.Get(), &code);
    return code;
}

// Returns the number that GoogleTest has printed after "[ RESULT ]". 0 if there is none.
int Count(const std::string& text, const std::string& result) {
    std::smatch match;
    return std::regex_search(text, match, std::regex("\\[ +" + result + " +\\] (\\d+) test"))
               ? std::stoi(match[1])
               : 0;
}

// Prints `label` and what `pattern` captures in GoogleTest's output, each text once.
void SayMatches(const std::string& label, const std::string& text, const char* pattern) {
    const std::regex expression(pattern);
    std::set<std::string> said;
    for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at) {
        if (said.insert((*at)[1]).second) {
            Say("    " + label + std::string((*at)[1]));
        }
    }
}

// Runs the tests of each program that match the filter. Returns whether one ran and none failed.
bool RunAll(const fs::path& directory, const std::wstring& filter) {
    int passed = 0;
    int failed = 0;
    for (const std::wstring name :
         {L"modules_test", L"tools_test", L"end_to_end_test", L"imports_test"}) {
        const fs::path output = directory / L"output" / (name + L".txt");
        const ULONGLONG start = GetTickCount64();
        const std::wstring program = L'"' + (directory / name).wstring() + L".exe\"";
        const DWORD code = Run(program + L" \"--gtest_filter=" + filter + L'"', directory, output);
        if (g_stopped) {
            Say("stopped");
            return false;
        }
        std::ostringstream bytes;
        bytes << std::ifstream(output, std::ios::binary).rdbuf();
        const std::string text = bytes.str();
        const int count = Count(text, "PASSED");
        passed += count;
        failed += code == 0 ? 0 : 1;
        Say(Utf8FromWide(name) +
            (code == 0 ? ": passed, " : ": FAILED with exit code " + std::to_string(code) + ", ") +
            std::to_string(count) + " tests, " + std::to_string(Count(text, "SKIPPED")) +
            " skipped, " + std::to_string((GetTickCount64() - start) / 1000) + " s");
        SayMatches("skipped: ", text, "Skipped\r?\n([^\r\n]*)");
        SayMatches("FAILED: ", text, "\\[  FAILED  \\] ([^ ,\r\n]+\\.[^ ,\r\n]+)");
    }
    Say(failed > 0    ? std::to_string(failed) + " programs FAILED."
        : passed == 0 ? "No test has a name that matches."
                      : "All tests passed.");
    Say("Outputs: " + Utf8FromWide((directory / L"output").wstring()));
    return failed == 0 && passed > 0;
}

}  // namespace

int main() {
    const console::Session session;
    const auto arguments = console::Arguments();
    const std::wstring filter = arguments.size() > 1 ? arguments[1] : L"*";
    if (arguments.size() > 2 || filter.starts_with(L"/") || filter.starts_with(L"--")) {
        Say("Runs the tests of the extension and leaves nothing on the machine.\n"
            "  run-tests [FILTER]   FILTER chooses tests as --gtest_filter does, for example "
            "Log.*");
        return 2;
    }
    std::array<wchar_t, 32768> path = {};
    GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    const fs::path directory = fs::path(path.data()).parent_path();
    std::error_code error;
    fs::create_directory(directory / L"output", error);

    g_job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(g_job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    SetConsoleCtrlHandler(&Stop, TRUE);
    // A crash opens no window. The test programs inherit this.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);

    std::wstring parents;
    const HANDLE mark = Begin(parents);
    if (mark == INVALID_HANDLE_VALUE) {
        return 1;
    }
    const bool passed = RunAll(directory, filter);
    return End(mark, parents) && passed ? 0 : 1;
}
