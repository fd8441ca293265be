#include "menu/shortcut_target.h"

#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include "common/owners.h"
#include "common/text.h"

namespace kelvaro {
namespace {

bool MatchesPattern(const std::wstring& path, const wchar_t* pattern) {
    return PathMatchSpecW(ToLower(path).c_str(), pattern);
}

bool IsProgram(const std::wstring& path) {
    return MatchesPattern(path, L"*.exe");
}

}  // namespace

FileKind KindOfFile(const std::wstring& path) {
    if (IsProgram(path)) {
        return FileKind::program;
    }
    return MatchesPattern(path, L"*.lnk") ? FileKind::shortcut : FileKind::other;
}

std::wstring ReadStoredTarget(const std::wstring& path) {
    // The interfaces are adopted only after a success: a failing call may leave an invalid pointer.
    void* created = nullptr;
    if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                &created)) ||
        created == nullptr) {
        return {};
    }
    const ComPtr<IShellLinkW> link(static_cast<IShellLinkW*>(created));
    void* queried = nullptr;
    if (FAILED(link->QueryInterface(IID_IPersistFile, &queried)) || queried == nullptr) {
        return {};
    }
    const ComPtr<IPersistFile> file(static_cast<IPersistFile*>(queried));
    if (FAILED(file->Load(path.c_str(), STGM_READ))) {
        return {};
    }
    wchar_t target[MAX_PATH] = {};
    WIN32_FIND_DATAW unused = {};
    if (FAILED(link->GetPath(target, MAX_PATH, &unused, SLGP_RAWPATH))) {
        return {};
    }
    return target;
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
    const std::wstring target = ReadStoredTarget(path);
    return IsProgram(target) ? target : std::wstring();
}

}  // namespace kelvaro
