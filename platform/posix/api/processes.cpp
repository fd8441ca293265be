#include <fcntl.h>
#include <objbase.h>
#include <shellapi.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>
#include <string>
#include <vector>

#include "internal/call.h"
#include "internal/command_line.h"
#include "internal/drive.h"
#include "internal/encoding.h"
#include "internal/host_file.h"
#include "internal/kernel_object.h"
#include "internal/last_error.h"

namespace {

// Passes the command line to the new process unchanged. The arguments alone do not show how they
// were quoted.
constexpr char kCommandLineVariable[] = "KELVARO_COMMAND_LINE";

// The handle of a process or of its first thread. It can only be closed.
struct ProcessHandle final : compat::KernelObject {
    explicit ProcessHandle(const char* kind) noexcept : kind_(kind) {}
    const char* Kind() const noexcept override { return kind_; }

  private:
    const char* kind_;
};

struct Launch {
    std::string program;
    std::string directory;
    std::vector<std::string> arguments;
    std::vector<std::string> environment;
};

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> EnvironmentWith(std::wstring_view commandLine) {
    const std::string variables[] = {
        std::string(kCommandLineVariable) + "=" + compat::Utf8FromWide(commandLine),
        std::string(compat::kDriveVariable) + "=" + compat::DriveDirectory()};
    std::vector<std::string> environment(std::begin(variables), std::end(variables));
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view name = std::string_view(*entry).substr(0, std::strcspn(*entry, "="));
        if (name != kCommandLineVariable && name != compat::kDriveVariable) {
            environment.emplace_back(*entry);
        }
    }
    return environment;
}

// Returns ERROR_SUCCESS if `program` can be run, otherwise the error.
DWORD CheckProgram(const std::string& program) noexcept {
    struct stat status = {};
    if (stat(program.c_str(), &status) != 0) {
        return compat::ErrorFromErrno(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return ERROR_ACCESS_DENIED;
    }
    return access(program.c_str(), X_OK) == 0 ? ERROR_SUCCESS : ERROR_BAD_EXE_FORMAT;
}

// Starts a process that nobody has to wait for: the forked child forks again and exits, so that the
// host's init process reaps the grandchild. The grandchild sends errno through the pipe if exec
// fails; a successful exec closes the pipe.
DWORD Start(Launch& launch) {
    const std::vector<char*> arguments = Pointers(launch.arguments);
    const std::vector<char*> environment = Pointers(launch.environment);
    int report[2] = {};
    if (pipe2(report, O_CLOEXEC) != 0) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    const pid_t child = fork();
    if (child == 0) {
        if (fork() == 0) {
            setsid();
            if (chdir(launch.directory.c_str()) == 0) {
                execve(launch.program.c_str(), arguments.data(), environment.data());
            }
            const int failure = errno;
            [[maybe_unused]] const ssize_t sent = write(report[1], &failure, sizeof failure);
        }
        _exit(0);
    }
    close(report[1]);
    int failure = child < 0 ? ENOMEM : 0;
    if (child > 0) {
        waitpid(child, nullptr, 0);
        if (read(report[0], &failure, sizeof failure) != sizeof failure) {
            failure = 0;
        }
    }
    close(report[0]);
    return failure == 0 ? DWORD{ERROR_SUCCESS} : compat::ErrorFromErrno(failure);
}

DWORD StartCommandLine(std::wstring_view commandLine, const std::wstring& directory) {
    const std::vector<std::wstring> arguments = compat::ParseCommandLine(commandLine);
    if (arguments.empty()) {
        return ERROR_INVALID_PARAMETER;
    }
    const auto [program, error] = compat::ToHostPath(arguments[0]);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    if (const DWORD refused = CheckProgram(program); refused != ERROR_SUCCESS) {
        return refused;
    }
    Launch launch = {program, compat::ToHostPath(directory).host, {}, EnvironmentWith(commandLine)};
    if (launch.directory.empty() || access(launch.directory.c_str(), X_OK) != 0) {
        return ERROR_DIRECTORY;
    }
    for (const std::wstring& argument : arguments) {
        launch.arguments.push_back(compat::Utf8FromWide(argument));
    }
    return Start(launch);
}

// Returns the members of `startup` that callers set, as text.
std::string StartupText(const STARTUPINFOW* startup) {
    return startup == nullptr ? "null"
                              : compat::FillIn("(size={} flags={} show={})",
                                               {compat::ArgumentText(startup->cb),
                                                compat::ArgumentText(startup->dwFlags),
                                                compat::ArgumentText(startup->wShowWindow)});
}

std::wstring OwnCommandLine() {
    if (const char* const given = std::getenv(kCommandLineVariable)) {
        std::wstring line = compat::WideFromUtf8(given);
        unsetenv(kCommandLineVariable);  // must not reach the processes that this one starts
        return line;
    }
    std::string joined;
    compat::ReadHostFile("/proc/self/cmdline", joined);
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
    const compat::Call call(
        "CreateProcessW", ERROR_NOT_ENOUGH_MEMORY,
        "application={} command={} process={} thread={} inherit={} flags={} environment={} "
        "directory={} startup={}",
        application, LPCWSTR{commandLine}, process, thread, inherit, flags, environment, directory,
        [startup] { return StartupText(startup); });
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
    *information = {compat::Handles().Add<HANDLE>(std::make_shared<ProcessHandle>("process")),
                    compat::Handles().Add<HANDLE>(std::make_shared<ProcessHandle>("thread")), 0, 0};
    return TRUE;
}

LPWSTR GetCommandLineW() noexcept {
    const compat::Call call("GetCommandLineW");
    static std::wstring line = OwnCommandLine();
    return line.data();
}

LPWSTR* CommandLineToArgvW(LPCWSTR commandLine, int* count) noexcept {
    const compat::Call call("CommandLineToArgvW", ERROR_NOT_ENOUGH_MEMORY, "{}", commandLine);
    if (call.Fails()) {
        return nullptr;
    }
    std::vector<std::wstring> arguments = compat::ParseCommandLine(commandLine);
    if (arguments.empty()) {
        arguments.push_back(compat::FromHostPath(compat::ProgramFile()));
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
    const compat::Call call("Sleep", "{}", milliseconds);
    const timespec duration = {static_cast<time_t>(milliseconds / 1000),
                               static_cast<long>(milliseconds % 1000) * 1'000'000};
    nanosleep(&duration, nullptr);
}
