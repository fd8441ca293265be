// What tools/platform_calls cannot compare with Wine: the encodings, names and errors of Linux, and
// the registry file.

#include <objbase.h>
#include <shlobj.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "common/owners.h"
#include "internal/drive.h"
#include "internal/encoding.h"
#include "internal/registry_file.h"
#include "support/fixture.h"

namespace {

using CompatibilityLayer = DriveTest;

constexpr wchar_t kRegistry[] = L"C:\\registry.json";

TEST_F(CompatibilityLayer, DriveCIsADirectory) {
    const std::string root = compat::DriveDirectory();
    Write(L"C:\\Apps\\Tool.exe", "x");
    EXPECT_EQ(compat::ToLinuxPath(L"c:/APPS\\tool.EXE").path, root + "/Apps/Tool.exe");
    EXPECT_EQ(compat::ToLinuxPath(L"\\\\?\\C:\\Apps").path, root + "/Apps");
    EXPECT_EQ(compat::ToLinuxPath(L"C:\\new\\file").path, root + "/new/file");
    EXPECT_EQ(compat::ToLinuxPath(L"C:\\no\\..\\APPS\\.\\tool.exe.").path, root + "/Apps/Tool.exe");
    EXPECT_EQ(compat::FromLinuxPath(root + "/Apps/\xC3\xA9"), L"C:\\Apps\\\u00E9");
    EXPECT_EQ(compat::FromLinuxPath(root), L"C:\\");
    EXPECT_TRUE(compat::FromLinuxPath(root + "x/y").starts_with(L"Z:\\"));
    for (const auto& [path, error] :
         {std::pair(L"D:\\x", ERROR_PATH_NOT_FOUND), std::pair(L"x", ERROR_PATH_NOT_FOUND),
          std::pair(L"C:\\a|b", ERROR_INVALID_NAME), std::pair(L"C:\\a\tb", ERROR_INVALID_NAME),
          std::pair<const wchar_t*, LONG>(nullptr, ERROR_PATH_NOT_FOUND)}) {
        EXPECT_EQ(compat::ToLinuxPath(path).error, static_cast<DWORD>(error));
    }
}

TEST_F(CompatibilityLayer, RelativeAndLinuxPathsBecomeFullPaths) {
    const std::wstring current = compat::CurrentDirectory();
    const std::wstring drive = current.substr(0, 2);
    for (const auto& [name, full] :
         {std::pair<std::wstring, std::wstring>(L"a\\..\\b", current + L"\\b"),
          {drive + L"b", current + L"\\b"},
          {compat::WideFromUtf8(compat::DriveDirectory()) + L"/./a", L"C:\\a"}}) {
        wchar_t buffer[MAX_PATH] = {};
        EXPECT_EQ(GetFullPathNameW(name.c_str(), MAX_PATH, buffer, nullptr), full.size());
        EXPECT_EQ(Utf8(buffer), Utf8(full)) << Utf8(name);
        EXPECT_EQ(GetFullPathNameW(name.c_str(), 1, buffer, nullptr), full.size() + 1);
    }
}

TEST_F(CompatibilityLayer, HostErrorsBecomeDocumentedErrors) {
    MakeDirectory(TestPath());
    ASSERT_EQ(symlink("nowhere", platform::NativePath(TestPath(L"dangling")).c_str()), 0);
    ASSERT_EQ(symlink("loop", platform::NativePath(TestPath(L"loop")).c_str()), 0);
    for (const auto& [name, error] :
         {std::pair<std::wstring, LONG>(L"dangling", ERROR_FILE_NOT_FOUND),
          {L"loop", ERROR_CANT_RESOLVE_FILENAME},
          {std::wstring(300, L'n'), ERROR_FILENAME_EXCED_RANGE}}) {
        EXPECT_EQ(CreateFileW(TestPath(name).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, 0, nullptr),
                  INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(error)) << Utf8(name);
    }
    EXPECT_EQ(GetFileAttributesW(TestPath(L"dangling").c_str()), FILE_ATTRIBUTE_REPARSE_POINT);
}

TEST_F(CompatibilityLayer, PersistsTheRegistryAsJson) {
    kelvaro::ScopedKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\\u8F6F", 0, nullptr, 0,
                              KEY_READ | KEY_WRITE, nullptr, key.Put(), nullptr),
              ERROR_SUCCESS);
    const auto set = [&key](const wchar_t* name, DWORD type, const void* data, size_t size) {
        EXPECT_EQ(RegSetValueExW(key.Get(), name, 0, type, static_cast<const BYTE*>(data),
                                 static_cast<DWORD>(size)),
                  ERROR_SUCCESS);
    };
    const wchar_t text[] = {L'a', L'\\', L'\r', L'\n', L'\0', L'\u8F6F', L'\0'};
    const DWORD number = 0x1234;
    set(L"Text", REG_SZ, text, sizeof text);
    set(L"unpaired", REG_SZ, L"\xD800", 2 * sizeof(wchar_t));
    set(L"open", REG_SZ, L"a", sizeof(wchar_t));
    set(L"empty", REG_SZ, nullptr, 0);
    set(L"number", REG_DWORD, &number, sizeof number);
    set(nullptr, REG_BINARY, "\1\2\xFF", 3);
    const std::string json = Read(kRegistry);
    EXPECT_EQ(nlohmann::json::parse(json), nlohmann::json::parse(R"({
        "HKEY_CURRENT_USER\\Software": {},
        "HKEY_CURRENT_USER\\Software\\软": {
            "": {"type": 3, "data": [1, 2, 255]},
            "Text": "a\\\r\n\u0000软",
            "empty": {"type": 1, "data": []},
            "number": {"type": 4, "data": [52, 18, 0, 0]},
            "open": {"type": 1, "data": [97, 0, 0, 0]},
            "unpaired": {"type": 1, "data": [0, 216, 0, 0, 0, 0, 0, 0]}}})"))
        << json;
    EXPECT_EQ(compat::FormatRegistry(compat::ParseRegistry(json).value()), json);
}

TEST_F(CompatibilityLayer, KeepsADamagedRegistry) {
    kelvaro::ScopedKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"k", 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                              key.Put(), nullptr),
              ERROR_SUCCESS);
    for (const char* const json :
         {"{", "[1]", R"({"k": []})", R"({"k": {"v": 1}})", R"({"k": {"v": {"type": 1}}})",
          R"({"k": {"v": {"type": 3, "data": ["1"]}}})", "{\"k\": {\"v\": \"\xFF\"}}"}) {
        Write(kRegistry, json);
        EXPECT_EQ(RegQueryValueExW(key.Get(), L"v", nullptr, nullptr, nullptr, nullptr),
                  ERROR_BADDB);
        EXPECT_EQ(RegSetValueExW(key.Get(), L"v", 0, REG_BINARY, nullptr, 0), ERROR_BADDB);
        EXPECT_EQ(Read(kRegistry), json);
    }
}

}  // namespace
