#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>

#include "internal/call.h"
#include "internal/drive.h"
#include "internal/encoding.h"
#include "internal/linux_file.h"
#include "internal/object_table.h"
#include "internal/registry_file.h"
#include "testing/watch.h"

using compat::FoldName;
using compat::RegistryKeys;

namespace {

constexpr std::wstring_view kUser = L"HKEY_CURRENT_USER";
constexpr std::wstring_view kMachine = L"HKEY_LOCAL_MACHINE";
constexpr std::wstring_view kClasses = L"\\Software\\Classes";
constexpr REGSAM kQueryRight = 0x1;
constexpr REGSAM kSetRight = 0x2;

struct OpenKey {
    std::wstring path;
    REGSAM access;
};

using KeyTable = compat::ObjectTable<OpenKey, compat::Resource::key>;

KeyTable& Keys() {
    static auto& table = *new KeyTable;
    return table;
}

// Returns the Linux path of the registry file. Empty if there is no drive C:; then no key exists or
// can be created.
std::string RegistryFile() {
    const std::string directory = compat::DriveDirectory();
    return directory.empty() ? directory : directory + "/registry.json";
}

// Reads the registry file, which need not exist. std::nullopt if it is damaged or cannot be read.
std::optional<RegistryKeys> Load() {
    const std::string path = RegistryFile();
    std::string text;
    if (!compat::ReadLinuxFile(path, text) && access(path.c_str(), F_OK) == 0) {
        return std::nullopt;
    }
    return text.empty() ? RegistryKeys() : compat::ParseRegistry(text);
}

// Applies `change` to the registry file. Atomic for all processes: a reader sees the old file or
// the new one. Leaves a file that Load refuses as it is: somebody may have edited it.
template <class Change>
LSTATUS Update(Change&& change) {
    const std::string path = RegistryFile();
    const int lock =
        path.empty() ? -1 : open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (lock < 0) {
        return ERROR_ACCESS_DENIED;
    }
    flock(lock, LOCK_EX);
    std::optional<RegistryKeys> keys = Load();
    LSTATUS status = keys ? change(*keys) : ERROR_BADDB;
    if (keys && status == ERROR_SUCCESS) {
        const std::string fresh = path + ".new";
        std::ofstream file(fresh, std::ios::binary);
        file << compat::FormatRegistry(*keys);
        file.close();
        const bool replaced = file && std::rename(fresh.c_str(), path.c_str()) == 0;
        status = replaced ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
    }
    close(lock);
    return status;
}

bool Exists(const RegistryKeys& keys, const std::wstring& path) {
    return path == kUser || path == kMachine || keys.contains(FoldName(path));
}

std::wstring Append(std::wstring path, LPCWSTR subkey) {
    const std::wstring_view rest = subkey == nullptr ? L"" : subkey;
    return rest.empty() ? path : path.append(L"\\").append(rest);
}

// Returns the full path of `subkey` below `root`, empty if `root` is not a key. Below
// HKEY_CLASSES_ROOT a key of the user takes precedence over the machine's.
std::wstring FullPath(const RegistryKeys& keys, HKEY root, LPCWSTR subkey) {
    if (root == HKEY_CLASSES_ROOT) {
        const std::wstring own = Append(std::wstring(kUser).append(kClasses), subkey);
        return Exists(keys, own) ? own : Append(std::wstring(kMachine).append(kClasses), subkey);
    }
    if (root == HKEY_CURRENT_USER || root == HKEY_LOCAL_MACHINE) {
        return Append(std::wstring(root == HKEY_CURRENT_USER ? kUser : kMachine), subkey);
    }
    const auto parent = Keys().Find(root);
    return parent ? Append(parent->path, subkey) : std::wstring();
}

// Looks for an existing key and stores its path.
LSTATUS FindPath(const RegistryKeys& keys, HKEY root, LPCWSTR subkey, std::wstring& path) {
    path = FullPath(keys, root, subkey);
    if (path.empty()) {
        return ERROR_INVALID_HANDLE;
    }
    return Exists(keys, path) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

// Creates the key at `path` and its missing parents.
void CreateKeys(RegistryKeys& keys, const std::wstring& path) {
    for (size_t end = path.find(L'\\'); end != std::wstring::npos;) {
        end = path.find(L'\\', end + 1);
        const std::wstring part = path.substr(0, end);
        keys.try_emplace(FoldName(part), compat::RegistryKey{part, {}});
    }
}

std::shared_ptr<OpenKey> FindKey(HKEY key, REGSAM right, LSTATUS& status) {
    auto open = Keys().Find(key);
    if (!open) {
        status = ERROR_INVALID_HANDLE;
    } else if ((open->access & right) == 0) {
        status = ERROR_ACCESS_DENIED;
    }
    return open;
}

bool IsUnterminatedText(const compat::RegistryValue& value) {
    if ((value.type != REG_SZ && value.type != REG_EXPAND_SZ) ||
        value.data.size() < sizeof(wchar_t)) {
        return false;
    }
    wchar_t last = 0;
    std::memcpy(&last, value.data.data() + value.data.size() - sizeof last, sizeof last);
    return last != 0;
}

LSTATUS CopyValue(const compat::RegistryValue& value, LPDWORD type, BYTE* data, LPDWORD size) {
    const auto length = static_cast<DWORD>(value.data.size());
    if (type != nullptr) {
        *type = value.type;
    }
    if (size == nullptr) {
        return ERROR_SUCCESS;
    }
    const DWORD capacity = *size;
    *size = length;
    if (data == nullptr) {
        return ERROR_SUCCESS;
    }
    if (capacity < length) {
        return ERROR_MORE_DATA;
    }
    std::copy(value.data.begin(), value.data.end(), data);
    if (IsUnterminatedText(value) && capacity - length >= sizeof(wchar_t)) {
        std::memset(data + length, 0, sizeof(wchar_t));
    }
    return ERROR_SUCCESS;
}

}  // namespace

LSTATUS RegOpenKeyExW(HKEY root, LPCWSTR path, DWORD options, REGSAM access,
                      HKEY* opened) noexcept {
    const compat::Call call("RegOpenKeyExW", ERROR_ACCESS_DENIED);
    compat::Watch<&RegOpenKeyExW>::Pass(root, path, options, access, opened);
    if (call.Fails()) {
        return call.Result();
    }
    *opened = nullptr;
    std::wstring full;
    const auto keys = Load();
    const LSTATUS status = keys ? FindPath(*keys, root, path, full) : ERROR_BADDB;
    if (status == ERROR_SUCCESS) {
        *opened = Keys().Add<HKEY>(std::make_shared<OpenKey>(OpenKey{full, access}));
    }
    return status;
}

LSTATUS RegCreateKeyExW(HKEY root, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options,
                        REGSAM access, const SECURITY_ATTRIBUTES* security, HKEY* opened,
                        LPDWORD disposition) noexcept {
    const compat::Call call("RegCreateKeyExW", ERROR_ACCESS_DENIED);
    compat::Watch<&RegCreateKeyExW>::Pass(root, path, reserved, keyClass, options, access, security,
                                          opened, disposition);
    if (call.Fails()) {
        return call.Result();
    }
    *opened = nullptr;
    if (options != REG_OPTION_NON_VOLATILE) {
        return ERROR_INVALID_PARAMETER;  // the registry file keeps all keys
    }
    std::wstring full;
    const LSTATUS status = Update([&](RegistryKeys& keys) -> LSTATUS {
        full = FullPath(keys, root, path);
        if (full.empty()) {
            return ERROR_INVALID_HANDLE;
        }
        CreateKeys(keys, full);
        return ERROR_SUCCESS;
    });
    if (status == ERROR_SUCCESS) {
        *opened = Keys().Add<HKEY>(std::make_shared<OpenKey>(OpenKey{full, access}));
    }
    return status;
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD /*reserved*/, LPDWORD type, BYTE* data,
                         LPDWORD size) noexcept {
    const compat::Call call("RegQueryValueExW", ERROR_ACCESS_DENIED);
    if (call.Fails()) {
        return call.Result();
    }
    LSTATUS status = data != nullptr && size == nullptr ? ERROR_INVALID_PARAMETER : ERROR_SUCCESS;
    const auto open = FindKey(key, kQueryRight, status);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    const auto keys = Load();
    if (!keys) {
        return ERROR_BADDB;
    }
    const auto found = keys->find(FoldName(open->path));
    if (found == keys->end()) {
        return ERROR_FILE_NOT_FOUND;
    }
    const auto value = found->second.values.find(FoldName(name == nullptr ? L"" : name));
    return value == found->second.values.end() ? ERROR_FILE_NOT_FOUND
                                               : CopyValue(value->second, type, data, size);
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD /*reserved*/, DWORD type, const BYTE* data,
                       DWORD size) noexcept {
    const compat::Call call("RegSetValueExW", ERROR_ACCESS_DENIED);
    if (call.Fails()) {
        return call.Result();
    }
    LSTATUS status = ERROR_SUCCESS;
    const auto open = FindKey(key, kSetRight, status);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    return Update([&](RegistryKeys& keys) -> LSTATUS {
        const auto found = keys.find(FoldName(open->path));
        if (found == keys.end()) {
            return ERROR_FILE_NOT_FOUND;
        }
        const std::wstring valueName = name == nullptr ? L"" : name;
        found->second.values[FoldName(valueName)] = {valueName, type, {data, data + size}};
        return ERROR_SUCCESS;
    });
}

LSTATUS RegCloseKey(HKEY key) noexcept {
    return Keys().Remove(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS RegDeleteTreeW(HKEY root, LPCWSTR path) noexcept {
    const compat::Call call("RegDeleteTreeW", ERROR_ACCESS_DENIED);
    if (call.Fails()) {
        return call.Result();
    }
    return Update([&](RegistryKeys& keys) -> LSTATUS {
        std::wstring full;
        if (const LSTATUS status = FindPath(keys, root, path, full); status != ERROR_SUCCESS) {
            return status;
        }
        const std::wstring folded = FoldName(full);
        std::erase_if(keys, [&folded](const auto& entry) {
            const std::wstring& key = entry.first;
            return key.starts_with(folded) &&
                   (key.size() == folded.size() || key[folded.size()] == L'\\');
        });
        return ERROR_SUCCESS;
    });
}
