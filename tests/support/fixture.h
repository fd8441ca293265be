#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <clocale>
#include <string>
#include <string_view>
#include <vector>

#include "common/code_page.h"
#include "support/message_boxes.h"
#include "support/platform.h"

// Converts wide text for failure messages.
inline constexpr auto& Utf8 = kelvaro::Utf8FromWide;

using Strings = std::vector<std::string>;

inline bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Makes iswspace accept white space beyond ASCII while it lives. On Windows it always does.
class UnicodeLocale {
  public:
    UnicodeLocale() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
    ~UnicodeLocale() { std::setlocale(LC_CTYPE, "C"); }
    UnicodeLocale(const UnicodeLocale&) = delete;
    UnicodeLocale& operator=(const UnicodeLocale&) = delete;
};

// Returns a path in the directory in which tests may write, by default that directory.
inline std::wstring TestPath(const std::wstring& name = L"") {
    return L"C:\\ProgramData\\KelvaroTests" + (name.empty() ? L"" : L"\\" + name);
}

// Gives each test an empty directory, no application, initialised COM, and message boxes that close
// at once. Fails a test that does not release everything it obtained from the platform.
class DriveTest : public testing::Test {
  public:
    DriveTest();
    ~DriveTest() override;

    static inline const std::wstring kApplication = TestPath(L"Program Files\\Kelvaro");
    static inline const std::wstring kLibrary = kApplication + L"\\KelvaroShellExt.dll";
    static inline const std::wstring kPrompt = kApplication + L"\\KelvaroAuthPrompt.exe";
    static inline const std::wstring kEnglishFile = kApplication + L"\\Lang\\English.ini";
    static constexpr wchar_t kData[] = L"C:\\ProgramData\\Vorandel\\Kelvaro";
    static constexpr wchar_t kRules[] = L"C:\\ProgramData\\Vorandel\\Kelvaro\\config\\rules.json";
    static constexpr wchar_t kLog[] = L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs\\ShellExt.log";
    static constexpr wchar_t kClsidText[] = L"{A36AA93F-0FF6-4369-BF38-78FAADC0C5ED}";

    // The path of a program that does not exist, a rule that locks it, and a shortcut to it.
    static constexpr wchar_t kTool[] = L"C:\\Apps\\Tool.exe";
    static constexpr char kToolRule[] = R"({"type":"exe","target":"C:\\Apps\\Tool.exe"})";
    static inline const std::wstring kShortcut = TestPath(L"Tool.lnk");

    // The path at which tests put a program.
    static inline const std::wstring kProgram = TestPath(L"Tool.exe");

    // Writes a file. Creates its directory if it is missing.
    static void Write(const std::wstring& path, std::string_view bytes);
    // Returns the content of a file. Empty if it cannot be read.
    static std::string Read(const std::wstring& path);
    static void MakeDirectory(const std::wstring& path);
    // Copies a file over an existing one. Creates the directory of the copy if it is missing.
    static void Copy(const std::wstring& from, const std::wstring& to);

    static void WriteRules(std::string_view bytes) { Write(kRules, bytes); }

    // Returns the path of a shortcut in tests/data/shortcuts.
    static std::wstring SavedShortcut(const std::wstring& name);
    // Writes a shortcut that stores only the path `target`, which must be ASCII.
    static void WriteShortcut(const std::wstring& path, const std::wstring& target);
    // Copies the saved shortcut to kTool to kShortcut.
    static void CopyShortcut() { Copy(SavedShortcut(L"tool.lnk"), kShortcut); }

    // Returns the messages of all lines of the log, without the time stamps.
    static Strings Messages();

    // Stores the user's interface language.
    static void SetLocale(const std::wstring& locale, DWORD type = REG_SZ);

    // Copies the library into `directory` and loads it. The code under test, which is linked into
    // the test, then takes the copy for its own module. Returns the path of the copy.
    std::wstring InstallLibrary(const std::wstring& directory = kApplication);

    // Writes everything that a right-click on kShortcut reads, except for the library: kShortcut,
    // the rule for kTool, an English language file with the help text "Help", the English setting
    // and a prompt that exists but cannot run.
    static void WriteApplicationFiles();

  protected:
    MessageBoxes boxes_;

  private:
    HMODULE module_ = nullptr;
};
