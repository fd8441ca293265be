// Makes the platform calls that the library and its tools depend on with seeded random and boundary
// arguments and prints one line for each. Built for both platforms; scripts/checks/
// check-compatibility-layer fails if the two outputs differ.
//
// Arguments avoid differences between the platforms on which the library does not depend: how
// many U+FFFD replace malformed bytes, the text of an unterminated registry value, names of a drop
// list that starts with an empty one, damaged shortcuts (Wine crashes), files that are open twice,
// and which error a call with several errors reports.

#include <windows.h>

#include <objbase.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "common/owners.h"

namespace {

std::mt19937 g_random;

size_t Random(size_t limit) {
    return g_random() % limit;
}

template <class Text, size_t kCount>
Text Pick(const Text (&values)[kCount]) {
    return values[Random(kCount)];
}

// Returns at most `most` random pieces, concatenated.
template <class Text, size_t kCount>
Text Join(const Text (&pieces)[kCount], size_t most) {
    Text text;
    for (size_t left = Random(most + 1); left > 0; --left) {
        text += Pick(pieces);
    }
    return text;
}

// Returns `text` with each non-ASCII unit written as <HEX>.
template <class Unit>
std::string ShowUnits(std::basic_string_view<Unit> text) {
    std::string shown = "'";
    for (const Unit unit : text) {
        const unsigned value = static_cast<unsigned>(unit) & (sizeof unit == 1 ? 0xFFU : 0xFFFFU);
        char number[8] = {};
        std::snprintf(number, sizeof number, "<%X>", value);
        shown += value >= 0x20 && value < 0x7F ? std::string(1, static_cast<char>(value)) : number;
    }
    return shown + "'";
}

std::string Show(std::wstring_view text) {
    return ShowUnits(text);
}

std::string Show(std::string_view text) {
    return ShowUnits(text);
}

template <class... Values>
void Line(const char* call, const Values&... values) {
    std::string line = call;
    const auto add = [&line](const auto& value) {
        if constexpr (requires { std::to_string(value); }) {
            line += " " + std::to_string(value);
        } else {
            line.append(" ").append(value);
        }
    };
    (add(values), ...);
    std::puts(line.c_str());
}

void Conversions() {
    const std::string pieces[] = {"a",    "Z",    "\xC3\xA4", "\xE8\xBD\xAF", "\xF0\x9F\x98\x80",
                                  "\x80", "\xC3", "\xE8\xBD", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                                  "\xFF", " ",    "\xC0\x80", "\xF0\x9F",     "\xEF\xBF\xBD"};
    for (int round = 0; round < 3000; ++round) {
        const std::string bytes = Join(pieces, 6);
        const UINT page = Pick<UINT>({CP_UTF8, CP_UTF8, CP_ACP});
        const DWORD flags = page == CP_UTF8 ? Pick<DWORD>({0, MB_ERR_INVALID_CHARS}) : 0;
        wchar_t text[64] = {};
        SetLastError(0);
        const int length = MultiByteToWideChar(page, flags, bytes.data(),
                                               static_cast<int>(bytes.size()), text, 63);
        const DWORD error = length == 0 ? GetLastError() : 0;
        // The platforms replace malformed bytes by different numbers of U+FFFD.
        std::wstring_view shown(text, static_cast<size_t>(length));
        const size_t replaced = shown.find(L'\uFFFD');
        const bool differs = flags == 0 && page == CP_UTF8 && replaced != std::wstring_view::npos;
        Line("MultiByteToWideChar", page, flags, Show(bytes), error,
             differs ? Show(shown.substr(0, replaced)) : Show(shown));
    }
    const std::wstring units[] = {L"a",      L"\u00E4", L"\u8F6F", L"\xD83D\xDE00",
                                  L"\xD83D", L"\xDE00", L"\uFFFD", L"\u007F"};
    for (int round = 0; round < 1000; ++round) {
        const std::wstring text = Join(units, 6);
        char bytes[64] = {};
        const int capacity = static_cast<int>(Pick({size_t{0}, size_t{2}, size_t{63}}));
        SetLastError(0);
        const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                             bytes, capacity, nullptr, nullptr);
        Line("WideCharToMultiByte", Show(text), capacity, size, size == 0 ? GetLastError() : 0,
             size > 0 && capacity > 0 ? Show(std::string_view(bytes)) : "-");
    }
}

