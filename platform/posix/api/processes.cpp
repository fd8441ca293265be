#include <objbase.h>
#include <shellapi.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "internal/call.h"
#include "internal/command_line.h"
#include "internal/drive.h"
#include "internal/encoding.h"
#include "internal/kernel_object.h"
#include "internal/last_error.h"
#include "internal/linux_file.h"
#include "testing/watch.h"

namespace {

// Passes the command line to the new process unchanged. The arguments alone do not show how they
// were quoted.
constexpr char kCommandLineVariable[] = "KELVARO_COMMAND_LINE";

// The handle of a process or of its first thread. It can only be closed.
struct ProcessHandle final : compat::KernelObject {};

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// Returns the environment with the variables that the new process needs in front, where getenv
// finds them first.
std::vector<std::string> EnvironmentWith(std::wstring_view commandLine) {
    std::vector<std::string> environment = {
        std::string(kCommandLineVariable) + "=" + compat::Utf8FromWide(commandLine),
        std::string(compat::kDriveVariable) + "=" + compat::DriveDirectory()};
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    return environment;
}

// Starts a process that nobody has to wait for. Returns 0 or an errno value.
int Start(const std::string& program, const std::string& directory,
          std::vector<std::string> arguments, std::vector<std::string> environment) {
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    pid_t process = 0;
    const int failure = posix_spawn(&process, program.c_str(), &actions, &attributes,
                                    Pointers(arguments).data(), Pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (failure == 0) {
        // Reaps the process when it ends.
        std::thread([process] { waitpid(process, nullptr, 0); }).detach();
    }
    return failure;
}

DWORD StartCommandLine(std::wstring_view commandLine, const std::wstring& directory) {
    std::vector<std::string> arguments;
    for (const std::wstring& argument : compat::ParseCommandLine(commandLine)) {
        arguments.push_back(compat::Utf8FromWide(argument));
    }
    if (arguments.empty()) {
        return ERROR_INVALID_PARAMETER;
    }
    const auto [program, error] = compat::ToLinuxPath(compat::WideFromUtf8(arguments[0]).c_str());
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const int failure = Start(program, compat::ToLinuxPath(directory.c_str()).path, arguments,
                              EnvironmentWith(commandLine));
    // A file without the right to execute is not a program.
    const bool noProgram = failure == EACCES && !compat::IsDirectory(program);
    return failure == 0 ? DWORD{ERROR_SUCCESS}
                        : compat::ErrorFromErrno(noProgram ? ENOEXEC : failure);
}

std::wstring OwnCommandLine() {
    if (const char* const given = std::getenv(kCommandLineVariable)) {
        std::wstring line = compat::WideFromUtf8(given);
        unsetenv(kCommandLineVariable);  // must not reach the processes that this one starts
        return line;
    }
    std::string joined;
    compat::ReadLinuxFile("/proc/self/cmdline", joined);
    std::vector<std::wstring> arguments;
    for (size_t at = 0; at < joined.size();) {
        const size_t end = std::min(joined.find('\0', at), joined.size());
        arguments.push_back(compat::WideFromUtf8(std::string_view(joined).substr(at, end - at)));
        at = end + 1;
    }
    return compat::JoinCommandLine(arguments);
}

}  // namespace

// NOLINTNEXTLINE(readability-non-const-parameter): the platform's writes into it
BOOL CreateProcessW(LPCWSTR application, LPWSTR commandLine, SECURITY_ATTRIBUTES* process,
                    SECURITY_ATTRIBUTES* thread, BOOL inherit, DWORD flags, LPVOID environment,
                    LPCWSTR directory, STARTUPINFOW* startup,
                    PROCESS_INFORMATION* information) noexcept {
    const compat::Call call("CreateProcessW", ERROR_NOT_ENOUGH_MEMORY);
    compat::Watch<&CreateProcessW>::Pass(application, commandLine, process, thread, inherit, flags,
                                         environment, directory, startup, information);
    if (call.Fails()) {
        return FALSE;
    }
    DWORD error = ERROR_INVALID_PARAMETER;
    if (commandLine != nullptr && startup != nullptr && information != nullptr) {
        error = StartCommandLine(commandLine,
                                 directory == nullptr ? compat::CurrentDirectory() : directory);
    }
    if (error != ERROR_SUCCESS) {
        return compat::Fail(error);
    }
    *information = {compat::Handles().Add<HANDLE>(std::make_shared<ProcessHandle>()),
                    compat::Handles().Add<HANDLE>(std::make_shared<ProcessHandle>()), 0, 0};
    return TRUE;
}

LPWSTR GetCommandLineW() noexcept {
    static std::wstring line = OwnCommandLine();
    return line.data();
}

LPWSTR* CommandLineToArgvW(LPCWSTR commandLine, int* count) noexcept {
    std::vector<std::wstring> arguments = compat::ParseCommandLine(commandLine);
    if (arguments.empty()) {
        arguments.push_back(compat::FromLinuxPath(compat::ProgramFile()));
    }
    size_t units = 0;
    for (const std::wstring& argument : arguments) {
        units += argument.size() + 1;
    }
    const size_t tableSize = (arguments.size() + 1) * sizeof(LPWSTR);
    auto* const table = static_cast<LPWSTR*>(CoTaskMemAlloc(tableSize + units * sizeof(wchar_t)));
    if (table == nullptr) {
        return nullptr;
    }
    auto* text = reinterpret_cast<LPWSTR>(table + arguments.size() + 1);
    for (size_t at = 0; at < arguments.size(); ++at) {
        table[at] = text;
        arguments[at].copy(text, arguments[at].size());
        text[arguments[at].size()] = L'\0';
        text += arguments[at].size() + 1;
    }
    table[arguments.size()] = nullptr;
    *count = static_cast<int>(arguments.size());
    return table;
}

void Sleep(DWORD milliseconds) noexcept {
    const timespec duration = {static_cast<time_t>(milliseconds / 1000),
                               static_cast<long>(milliseconds % 1000) * 1'000'000};
    nanosleep(&duration, nullptr);
}
