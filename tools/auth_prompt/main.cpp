// A stand-in for the application's authorisation prompt, for demos and tests. Toggles the lock of
// the given program without authorisation. If two run at the same time, one change can be lost.

#include <windows.h>

#include <objbase.h>

#include "auth_prompt/rule_editor.h"
#include "common/code_page.h"
#include "common/file.h"
#include "console/console.h"
#include "menu/shortcut_target.h"
#include "rules/lock_lookup.h"

namespace {

constexpr wchar_t kRecordPath[] =
    L"C:\\ProgramData\\Vorandel\\Kelvaro\\config\\auth_prompt_calls.txt";
constexpr std::wstring_view kSwitches[] = {L"--auth-only", L"--startup-gate", L"--shell-toggle"};
constexpr char kUsage[] =
    "usage: KelvaroAuthPrompt --auth-only --startup-gate --shell-toggle PATH\n"
    "Locks or unlocks the program PATH, or the target of the shortcut PATH.\n";

bool Complain(std::string_view what) {
    console::Print(stderr, "KelvaroAuthPrompt: " + std::string(what) + "\n");
    return false;
}

bool HasRightShape(const std::vector<std::wstring>& arguments) {
    constexpr size_t kCount = std::size(kSwitches) + 2;
    return arguments.size() == kCount &&
           std::equal(std::begin(kSwitches), std::end(kSwitches), arguments.begin() + 1) &&
           !arguments.back().empty();
}

// Replaces the rule file in one step, so that a reader sees either the old rules or the new ones.
// Windows refuses that while a reader or a virus scanner has a file open, so it is tried again for
// a second.
bool ReplaceRules(std::string_view rules) {
    constexpr int kAttempts = 100;
    constexpr DWORD kPauseMilliseconds = 10;
    const std::wstring path(kelvaro::kRuleFilePath);
    const std::wstring fresh = path + L".new";
    DeleteFileW(fresh.c_str());
    if (!kelvaro::AppendToFile(fresh.c_str(), rules)) {
        return false;
    }
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        if (MoveFileExW(fresh.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
            return true;
        }
        if (GetLastError() != ERROR_ACCESS_DENIED && GetLastError() != ERROR_SHARING_VIOLATION) {
            return false;
        }
        Sleep(kPauseMilliseconds);
    }
    return false;
}

// Returns whether there is no rule file or it has no bytes.
bool HasNoRules() {
    WIN32_FILE_ATTRIBUTE_DATA file = {};
    if (GetFileAttributesExW(kelvaro::kRuleFilePath, GetFileExInfoStandard, &file)) {
        return file.nFileSizeHigh == 0 && file.nFileSizeLow == 0;
    }
    return GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND;
}

bool Toggle(const std::wstring& selectedPath) {
    const std::wstring target = kelvaro::ResolveShortcutTarget(selectedPath);
    if (target.empty()) {
        return Complain("not a program or a shortcut to one: " +
                        kelvaro::Utf8FromWide(selectedPath));
    }
    const auto rules = kelvaro::ReadFileBytes(kelvaro::kRuleFilePath);
    if (rules.View().empty() && !HasNoRules()) {
        return Complain("cannot read the rule file; nothing changed");
    }
    const auto [changed, error] = auth_prompt::ToggleRule(rules.View(), target);
    if (!error.empty()) {
        return Complain(error + "; nothing changed");
    }
    return ReplaceRules(changed) || Complain("cannot write the rule file");
}

void RecordCall() {
    std::wstring directory(MAX_PATH, L'\0');
    directory.resize(GetCurrentDirectoryW(MAX_PATH, directory.data()));
    kelvaro::AppendToFile(kRecordPath, "command line: " + kelvaro::Utf8FromWide(GetCommandLineW()) +
                                           "\ndirectory: " + kelvaro::Utf8FromWide(directory) +
                                           "\n");
}

}  // namespace

int main() {
    const console::Session session;
    const std::vector<std::wstring> arguments = console::Arguments();
    if (!HasRightShape(arguments)) {
        Complain("invalid arguments; nothing changed");
        console::Print(stderr, kUsage);
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const bool done = Toggle(arguments.back());
    CoUninitialize();
    RecordCall();
    return done ? 0 : 1;
}
