#include "setup/registry.h"

#include <objbase.h>
#include <shlobj.h>

#include <algorithm>
#include <array>
#include <vector>

#include "common/owners.h"
#include "common/path.h"
#include "common/text.h"
#include "registration/keys.h"
#include "server/clsid.h"
#include "setup/failure.h"
#include "setup/files.h"

namespace setup {
namespace {

using kelvaro::Concat;
using kelvaro::ScopedKey;

std::wstring ClassKey() {
    wchar_t clsid[40] = {};
    StringFromGUID2(kelvaro::kShellExtClsid, clsid, static_cast<int>(std::size(clsid)));
    return Concat({kelvaro::kClasses, kelvaro::kClassKey, clsid});
}

// Returns the keys of the registration below a root in the order of deletion: the handlers first,
// so that an interrupted removal leaves no handler without its class.
std::array<std::wstring, 3> Keys() {
    return {Concat({kelvaro::kClasses, kelvaro::kProgramHandler}),
            Concat({kelvaro::kClasses, kelvaro::kShortcutHandler}), ClassKey()};
}

std::wstring KeyName(HKEY root, const std::wstring& key) {
    return (root == HKEY_CURRENT_USER ? L"HKEY_CURRENT_USER\\" : L"HKEY_LOCAL_MACHINE\\") + key;
}

void DeleteKey(HKEY root, const std::wstring& key) {
    const LSTATUS status = RegDeleteTreeW(root, key.c_str());
    if (status != ERROR_FILE_NOT_FOUND) {
        RequireStatus(status, "delete", KeyName(root, key));
    }
}

// Copies the key `from` with all its values and keys into the new key `path` below `root`.
void CopyKey(HKEY from, HKEY root, const std::wstring& path) {
    ScopedKey to;
    RequireStatus(RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                  to.Put(), nullptr),
                  "create", path);
    RequireStatus(RegCopyTreeW(from, nullptr, to.Get()), "write", path);
}

}  // namespace

std::optional<std::wstring> RegisteredDirectory(HKEY root) {
    std::vector<wchar_t> data(32768);
    auto size = static_cast<DWORD>(data.size() * sizeof(wchar_t));
    // Expands environment variables in a value of type REG_EXPAND_SZ, as COM does.
    if (RegGetValueW(root, Concat({ClassKey(), kelvaro::kServerKey}).c_str(), nullptr,
                     RRF_RT_REG_SZ, nullptr, data.data(), &size) != ERROR_SUCCESS) {
        return {};
    }
    std::wstring library(kelvaro::TrimWhitespace(data.data()));
    std::erase(library, L'"');
    if (library.find_first_of(L"\\/") == std::wstring::npos) {
        return {};
    }
    return FullPath(std::wstring(kelvaro::ParentPath(FullPath(library))));
}

bool IsRegistered(const std::wstring& directory) {
    return std::any_of(std::begin(kRoots), std::end(kRoots), [&](HKEY root) {
        const std::optional<std::wstring> registered = RegisteredDirectory(root);
        return registered && IsSameDirectory(*registered, directory);
    });
}

void RemoveRegistration(HKEY root) {
    for (const std::wstring& key : Keys()) {
        DeleteKey(root, key);
    }
}

void BackUpRegistration() {
    for (const HKEY root : kRoots) {
        ScopedKey backup;
        const LSTATUS created = RegCreateKeyExW(root, kBackupKey, 0, nullptr, 0, KEY_ALL_ACCESS,
                                                nullptr, backup.Put(), nullptr);
        if (created == ERROR_ACCESS_DENIED && root == HKEY_LOCAL_MACHINE) {
            continue;
        }
        RequireStatus(created, "create", KeyName(root, kBackupKey));
        for (size_t number = 0; number < Keys().size(); ++number) {
            const std::wstring path = Keys()[number];
            ScopedKey key;
            const LSTATUS opened = RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, key.Put());
            if (opened != ERROR_FILE_NOT_FOUND) {
                RequireStatus(opened, "read", KeyName(root, path));
                CopyKey(key.Get(), backup.Get(), std::to_wstring(number));
            }
        }
    }
}

void RestoreRegistration(const std::wstring& directory) {
    for (const HKEY root : kRoots) {
        ScopedKey backup;
        if (RegOpenKeyExW(root, kBackupKey, 0, KEY_READ, backup.Put()) != ERROR_SUCCESS ||
            !IsSameDirectory(RegisteredDirectory(root).value_or(directory), directory)) {
            continue;
        }
        for (size_t number = 0; number < Keys().size(); ++number) {
            const std::wstring path = Keys()[number];
            ScopedKey former;
            DeleteKey(root, path);
            if (RegOpenKeyExW(backup.Get(), std::to_wstring(number).c_str(), 0, KEY_READ,
                              former.Put()) == ERROR_SUCCESS) {
                CopyKey(former.Get(), root, path);
            }
        }
    }
    NotifyShell();
}

void DeleteBackup() noexcept {
    for (const HKEY root : kRoots) {
        RegDeleteTreeW(root, kBackupKey);
    }
}

void NotifyShell() noexcept {
    SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
}

}  // namespace setup
