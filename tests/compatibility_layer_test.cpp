#include <objbase.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <algorithm>
#include <cstring>

#include "common/owners.h"
#include "internal/command_line.h"
#include "internal/drive.h"
#include "internal/encoding.h"
#include "internal/registry_file.h"
#include "rightclick/drop_list.h"
#include "support/fixture.h"
#include "testing/failing_calls.h"
#include "testing/recorded_calls.h"
#include "testing/resources.h"

namespace {

using Arguments = std::vector<std::wstring>;
using CompatibilityLayer = DriveTest;

TEST_F(CompatibilityLayer, StoresOneUtf16UnitPerWchar) {
    const std::string bytes = "a\xC3\xA9\xE5\xB7\xA5\xF0\x9F\x98\x80";
    EXPECT_EQ(compat::WideFromUtf8(bytes), L"a\u00E9\u5DE5\xD83D\xDE00");
    EXPECT_EQ(compat::Utf8FromWide(compat::WideFromUtf8(bytes)), bytes);
    EXPECT_EQ(compat::WideFromUtf8("\xF0\x9F\x98 \xFF\xC0\x80"), L"\uFFFD \uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(compat::Utf8FromWide(L"\xD83D!"), "\xEF\xBF\xBD!");
}

TEST_F(CompatibilityLayer, ConversionsReportDocumentedErrors) {
    wchar_t text[8] = L"*******";
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "a\xFF", 2, nullptr, 0), 2);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "ab", -1, text, 8), 3);
    EXPECT_STREQ(text, L"ab");
    const struct {
        const char* bytes;
        int size, capacity;
        DWORD flags, error;
    } cases[] = {{"abc", 3, 2, 0, ERROR_INSUFFICIENT_BUFFER},
                 {"a\xFF", 2, 8, MB_ERR_INVALID_CHARS, ERROR_NO_UNICODE_TRANSLATION},
                 {"abc", 0, 8, 0, ERROR_INVALID_PARAMETER},
                 {nullptr, 3, 8, 0, ERROR_INVALID_PARAMETER}};
    for (const auto& [bytes, size, capacity, flags, error] : cases) {
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, flags, bytes, size, text, capacity), 0);
        EXPECT_EQ(GetLastError(), error);
    }
}

TEST_F(CompatibilityLayer, SplitsCommandLinesLikeWindows) {
    const struct {
        const wchar_t* line;
        Arguments arguments;
    } cases[] = {
        {L"\"C:\\a b\\p.exe\" --x  \"c d\"", {L"C:\\a b\\p.exe", L"--x", L"c d"}},
        {L"p a\\\\\"b c\"", {L"p", L"a\\b c"}},
        {L"p \"a\\\"b\" c\\d\\\\", {L"p", L"a\"b", L"c\\d\\\\"}},
        {L"p \"a\"\"b\" c", {L"p", L"a\"b c"}},
        {L"p \"\" x", {L"p", L"", L"x"}},
        {L"p \"\"\"a b\"\" \"", {L"p", L"\"a", L"b", L""}},
        {L"\"p\\\" x", {L"p\\", L"x"}},
        {L" x", {L"", L"x"}},
        {L"", {}},
    };
    for (const auto& [line, arguments] : cases) {
        EXPECT_EQ(compat::ParseCommandLine(line), arguments) << Utf8(line);
        EXPECT_EQ(compat::ParseCommandLine(compat::JoinCommandLine(arguments)), arguments);
    }
    int count = 0;
    LPWSTR* const own = CommandLineToArgvW(L"", &count);
    ASSERT_EQ(count, 1);
    EXPECT_EQ(own[0], compat::FromHostPath(compat::ProgramFile()));
    LocalFree(own);
}

