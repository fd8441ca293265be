#include <windows.h>

#include <shlobj.h>

#include <cstring>
#include <optional>

#include "common/module_path.h"
#include "common/owners.h"
#include "common/path.h"
#include "support/fixture.h"
#include "support/imports.h"
#include "support/message_boxes.h"
#include "support/platform.h"
#include "support/small_stack.h"

namespace fs = std::filesystem;

namespace platform {

std::string HeldResources() {
    return {};
}

bool ReadOnlyRefuses() {
    const std::wstring probe = TestPath(L"probe");
    CloseHandle(CreateFileW(probe.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_READONLY, nullptr));
    const HANDLE file =
        CreateFileW(probe.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
    }
    SetFileAttributesW(probe.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(probe.c_str());
    return file == INVALID_HANDLE_VALUE;
}

bool EmptyDropListHasNoFiles() {
    DROPFILES empty[2] = {};  // the second one stands for the empty list
    empty[0].pFiles = sizeof *empty;
    empty[0].fWide = TRUE;
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, sizeof empty);
    std::memcpy(GlobalLock(memory), empty, sizeof empty);
    GlobalUnlock(memory);
    const UINT count = DragQueryFileW(static_cast<HDROP>(memory), 0xFFFFFFFF, nullptr, 0);
    GlobalFree(memory);
    return count == 0;
}

bool LinksKeep(const wchar_t* target) {
    const std::wstring probe = TestPath(L"probe.lnk");
    MakeShortcut(probe, target);
    kelvaro::ComPtr<IShellLinkW> link;
    kelvaro::ComPtr<IPersistFile> file;
    wchar_t kept[MAX_PATH] = {};
    CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, link.Put());
    link->QueryInterface(IID_IPersistFile, file.Put());
    file->Load(probe.c_str(), STGM_READ);
    link->GetPath(kept, MAX_PATH, nullptr, SLGP_RAWPATH);
    return kept == std::wstring_view(target);
}

// To try it would need a handler for every program of this user.
bool ShellBuildsMenus() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr;
}

bool HasDesktop() {
    USEROBJECTFLAGS flags = {};
    return GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags,
                                     nullptr) &&
           (flags.dwFlags & WSF_VISIBLE) != 0;
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

void RunOnSmallStack(const std::function<void()>& work) {
    const auto run = [](LPVOID argument) -> DWORD {
        (*static_cast<const std::function<void()>*>(argument))();
        return 0;
    };
    constexpr SIZE_T kStack = SIZE_T{64} << 10;
    auto* const argument = const_cast<std::function<void()>*>(&work);
    const HANDLE thread =
        CreateThread(nullptr, kStack, run, argument, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

// MessageBoxW of this program, and of the libraries that it loads while a collection lives.
static MessageBoxes* g_boxes = nullptr;
static std::optional<LibraryLoads> g_loads;

static int WINAPI CloseBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
    if (g_boxes != nullptr) {
        g_boxes->Add(owner, text, caption, style);
    }
    return IDOK;
}

MessageBoxes::MessageBoxes() {
    g_boxes = this;
    constexpr auto replace = [](HMODULE module) {
        SetImport(module, "MessageBoxW", reinterpret_cast<void*>(&CloseBox));
    };
    replace(GetModuleHandleW(nullptr));
    g_loads.emplace(replace);
}

MessageBoxes::~MessageBoxes() {
    g_loads.reset();
    g_boxes = nullptr;
}