int Sign(int value) {
    return value < 0 ? -1 : value > 0 ? 1 : 0;
}

void Texts() {
    const std::wstring pieces[] = {L"a",    L"A", L"[", L"_", L"\u00C4", L"\u00E4", L".exe",
                                   L".EXE", L"*", L"?", L";", L" ",      L".lnk",   L"\\"};
    for (int round = 0; round < 2000; ++round) {
        const std::wstring left = Join(pieces, 4);
        const std::wstring right = Join(pieces, 4);
        const std::string narrow(left.begin(), left.end());
        const int capacity = static_cast<int>(Random(6));
        wchar_t wideCopy[8] = L"-------";
        char copy[8] = "-------";
        lstrcpynW(wideCopy, left.c_str(), capacity);
        lstrcpynA(copy, narrow.c_str(), capacity);
        Line("lstrcpyn", Show(left), capacity, Show(wideCopy), Show(std::string_view(copy)));
        Line("_wcsicmp", Show(left), Show(right), Sign(_wcsicmp(left.c_str(), right.c_str())));
        for (const wchar_t* const pattern : {L"*.exe", L"*.lnk"}) {
            Line("PathMatchSpecW", Show(left), Show(pattern),
                 PathMatchSpecW(left.c_str(), pattern) ? "yes" : "no");
        }
    }
}

void CommandLines() {
    const std::wstring pieces[] = {L"a", L"\"", L"\"\"", L"\\", L"\\\\", L" ", L"\t", L"b.exe"};
    for (int round = 0; round < 3000; ++round) {
        const std::wstring line = L"p" + Join(pieces, 7);
        int count = 0;
        LPWSTR* const arguments = CommandLineToArgvW(line.c_str(), &count);
        std::string shown;
        for (int at = 0; at < count; ++at) {
            shown += Show(arguments[at]);
        }
        LocalFree(arguments);
        Line("CommandLineToArgvW", Show(line), count, shown);
    }
}

void Paths() {
    const std::wstring pieces[] = {L"C:\\", L"C:", L"\\", L"/",     L"..",          L".",
                                   L"a",    L"b",  L" ",  L"\\\\s", L"\\\\?\\C:\\", L"a.exe"};
    for (int round = 0; round < 3000; ++round) {
        const std::wstring path = L"C:\\" + Join(pieces, 5);
        wchar_t full[300] = {};
        const DWORD length = GetFullPathNameW(path.c_str(), 300, full, nullptr);
        Line("GetFullPathNameW", Show(path), length, Show(full));
    }
    for (const wchar_t* const path :
         {L"\\\\s\\t\\x", L"\\\\?\\C:\\x\\..\\y", L"C:/a/b", L"C:\\a\\.\\b", L"//s/t/../x"}) {
        wchar_t full[300] = {};
        GetFullPathNameW(path, 300, full, nullptr);
        Line("GetFullPathNameW", Show(path), Show(full));
    }
}

void ClassIdentifiers() {
    const std::wstring whole = L"{A36AA93F-0FF6-4369-BF38-78FAADC0C5ED}";
    for (int round = 0; round < 1000; ++round) {
        std::wstring text = whole;
        text[Random(text.size())] = Pick({L'0', L'f', L'G', L'-', L'{', L'}', L' ', L'+', L'x'});
        text.resize(text.size() - (Random(8) == 0 ? 1 : 0));
        CLSID clsid = {};
        const HRESULT result = CLSIDFromString(text.c_str(), &clsid);
        LPOLESTR back = nullptr;
        StringFromCLSID(clsid, &back);
        Line("CLSIDFromString", Show(text), result, result == S_OK ? Show(back) : "-");
        CoTaskMemFree(back);
    }
}

void DropLists() {
    const std::wstring pieces[] = {L"C:\\a.exe", std::wstring(1, L'\0'), L"b", L"\u8F6F"};
    for (int round = 0; round < 2000; ++round) {
        const std::wstring names = L"C:" + Join(pieces, 6) + std::wstring(2, L'\0');
        const HGLOBAL memory =
            GlobalAlloc(GHND, sizeof(DROPFILES) + names.size() * sizeof(wchar_t));
        auto* const block = static_cast<char*>(GlobalLock(memory));
        DROPFILES header = {};
        header.pFiles = sizeof header;
        header.fWide = TRUE;
        std::memcpy(block, &header, sizeof header);
        // NOLINTNEXTLINE(bugprone-not-null-terminated-result): the names contain their terminators
        std::memcpy(block + sizeof header, names.data(), names.size() * sizeof(wchar_t));
        GlobalUnlock(memory);
        auto* const drop = reinterpret_cast<HDROP>(memory);
        const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
        wchar_t name[8] = {};
        const auto capacity = static_cast<UINT>(1 + Random(7));
        const UINT length = count == 0 ? 0 : DragQueryFileW(drop, 0, name, capacity);
        Line("DragQueryFileW", Show(names), count, capacity, length, Show(name));
        GlobalFree(memory);
    }
}

