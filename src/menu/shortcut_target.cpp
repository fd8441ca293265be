#include "menu/shortcut_target.h"

#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include "common/owners.h"
#include "common/text.h"

namespace kelvaro {
namespace {

// The target stored in the shortcut file at `path`, empty where there is none.
std::wstring ReadStoredTarget(const std::wstring& path) {
    ComPtr<IShellLinkW> link;
    if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                link.Put())) ||
        !link) {
        return {};
    }
    wchar_t target[MAX_PATH] = {};
    {
        ComPtr<IPersistFile> file;
        if (FAILED(link->QueryInterface(IID_IPersistFile, file.Put())) || !file ||
            FAILED(file->Load(path.c_str(), STGM_READ))) {
            return {};
        }
        WIN32_FIND_DATAW unused = {};
        if (FAILED(link->GetPath(target, MAX_PATH, &unused, SLGP_RAWPATH))) {
            return {};
        }
    }
    return target;
}

}  // namespace

FileKind KindOfFile(const std::wstring& path) {
    const std::wstring lowered = ToLower(path);
    if (PathMatchSpecW(lowered.c_str(), L"*.exe")) {
        return FileKind::program;
    }
    return PathMatchSpecW(lowered.c_str(), L"*.lnk") ? FileKind::shortcut : FileKind::other;
}

std::wstring ResolveShortcutTarget(const std::wstring& path) {
    switch (KindOfFile(path)) {
        case FileKind::program:
            return path;
        case FileKind::shortcut:
            break;
        case FileKind::other:
            return {};
    }
    std::wstring target = ReadStoredTarget(path);
    return KindOfFile(target) == FileKind::program ? target : std::wstring();
}

}  // namespace kelvaro
