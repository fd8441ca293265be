#include "support/fixture.h"

#include <objbase.h>

#include <fstream>
#include <iterator>

#include "common/owners.h"
#include "common/path.h"
#include "server/module.h"

namespace fs = std::filesystem;

namespace {

using namespace std::string_literals;

// Returns a shortcut that stores only the path `target`.
std::string ShortcutTo(const std::string& target) {
    std::string link = "\x4C\0\0\0\x01\x14\x02\0\0\0\0\0\xC0\0\0\0\0\0\0\x46\x02"s;  // has a path
    link.resize(0x4C);
    const auto append = [&link](size_t number) {
        link.append({static_cast<char>(number), static_cast<char>(number >> 8), '\0', '\0'});
    };
    constexpr size_t kHeader = 0x1C;
    constexpr size_t kPath = kHeader + 0x11;
    const size_t end = kPath + target.size() + 1;
    for (const size_t number : {end + 1, kHeader, size_t{1}, kHeader, kPath, size_t{0}, end}) {
        append(number);
    }
    for (const unsigned number : {0x11U, 3U, 0U, 0x10U}) {  // the volume
        append(number);
    }
    return link + '\0' + target + "\0\0"s;
}

}  // namespace

DriveTest::DriveTest() {
    platform::Reset();
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

DriveTest::~DriveTest() {
    kelvaro::g_moduleHandle = nullptr;
    if (module_ != nullptr) {
        FreeLibrary(module_);
    }
    CoUninitialize();
    EXPECT_EQ(platform::HeldResources(), "") << "not released";
    EXPECT_EQ(kelvaro::g_objectCount, 0U);
}

void DriveTest::Write(const std::wstring& path, std::string_view bytes) {
    MakeDirectory(std::wstring(kelvaro::ParentPath(path)));
    std::ofstream file(platform::NativePath(path), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(file.good()) << Utf8(path);
}

std::string DriveTest::Read(const std::wstring& path) {
    std::ifstream file(platform::NativePath(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void DriveTest::MakeDirectory(const std::wstring& path) {
    fs::create_directories(platform::NativePath(path));
}

void DriveTest::Copy(const std::wstring& from, const std::wstring& to) {
    MakeDirectory(std::wstring(kelvaro::ParentPath(to)));
    fs::remove(platform::NativePath(to));
    fs::copy_file(platform::NativePath(from), platform::NativePath(to));
}

Strings DriveTest::Messages() {
    constexpr size_t kStamp = sizeof "[2026-11-16 18:06:33] " - 1;
    Strings messages;
    const std::string log = Read(kLog);
    for (size_t at = 0; at < log.size();) {
        const size_t end = std::min(log.find("\r\n", at), log.size());
        messages.push_back(log.substr(at, end - at).substr(std::min(kStamp, end - at)));
        at = end + 2;
    }
    return messages;
}

void MessageBoxes::Add(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
    shown.push_back(Utf8(caption) + ": " + Utf8(text));
    if (style != (MB_OK | MB_ICONERROR)) {
        shown.back() += " style=" + std::to_string(style);
    }
    if (owner != nullptr) {
        shown.back() += " owner=" + std::to_string(reinterpret_cast<uintptr_t>(owner));
    }
    const Strings messages = DriveTest::Messages();
    logged.push_back(messages.empty() ? "" : messages.back());
    whileOpen();
}

void DriveTest::SetLocale(const std::wstring& locale, DWORD type) {
    kelvaro::ScopedKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Vorandel\\Kelvaro", 0, nullptr,
                              REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, key.Put(), nullptr),
              ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExW(key.Get(), L"UILocale", 0, type,
                             reinterpret_cast<const BYTE*>(locale.c_str()),
                             static_cast<DWORD>((locale.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
}

std::wstring DriveTest::InstallLibrary(const std::wstring& directory) {
    const std::wstring library = kelvaro::JoinPath(directory, L"KelvaroShellExt.dll");
    Copy(platform::BuiltFile(KELVARO_LIBRARY), library);
    module_ = LoadLibraryW(library.c_str());
    EXPECT_NE(module_, nullptr) << Utf8(library);
    kelvaro::g_moduleHandle = module_;
    return library;
}

std::wstring DriveTest::SavedShortcut(const std::wstring& name) {
    return platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\" + name;
}

void DriveTest::WriteShortcut(const std::wstring& path, const std::wstring& target) {
    Write(path, ShortcutTo({target.begin(), target.end()}));
}

void DriveTest::WriteApplicationFiles() {
    CopyShortcut();
    WriteRules(kToolRule);
    Write(kEnglishFile, "[ShellExt]\nhelp=Help\n");
    SetLocale(L"en-US");
    Write(kPrompt, "");
}
