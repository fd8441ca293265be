#include <windows.h>

#include <shlobj.h>

#include "common/module_path.h"
#include "common/owners.h"
#include "common/path.h"
#include "support/fixture.h"
#include "support/imports.h"
#include "support/message_boxes.h"
#include "support/platform.h"
#include "support/thread.h"

namespace fs = std::filesystem;

namespace platform {

std::string HeldResources() {
    return {};
}

bool IsWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

DWORD RunToEnd(std::wstring commandLine) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        return GetLastError();
    }
    const kelvaro::ScopedHandle processHandle(process.hProcess);
    const kelvaro::ScopedHandle threadHandle(process.hThread);
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    return code;
}

void MakeShortcut(const std::wstring& file, const wchar_t* target, LPCITEMIDLIST item) {
    kelvaro::ComPtr<IShellLinkW> link;
    kelvaro::ComPtr<IPersistFile> saver;
    ASSERT_EQ(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                               link.Put()),
              S_OK);
    ASSERT_GE(item == nullptr ? link->SetPath(target) : link->SetIDList(item), S_OK);
    ASSERT_EQ(link->QueryInterface(IID_IPersistFile, saver.Put()), S_OK);
    ASSERT_EQ(saver->Save(file.c_str(), TRUE), S_OK);
}

fs::path NativePath(const std::wstring& path) {
    return path;
}

std::wstring BuiltFile(const char* path) {
    return kelvaro::JoinPath(kelvaro::GetModuleDirectory(nullptr), fs::path(path).wstring());
}

}  // namespace platform

void RunOnThread(const std::function<void()>& work, size_t stack) {
    const auto run = [](LPVOID argument) -> DWORD {
        (*static_cast<const std::function<void()>*>(argument))();
        return 0;
    };
    auto* const argument = const_cast<std::function<void()>*>(&work);
    const HANDLE thread =
        CreateThread(nullptr, stack, run, argument, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

static MessageBoxes* g_boxes = nullptr;

static int WINAPI CloseBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
    if (g_boxes != nullptr) {
        g_boxes->Add(owner, text, caption, style);
    }
    return IDOK;
}

MessageBoxes::MessageBoxes() {
    g_boxes = this;
    auto* const show = GetProcAddress(GetModuleHandleW(L"user32.dll"), "MessageBoxW");
    ReplaceCode(reinterpret_cast<void*>(show), reinterpret_cast<void*>(&CloseBox));
}

MessageBoxes::~MessageBoxes() {
    g_boxes = nullptr;
}