TEST_F(CompatibilityLayer, PersistsTheRegistryAsText) {
    kelvaro::ScopedKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\\u8F6F", 0, nullptr, 0,
                              KEY_READ | KEY_WRITE, nullptr, key.Put(), nullptr),
              ERROR_SUCCESS);
    const auto set = [&key](const wchar_t* name, DWORD type, const void* data, size_t size) {
        EXPECT_EQ(RegSetValueExW(key.Get(), name, 0, type, static_cast<const BYTE*>(data),
                                 static_cast<DWORD>(size)),
                  ERROR_SUCCESS);
    };
    const DWORD number = 0x1234;
    set(L"text", REG_SZ, L"a\\\"b", 5 * sizeof(wchar_t));
    set(L"open", REG_SZ, L"ab", 2 * sizeof(wchar_t));
    set(L"expand", REG_EXPAND_SZ, L"%x%", 4 * sizeof(wchar_t));
    set(L"number", REG_DWORD, &number, sizeof number);
    set(nullptr, REG_BINARY, "\1\2", 2);
    const std::string text = Read(L"C:\\registry.reg");
    for (const char* const line :
         {"[HKEY_CURRENT_USER\\Software\\\xE8\xBD\xAF]\n", "\"text\"=\"a\\\\\\\"b\"\n",
          "\"open\"=hex(1):61,00,62,00\n", "@=hex(3):01,02\n"}) {
        EXPECT_NE(text.find(line), std::string::npos) << line << " in " << text;
    }
    const auto keys = compat::ParseRegistry(text);
    EXPECT_EQ(compat::FormatRegistry(keys), text);

    wchar_t buffer[4] = {};
    DWORD size = sizeof buffer;
    DWORD type = 0;
    auto* const bytes = reinterpret_cast<BYTE*>(buffer);
    EXPECT_EQ(RegQueryValueExW(key.Get(), L"TEXT", nullptr, &type, bytes, &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, 5 * sizeof(wchar_t));
    size = sizeof buffer;
    EXPECT_EQ(RegQueryValueExW(key.Get(), L"number", nullptr, &type, bytes, &size), ERROR_SUCCESS);
    EXPECT_EQ(std::memcmp(buffer, &number, sizeof number), 0);
    EXPECT_EQ(RegQueryValueExW(key.Get(), L"x", nullptr, nullptr, nullptr, nullptr),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegQueryValueExW(key.Get(), L"text", nullptr, nullptr, bytes, nullptr),
              ERROR_INVALID_PARAMETER);
    HKEY none = key.Get();
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"None", 0, KEY_READ, &none), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, L"None"), ERROR_FILE_NOT_FOUND);
}

TEST_F(CompatibilityLayer, ClassesOfTheUserPrecedeTheMachines) {
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_CLASSES_ROOT}) {
        kelvaro::ScopedKey key;
        RegCreateKeyExW(root, root == HKEY_CURRENT_USER ? L"Software\\Classes\\a" : L"b", 0,
                        nullptr, 0, KEY_WRITE, nullptr, key.Put(), nullptr);
    }
    const std::string text = Read(L"C:\\registry.reg");
    EXPECT_NE(text.find("[HKEY_LOCAL_MACHINE\\Software\\Classes\\b]"), std::string::npos) << text;
    for (const wchar_t* const path : {L"a", L"b"}) {
        kelvaro::ScopedKey key;
        EXPECT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, path, 0, KEY_READ, key.Put()), ERROR_SUCCESS);
    }
}

TEST_F(CompatibilityLayer, DropListsAreNotReadBeyondTheirEnd) {
    const HGLOBAL list = rightclick::MakeDropList({L"C:\\a", L"C:\\\u5DE5"});
    auto* const drop = reinterpret_cast<HDROP>(list);
    wchar_t name[4] = {};
    EXPECT_EQ(DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0), 2U);
    EXPECT_EQ(DragQueryFileW(drop, 1, nullptr, 0), 4U);
    EXPECT_EQ(DragQueryFileW(drop, 1, name, 4), 3U);
    EXPECT_STREQ(name, L"C:\\");
    EXPECT_EQ(DragQueryFileW(drop, 2, name, 4), 0U);
    auto* const bytes = static_cast<char*>(GlobalLock(list));
    for (const DWORD offset : {DWORD{0xFFFFFFFF}, DWORD{40}, DWORD{0}}) {
        std::memcpy(bytes, &offset, sizeof offset);
        DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
    }
    GlobalUnlock(list);
    EXPECT_EQ(GlobalFree(list), nullptr);
    EXPECT_EQ(DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0), 0U);
    EXPECT_EQ(GlobalLock(list), nullptr);
}

TEST_F(CompatibilityLayer, NewGlobalMemoryIsZero) {
    for (int round = 0; round < 100; ++round) {
        const HGLOBAL memory = GlobalAlloc(GHND, 32);
        auto* const bytes = static_cast<char*>(GlobalLock(memory));
        EXPECT_EQ(std::count(bytes, bytes + 32, '\0'), 32);
        std::memset(bytes, 0xCC, 32);
        GlobalUnlock(memory);
        GlobalFree(memory);
    }
}

TEST_F(CompatibilityLayer, PathMatchSpecMatchesWildcards) {
    const struct {
        const wchar_t *name, *pattern;
        BOOL matches;
    } cases[] = {{L"C:\\a.EXE", L"*.exe", TRUE},  {L".exe", L"*.exe", TRUE},
                 {L"a.exe.bak", L"*.exe", FALSE}, {L"a.lnk", L"*.exe; *.lnk", TRUE},
                 {L"abcbd", L"a*b?", TRUE},       {L"ab", L"a*b?", FALSE}};
    for (const auto& [name, pattern, matches] : cases) {
        EXPECT_EQ(PathMatchSpecW(name, pattern), matches) << Utf8(name);
    }
}

