#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "console/console.h"
#include "support/platform.h"

// Text in a failed expectation, readable on both platforms.
inline std::string Narrow(std::wstring_view text) {
    return console::Utf8(text);
}

// A directory without an application, COM initialised; afterwards nothing of the platform may be
// held any more.
class DriveTest : public testing::Test {
  public:
    DriveTest();
    ~DriveTest() override;

    static constexpr wchar_t kApplication[] = L"C:\\Program Files\\Kelvaro";
    static constexpr wchar_t kRules[] = L"C:\\ProgramData\\Vorandel\\Kelvaro\\config\\rules.json";
    static constexpr wchar_t kLog[] = L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs\\ShellExt.log";

    // Writes a file with the directories above it.
    static void Write(const std::wstring& path, std::string_view bytes);
    static std::string Read(const std::wstring& path);
    static void MakeDirectory(const std::wstring& path);
    static void Copy(const std::wstring& from, const std::wstring& to);

    static void WriteRules(std::string_view bytes) { Write(kRules, bytes); }

    // The messages in the log since the test began, without their time stamps.
    static std::vector<std::string> Messages();

    // Stores the user's interface language.
    static void SetLocale(const std::wstring& locale, DWORD type = REG_SZ);

    // Puts a copy of the library in `directory` and lets the code under test take that for its own
    // place; gives the library's path.
    std::wstring InstallLibrary(const std::wstring& directory = kApplication);

  private:
    HMODULE module_ = nullptr;
};
