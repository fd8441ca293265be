// Creates the shortcuts of tests/data/shortcuts with the shell's link object, on Windows or Wine:
//   make_shortcuts DIRECTORY
// Creates C:\Apps and the targets first, because a shortcut stores properties of its target.

#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "common/file.h"
#include "common/owners.h"

namespace {

using kelvaro::ComPtr;

struct Shortcut {
    const wchar_t* name;
    const wchar_t* target;
    const wchar_t* arguments;
};

constexpr Shortcut kShortcuts[] = {
    {L"tool.lnk", L"C:\\Apps\\Tool.exe", nullptr},
    {L"arguments.lnk", L"C:\\Apps\\Tool.exe", L"--level 3 \"a file\""},
    {L"folder.lnk", L"C:\\Apps", nullptr},
    {L"document.lnk", L"C:\\Apps\\readme.txt", nullptr},
    {L"backup.lnk", L"C:\\Apps\\Tool.exe.bak", nullptr},
    {L"chinese.lnk", L"C:\\Apps\\\u5DE5\u5177.exe", nullptr},
};

bool Save(IShellLinkW& link, const std::wstring& path) {
    ComPtr<IPersistFile> file;
    return SUCCEEDED(link.QueryInterface(IID_IPersistFile, file.Put())) &&
           SUCCEEDED(file->Save(path.c_str(), TRUE));
}

bool Make(ComPtr<IShellLinkW>& link) {
    return SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_IShellLinkW, link.Put()));
}

bool MakeFileShortcut(const std::wstring& directory, const Shortcut& shortcut) {
    ComPtr<IShellLinkW> link;
    return Make(link) && SUCCEEDED(link->SetPath(shortcut.target)) &&
           SUCCEEDED(link->SetWorkingDirectory(L"C:\\Apps")) &&
           SUCCEEDED(link->SetDescription(L"A program to try things out with")) &&
           (shortcut.arguments == nullptr || SUCCEEDED(link->SetArguments(shortcut.arguments))) &&
           Save(*link.Get(), directory + L"\\" + shortcut.name);
}

bool MakeControlPanelShortcut(const std::wstring& directory) {
    ComPtr<IShellLinkW> link;
    LPITEMIDLIST item = nullptr;
    const bool made =
        Make(link) && SUCCEEDED(SHGetSpecialFolderLocation(nullptr, CSIDL_CONTROLS, &item)) &&
        SUCCEEDED(link->SetIDList(item)) && Save(*link.Get(), directory + L"\\control_panel.lnk");
    CoTaskMemFree(item);
    return made;
}

// The data block for a target with environment variables. Wine's link object does not write it.
struct EnvironmentBlock {
    DWORD size = 0;
    DWORD signature = 0xA0000001;
    char narrow[MAX_PATH] = "%windir%\\notepad.exe";
    wchar_t wide[MAX_PATH] = L"%windir%\\notepad.exe";
    DWORD terminator = 0;
};

bool MakeEnvironmentShortcut(const std::wstring& directory) {
    const std::wstring path = directory + L"\\environment.lnk";
    if (!MakeFileShortcut(directory, {L"environment.lnk", L"C:\\windows\\notepad.exe", nullptr})) {
        return false;
    }
    std::string bytes(kelvaro::ReadFileBytes(path.c_str()).View());
    constexpr size_t kFlagsOffset = 20;
    constexpr DWORD kHasEnvironmentPath = 0x200;
    DWORD flags = 0;
    std::memcpy(&flags, &bytes[kFlagsOffset], sizeof flags);
    flags |= kHasEnvironmentPath;
    std::memcpy(&bytes[kFlagsOffset], &flags, sizeof flags);
    EnvironmentBlock block;
    block.size = sizeof block - sizeof block.terminator;
    bytes.resize(bytes.size() - sizeof block.terminator);
    bytes.append(reinterpret_cast<const char*>(&block), sizeof block);
    return DeleteFileW(path.c_str()) && kelvaro::AppendToFile(path.c_str(), bytes);
}

void MakeTargets() {
    CreateDirectoryW(L"C:\\Apps", nullptr);
    for (const Shortcut& shortcut : kShortcuts) {
        if (!kelvaro::PathExists(shortcut.target)) {
            kelvaro::AppendToFile(shortcut.target, "MZ");
        }
    }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        std::fputs("usage: make_shortcuts DIRECTORY\n", stderr);
        return 2;
    }
    CoInitialize(nullptr);
    MakeTargets();
    bool made = MakeControlPanelShortcut(arguments[1]);
    made = MakeEnvironmentShortcut(arguments[1]) && made;
    for (const Shortcut& shortcut : kShortcuts) {
        made = MakeFileShortcut(arguments[1], shortcut) && made;
    }
    CoUninitialize();
    return made ? 0 : 1;
}