void Menus() {
    for (int round = 0; round < 200; ++round) {
        const HMENU menu = CreatePopupMenu();
        for (size_t items = Random(5); items > 0; --items) {
            const auto id = static_cast<UINT>(Random(5));
            const UINT position = Pick({0U, 1U, 9U, 0xFFFFFFFFU});
            InsertMenuW(menu, position, MF_BYPOSITION | MF_STRING, id, Pick({L"a", L"", L"bcd"}));
        }
        for (int at = 0; at < 5; ++at) {
            wchar_t text[4] = {};
            const int length = GetMenuStringW(menu, static_cast<UINT>(at), text, 3, MF_BYPOSITION);
            Line("menu", GetMenuItemCount(menu), at, GetMenuItemID(menu, at), length, Show(text));
        }
        DestroyMenu(menu);
    }
}

void Registry() {
    constexpr wchar_t kKey[] = L"Software\\Vorandel\\Comparison";
    for (int round = 0; round < 500; ++round) {
        kelvaro::ScopedKey key;
        const REGSAM access = Pick<REGSAM>({KEY_READ, KEY_WRITE, KEY_READ | KEY_WRITE});
        const LSTATUS created = RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, 0, access,
                                                nullptr, key.Put(), nullptr);
        const DWORD type = Pick<DWORD>({REG_SZ, REG_EXPAND_SZ, REG_DWORD});
        const auto size = static_cast<DWORD>(sizeof(wchar_t) * Random(5));
        const LSTATUS set = RegSetValueExW(key.Get(), Pick({L"a", L"A", L""}), 0, type,
                                           reinterpret_cast<const BYTE*>(L"xyzuvw"), size);
        wchar_t data[4] = {};
        DWORD read = static_cast<DWORD>(sizeof(wchar_t) * Random(5));
        DWORD readType = 0;
        const LSTATUS queried = RegQueryValueExW(key.Get(), Pick({L"a", L""}), nullptr, &readType,
                                                 reinterpret_cast<BYTE*>(data), &read);
        Line("registry", created, set, queried, readType, read / sizeof(wchar_t),
             queried == 0 ? Show(std::wstring_view(data, 4)) : "-");
    }
    const LSTATUS deleted = RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
    Line("RegDeleteTreeW", deleted, RegDeleteTreeW(HKEY_CURRENT_USER, kKey));
}

// Opens, reads, writes, moves and deletes two files. Closes each handle at once: the compatibility
// layer has no sharing rules.
void Files() {
    constexpr wchar_t kDirectory[] = L"C:\\Test\\directory";
    CreateDirectoryW(L"C:\\Test", nullptr);
    CreateDirectoryW(kDirectory, nullptr);
    const wchar_t* const names[] = {L"C:\\Test\\a", L"C:\\Test\\B",   L"C:\\Test\\none\\c",
                                    L"C:\\Test",    L"C:\\Test\\a\\", kDirectory};
    const auto error = [](bool done) { return done ? DWORD{0} : GetLastError(); };
    for (int round = 0; round < 4000; ++round) {
        const size_t action = Random(6);
        const wchar_t* const name = names[Random(Random(4) == 0 ? 6 : 2)];
        if (action < 3) {
            const DWORD access = Pick<DWORD>({0, GENERIC_READ, FILE_APPEND_DATA});
            const DWORD disposition =
                access == 0 ? OPEN_EXISTING : Pick<DWORD>({OPEN_EXISTING, OPEN_ALWAYS});
            const kelvaro::ScopedHandle file(
                CreateFileW(name, access, 0, nullptr, disposition, 0, nullptr));
            Line("CreateFileW", Show(name), access, disposition, error(bool(file)));
            DWORD count = 0;
            char bytes[4] = {};
            const bool wrote = WriteFile(file.Get(), "xyz", 3, &count, nullptr);
            Line("WriteFile", error(wrote), count);
            const bool read = ReadFile(file.Get(), bytes, 2, &count, nullptr);
            Line("ReadFile", error(read), count, Show(std::string_view(bytes)));
        } else if (action == 3) {
            Line("DeleteFileW", Show(name), error(DeleteFileW(name)));
        } else if (action == 4) {
            const wchar_t* const from = names[Random(3)];
            const wchar_t* const to = Random(5) == 0 ? kDirectory : names[Random(2)];
            const DWORD flags = Pick<DWORD>({0, MOVEFILE_REPLACE_EXISTING});
            Line("MoveFileExW", Show(from), Show(to), flags, error(MoveFileExW(from, to, flags)));
        } else {
            Line("GetFileAttributesW", Show(name),
                 GetFileAttributesW(name) & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY));
        }
    }
    RemoveDirectoryW(kDirectory);
}

