#include "launch/launch_toggle.h"

#include <optional>

#include "common/file.h"
#include "common/module_path.h"
#include "common/owners.h"
#include "common/path.h"
#include "common/text.h"
#include "i18n/texts.h"
#include "log/log.h"
#include "server/module.h"

namespace kelvaro {
namespace {

// The programs that can show the authorisation prompt, in order of preference.
constexpr std::wstring_view kPrograms[] = {L"KelvaroAuthPrompt.exe", L"Kelvaro.exe",
                                           L"Kelvaro_UI.exe"};
constexpr std::wstring_view kSwitches = L" --auth-only --startup-gate --shell-toggle ";

// Returns the path of the first of the programs that exists in `directory`. Empty if none does.
std::wstring FindProgram(std::wstring_view directory) {
    for (const std::wstring_view name : kPrograms) {
        std::wstring path = JoinPath(directory, name);
        if (PathExists(path.c_str())) {
            return path;
        }
    }
    return {};
}

// Appends `value` in double quotes. Backslashes are not doubled: the paths end with a file name, so
// none is before the closing quote.
void AppendQuoted(std::wstring& line, std::wstring_view value) {
    line.push_back(L'"');
    for (const wchar_t unit : value) {
        if (unit == L'"') {
            line.push_back(L'\\');
        }
        line.push_back(unit);
    }
    line.push_back(L'"');
}

void ShowError(HWND owner, const TextKey& message) {
    const std::wstring title = GetProductName();
    const std::wstring text = LoadText(message);
    MessageBoxW(owner, text.c_str(), title.c_str(), MB_OK | MB_ICONERROR);
}

// Starts `commandLine` in `directory`, without a console and with its first window hidden. Returns
// the system error code if that fails, which may be 0, and std::nullopt if the process runs.
std::optional<DWORD> StartHidden(std::wstring& commandLine,
                                 const std::wstring& directory) noexcept {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_HIDE;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                        nullptr, directory.c_str(), &startup, &process)) {
        return GetLastError();
    }
    const ScopedHandle processHandle(process.hProcess);
    const ScopedHandle threadHandle(process.hThread);
    return std::nullopt;
}

}  // namespace

std::wstring BuildCommandLine(std::wstring_view program, std::wstring_view selectedPath) {
    std::wstring line;
    line.reserve(program.size() + kSwitches.size() + selectedPath.size() + 4);
    AppendQuoted(line, program);
    line.append(kSwitches);
    AppendQuoted(line, selectedPath);
    return line;
}

void LaunchToggle(const std::wstring& selectedPath, HWND owner) {
    const std::wstring directory = GetModuleDirectory(g_moduleHandle);
    if (directory.empty()) {
        WriteLog(L"Launch failed: module dir empty");
        return;
    }
    const std::wstring program = FindProgram(directory);
    if (program.empty()) {
        WriteLog(L"Launch failed: KelvaroAuthPrompt/Kelvaro not found in " + directory);
        ShowError(owner, kPromptNotFound);
        return;
    }
    std::wstring commandLine = BuildCommandLine(program, selectedPath);
    WriteLog(L"CreateProcess: " + commandLine);
    if (const auto error = StartHidden(commandLine, directory)) {
        std::wstring failure = L"CreateProcess failed gle=";
        AppendNumber(failure, *error);
        WriteLog(failure);
        ShowError(owner, kLaunchFailed);
        return;
    }
    WriteLog(L"CreateProcess started (non-blocking)");
}

}  // namespace kelvaro
