#include "support/setup_program.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace kelvaro {
namespace {

constexpr wchar_t kJournal[] = L"Software\\VorandelKelvaroSetup";

// Adds the values of a key and of the keys in it.
void AddKey(SetupTest::State& state, const std::wstring& path) {
    ScopedKey key;
    RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, key.Put());
    wchar_t name[256];
    BYTE data[1024];
    for (DWORD at = 0;; ++at) {
        DWORD nameSize = std::size(name);
        DWORD size = sizeof data;
        DWORD type = 0;
        if (RegEnumValueW(key.Get(), at, name, &nameSize, nullptr, &type, data, &size) !=
            ERROR_SUCCESS) {
            break;
        }
        state[path + L'\\' + name] =
            std::to_string(type) + std::string(reinterpret_cast<char*>(data), size);
    }
    for (DWORD at = 0; RegEnumKeyW(key.Get(), at, name, std::size(name)) == ERROR_SUCCESS; ++at) {
        AddKey(state, path + L'\\' + name);
    }
}

}  // namespace

void SetupTest::Reset(const char* program) {
    platform::Reset();
    RegDeleteTreeW(HKEY_CURRENT_USER, kJournal);
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kJournal);
    Copy(platform::BuiltFile(program), JoinPath(kSource, L"setup.exe"));
    Copy(platform::BuiltFile(KELVARO_LIBRARY), JoinPath(kSource, kDll));
    Write(JoinPath(kSource, kEnglish), "[ShellExt]\nhelp=New help\n");
    Write(JoinPath(kSource, kChinese), "new");
}

void SetupTest::InstallEarlierVersion(const std::wstring& directory) {
    const std::wstring library = JoinPath(directory, kDll);
    Write(library, Read(platform::BuiltFile(KELVARO_LIBRARY)) + "earlier");
    Write(JoinPath(directory, kEnglish), "[ShellExt]\nhelp=Old help\n");
    Write(JoinPath(directory, kChinese), "old");
    ASSERT_EQ(RegisterUnderRoot(HKEY_CURRENT_USER, kClasses, kClsidText, library), S_OK);
}

SetupTest::Process::Process(const std::wstring& arguments, const std::wstring& directory) {
    std::wstring commandLine = L'"' + JoinPath(kSource, L"setup.exe") + L"\" " + arguments;
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    Handle end;
    CreatePipe(output_.Put(), end.Put(), &inherited, 0);
    SetHandleInformation(output_.Get(), HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = end.Get();
    startup.hStdError = end.Get();
    PROCESS_INFORMATION process = {};
    BOOL started = FALSE;
    // One start in some hundred fails under Wine on a busy machine.
    for (int tries = 0; tries < 5 && !started; ++tries) {
        started = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                 directory.c_str(), &startup, &process);
    }
    EXPECT_TRUE(started) << GetLastError();
    *process_.Put() = process.hProcess;
    *thread_.Put() = process.hThread;
}

SetupTest::Result SetupTest::Process::WaitForEnd() {
    Result result = {};
    char buffer[1024];
    for (DWORD count = 0;
         ReadFile(output_.Get(), buffer, sizeof buffer, &count, nullptr) && count > 0;) {
        result.output.append(buffer, count);
    }
    WaitForSingleObject(process_.Get(), INFINITE);
    GetExitCodeProcess(process_.Get(), &result.status);
    std::erase(result.output, '\r');
    return result;
}

void SetupTest::Expect(DWORD status, const std::string& text, const std::wstring& arguments,
                       const std::wstring& directory) {
    const State before = ReadState();
    const Result result = Run(arguments, directory);
    EXPECT_EQ(result.status, status) << Utf8(arguments) << '\n' << result.output;
    EXPECT_NE(result.output.find(text), std::string::npos) << result.output << text;
    if (status != 0) {
        EXPECT_EQ(Difference(before, ReadState()), "") << Utf8(arguments);
    }
}

SetupTest::State SetupTest::ReadState() {
    State state;
    for (fs::recursive_directory_iterator entry(TestPath()), end; entry != end; ++entry) {
        if (entry->path() == kSource) {
            entry.disable_recursion_pending();
        } else {
            state[entry->path()] = entry->is_directory() ? "" : Read(entry->path());
        }
    }
    for (const std::wstring& key :
         {L"CLSID\\" + std::wstring(kClsidText), std::wstring(kProgramHandler),
          std::wstring(kShortcutHandler)}) {
        AddKey(state, std::wstring(kClasses) + key);
    }
    AddKey(state, kJournal);
    return state;
}

std::string SetupTest::Difference(const State& expected, const State& found) {
    std::vector<State::value_type> different;
    std::set_symmetric_difference(expected.begin(), expected.end(), found.begin(), found.end(),
                                  std::back_inserter(different));
    std::string names;
    for (const auto& [name, content] : different) {
        names += Utf8(name) + '\n';
    }
    return names;
}

std::wstring SetupTest::RegisteredLibrary() {
    const auto handler = rightclick::FindHandler(L"exefile");
    return handler ? handler->library : L"";
}

}  // namespace kelvaro
