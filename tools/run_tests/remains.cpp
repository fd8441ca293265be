#include "run_tests/remains.h"

#include <windows.h>

#include <string_view>

#include "common/owners.h"
#include "common/text.h"
#include "registration/keys.h"

namespace remains {
namespace {

// The application's fixed directory.
constexpr wchar_t kData[] = L"C:\\ProgramData\\Vorandel\\Kelvaro";

struct Key {
    HKEY root;
    std::wstring path;
};

// Returns the keys that tests write. Those below HKEY_LOCAL_MACHINE are written only with the
// rights of an administrator.
std::vector<Key> Keys() {
    std::vector<Key> keys = {{HKEY_CURRENT_USER, L"Software\\Vorandel\\Kelvaro"}};
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        for (const std::wstring& name :
             {std::wstring(L"CLSID\\{A36AA93F-0FF6-4369-BF38-78FAADC0C5ED}"),
              kelvaro::Concat({kelvaro::kProgramClass, kelvaro::kHandlerKey}),
              kelvaro::Concat({kelvaro::kShortcutClass, kelvaro::kHandlerKey}),
              std::wstring(L"exefile\\shellex\\ContextMenuHandlers\\KelvaroTest"),
              std::wstring(L"lnkfile\\shellex\\ContextMenuHandlers\\KelvaroTest")}) {
            keys.push_back({root, kelvaro::Concat({kelvaro::kClasses, name})});
        }
    }
    return keys;
}

bool Exists(const Key& key) {
    kelvaro::ScopedKey opened;
    return RegOpenKeyExW(key.root, key.path.c_str(), 0, KEY_READ, opened.Put()) == ERROR_SUCCESS;
}

bool Exists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Removes a file or directory. Its path may be longer than MAX_PATH, which std::filesystem does not
// support.
void RemoveTree(const std::wstring& path) {
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (DeleteFileW(path.c_str())) {
        return;
    }
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((path + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        const std::wstring name = found.cFileName;
        if (name != L"." && name != L"..") {
            RemoveTree(path + L"\\" + name);
        }
    } while (FindNextFileW(search, &found));
    FindClose(search);
    RemoveDirectoryW(path.c_str());
}

}  // namespace

std::wstring TestDirectory() {
    // The shell returns long names, so the tests use them too.
    wchar_t path[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, path);
    GetLongPathNameW(path, path, MAX_PATH);
    return std::wstring(path) + L"KelvaroTests";
}

std::wstring MarkFile() {
    return TestDirectory() + L".mark";
}

std::vector<std::wstring> Find() {
    std::vector<std::wstring> found;
    for (const std::wstring& path : {std::wstring(kData), TestDirectory()}) {
        if (Exists(path)) {
            found.push_back(path);
        }
    }
    for (const Key& key : Keys()) {
        if (Exists(key)) {
            found.push_back((key.root == HKEY_CURRENT_USER ? L"HKCU\\" : L"HKLM\\") + key.path);
        }
    }
    return found;
}

std::wstring MissingParents() {
    std::wstring missing;
    const auto add = [&missing](const auto& place, const std::wstring& name) {
        missing += Exists(place) ? L"" : name + L"\n";
    };
    add(std::wstring(L"C:\\ProgramData\\Vorandel"), L"C:\\ProgramData\\Vorandel");
    for (const std::wstring path :
         {L"Software\\Classes\\exefile\\shellex\\ContextMenuHandlers",
          L"Software\\Classes\\exefile\\shellex", L"Software\\Classes\\exefile",
          L"Software\\Classes\\lnkfile\\shellex\\ContextMenuHandlers",
          L"Software\\Classes\\lnkfile\\shellex", L"Software\\Classes\\lnkfile",
          L"Software\\Classes\\CLSID", L"Software\\Vorandel"}) {
        add(Key{HKEY_CURRENT_USER, path}, path);
    }
    return missing;
}

void Remove() {
    RemoveTree(L"\\\\?\\" + std::wstring(kData));
    RemoveTree(L"\\\\?\\" + TestDirectory());
    for (const Key& key : Keys()) {
        RegDeleteTreeW(key.root, key.path.c_str());
    }
}

void RemoveParents(const std::wstring& parents) {
    for (size_t at = 0; at < parents.size();) {
        const size_t end = parents.find(L'\n', at);
        const std::wstring name = parents.substr(at, end - at);
        // Neither call deletes what contains others.
        name.starts_with(L"C:") ? RemoveDirectoryW(name.c_str())
                                : RegDeleteKeyW(HKEY_CURRENT_USER, name.c_str());
        at = end + 1;
    }
}

}  // namespace remains