// Calls with one wrong argument each, which random arguments do not reach.
void Errors() {
    wchar_t text[8] = {};
    const struct {
        const char* bytes;
        int size, capacity;
    } conversions[] = {{"abc", 3, 2}, {"ab", -1, 8}, {"abc", 0, 8}, {nullptr, 3, 8}};
    for (const auto& [bytes, size, capacity] : conversions) {
        SetLastError(0);
        const int length = MultiByteToWideChar(CP_UTF8, 0, bytes, size, text, capacity);
        Line("MultiByteToWideChar", size, capacity, length, length == 0 ? GetLastError() : 0);
    }
    const auto noKey = reinterpret_cast<HKEY>(uintptr_t{0x10});
    HKEY key = noKey;
    for (const HKEY root : {noKey, HKEY_CURRENT_USER}) {
        const LSTATUS opened = RegOpenKeyExW(root, L"No such key", 0, KEY_READ, &key);
        Line("RegOpenKeyExW", opened, RegDeleteTreeW(root, L"No such key"));
    }
    Line("key", key == nullptr ? "null" : "left");
    Line("RegCreateKeyExW",
         RegCreateKeyExW(noKey, L"a", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr));
    const auto noHandle = reinterpret_cast<HANDLE>(uintptr_t{0x10000});
    const BOOL closed = CloseHandle(noHandle);
    Line("CloseHandle", closed, GetLastError());
    DWORD count = 0;
    const BOOL read = ReadFile(noHandle, text, 1, &count, nullptr);
    Line("ReadFile", read, GetLastError());
    void* object = text;
    const HRESULT unknown =
        CoCreateInstance(IID_IUnknown, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object);
    Line("CoCreateInstance", unknown, object == nullptr ? "null" : "left");
    CoUninitialize();
    Line("CoCreateInstance",
         CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object));
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

// Wine crashes on some damaged shortcuts, so these are whole.
void Shortcuts(const std::wstring& directory) {
    for (const wchar_t* const name : {L"tool", L"arguments", L"folder", L"document", L"backup"}) {
        kelvaro::ComPtr<IShellLinkW> link;
        kelvaro::ComPtr<IPersistFile> file;
        CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                         link.Put());
        link->QueryInterface(IID_IPersistFile, file.Put());
        const std::wstring path = directory + L"\\" + name + L".lnk";
        const HRESULT loaded = file->Load(path.c_str(), STGM_READ);
        for (const int capacity : {MAX_PATH, 8, 1}) {
            wchar_t target[MAX_PATH] = {};
            WIN32_FIND_DATAW found = {};
            const HRESULT result = link->GetPath(target, capacity, &found, SLGP_RAWPATH);
            Line("IShellLinkW", Show(name), loaded, capacity, result, Show(target));
        }
    }
}

}  // namespace

int main() {
    int count = 0;
    LPWSTR* const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count != 2) {
        std::fputs("usage: platform_calls DIRECTORY_WITH_SHORTCUTS\n", stderr);
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    for (void (*const family)() : {Conversions, Texts, CommandLines, Paths, ClassIdentifiers,
                                   DropLists, Menus, Registry, Files, Errors}) {
        g_random.seed(20261125);  // one difference does not cause others in the next family
        family();
    }
    Shortcuts(arguments[1]);
    LocalFree(arguments);
    CoUninitialize();
    return 0;
}