TEST_F(CompatibilityLayer, ParsesAndFormatsClassIdentifiers) {
    LPOLESTR text = nullptr;
    ASSERT_EQ(StringFromCLSID(CLSID_ShellLink, &text), S_OK);
    EXPECT_STREQ(text, L"{00021401-0000-0000-C000-000000000046}");
    CLSID clsid = {};
    EXPECT_EQ(CLSIDFromString(text, &clsid), S_OK);
    EXPECT_TRUE(clsid == CLSID_ShellLink);
    EXPECT_EQ(CLSIDFromString(L"{0002140a-0000-0000-c000-00000000004F}", &clsid), S_OK);
    EXPECT_EQ(clsid.Data1, 0x2140AU);
    for (const wchar_t* const bad :
         {L"{00021401}", L"", L"{ 0021401-0000-0000-C000-000000000046}",
          L"{+0021401-0000-0000-C000-000000000046}", L"{0x021401-0000-0000-C000-000000000046}",
          L"{00021401-0000-0000-C000-000000000046", L"{00021401-0000-0000-C000-000000000046]",
          L"{00021401-0000-0000-C000-000000000046}}", L"{00021401-0000-0000-C0000-00000000046}"}) {
        EXPECT_EQ(CLSIDFromString(bad, &clsid), CO_E_CLASSSTRING) << Utf8(bad);
    }
    EXPECT_EQ(compat::HeldResources(), "1 task memory");
    CoTaskMemFree(text);
    void* link = text;
    EXPECT_EQ(CoCreateInstance(IID_IUnknown, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &link),
              REGDB_E_CLASSNOTREG);
    EXPECT_EQ(link, nullptr);
    CoUninitialize();
    EXPECT_EQ(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &link),
              CO_E_NOTINITIALIZED);
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

TEST_F(CompatibilityLayer, CallsAreRecordedWithTheirArguments) {
    Write(L"C:\\Test\\link.lnk", "");
    compat::RecordedCalls calls;
    {
        const kelvaro::ScopedHandle file(CreateFileW(L"C:\\Test\\link.lnk", GENERIC_READ, 7,
                                                     nullptr, OPEN_EXISTING, 0, nullptr));
        kelvaro::ScopedKey key;
        RegOpenKeyExW(HKEY_CURRENT_USER, L"No such key", 0, KEY_READ, key.Put());
        RegCreateKeyExW(HKEY_CLASSES_ROOT, L"a", 0, nullptr, 0, KEY_WRITE, nullptr, key.Put(),
                        nullptr);
        RegSetValueExW(key.Get(), nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(L"b"), 8);
        const compat::FailingCall failing("GetFileAttributesW", ERROR_ACCESS_DENIED);
        GetFileAttributesW(L"C:\\Test\\\u8F6F");
    }
    const std::string created =
        "RegCreateKeyExW HKEY_CLASSES_ROOT\\a class=null options=0 access=0x20006 security=null";
    EXPECT_EQ(calls.Lines(),
              (std::vector<std::string>{
                  "CreateFileW C:\\Test\\link.lnk access=0x80000000 share=7 disposition=3 flags=0",
                  "RegOpenKeyExW HKEY_CURRENT_USER\\No such key options=0 access=0x20019", created,
                  "RegSetValueExW HKEY_LOCAL_MACHINE\\Software\\Classes\\a null type=1 data=b",
                  "GetFileAttributesW C:\\Test\\\xE8\xBD\xAF",
                  "RegCloseKey HKEY_LOCAL_MACHINE\\Software\\Classes\\a", "CloseHandle file"}));
    calls.Clear();
    {
        kelvaro::ComPtr<IShellLinkW> link;
        kelvaro::ComPtr<IPersistFile> file;
        CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                         link.Put());
        link->QueryInterface(IID_IPersistFile, file.Put());
        file->Load(L"C:\\Test\\link.lnk", STGM_READ);
    }
    EXPECT_EQ(calls.Count("IShellLinkW::QueryInterface"), 1U)
        << "without the one inside the creation";
    EXPECT_EQ(
        calls.LinesOf({"IPersistFile::Load", "IPersistFile::Release", "IShellLinkW::Release"}),
        (std::vector<std::string>{"IPersistFile::Load C:\\Test\\link.lnk mode=0",
                                  "IPersistFile::Release", "IShellLinkW::Release"}));
}

}  // namespace
