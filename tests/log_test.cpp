#include "log/log.h"

#include <regex>

#include "support/fixture.h"

namespace kelvaro {
namespace {

using Log = DriveTest;

TEST(LogLine, EncodesEveryCharacter) {
    const struct {
        std::wstring message;
        std::string text;
    } cases[] = {
        {L"", ""},
        {L"Initialize ok locked=1", "Initialize ok locked=1"},
        {L"caf\u00E9 \u00FF\u0080", "caf\xE9 \xFF\x80"},
        {L"\u0100", "<U+0100>"},
        {L"C:\\\u8F6F\u4EF6\\a.exe", "C:\\<U+8F6F><U+4EF6>\\a.exe"},
        {L"\xD83D\xDE00!", "<U+1F600>!"},
        {L"\xDBFF\xDFFF", "<U+10FFFF>"},
        {L"\xD83D", "<U+D83D>"},
        {L"\xDE00\xD83D", "<U+DE00><U+D83D>"},
        {L"\xD83D\xD83D\xDE00", "<U+D83D><U+1F600>"},
        {L"\xD83D\xE000", "<U+D83D><U+E000>"},
        {L"two\nlines", "two\r\nlines"},
        {L"cr\r\n", "cr\r\r\n"},
        {L"lone\rcr", "lone\rcr"},
        {L"\xDC00\xDC00", "<U+DC00><U+DC00>"},
        {std::wstring(L"nul\0!", 5), std::string("nul\0!", 5)},
    };
    for (const auto& [message, text] : cases) {
        EXPECT_EQ(FormatLogLine("TIME", message), "[TIME] " + text + "\r\n") << text;
    }
}

TEST_F(Log, TheFirstLineCreatesFileAndDirectories) {
    WriteLog(L"first");
    WriteLog(L"");
    const std::regex lines(
        R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\] first\r\n\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\] \r\n)");
    EXPECT_TRUE(std::regex_match(Read(kLog), lines)) << Read(kLog);
}

TEST_F(Log, StampsLinesWithTheLocalTime) {
    const auto now = [] {
        SYSTEMTIME time = {};
        GetLocalTime(&time);
        char text[64] = {};
        std::snprintf(text, sizeof text, "[%04d-%02d-%02d %02d:%02d:%02d] ", time.wYear,
                      time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond);
        return std::string(text);
    };
    std::string before;
    do {
        DeleteFileW(kLog);
        before = now();
        WriteLog(L"");
        WriteLog(L"");
    } while (before != now());
    EXPECT_EQ(Read(kLog), before + "\r\n" + before + "\r\n");
}

TEST_F(Log, DropsLinesThatCannotBeWritten) {
    Write(L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs", "not a directory");
    WriteLog(L"lost");
    EXPECT_EQ(Read(L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs"), "not a directory");
    DeleteFileW(L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs");

    MakeDirectory(kLog);
    WriteLog(L"lost");
    RemoveDirectoryW(kLog);

#ifdef _WIN32
    Write(kLog, "old\r\n");
    const HANDLE holder =
        CreateFileW(kLog, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    WriteLog(L"lost");
    CloseHandle(holder);
    EXPECT_EQ(Read(kLog), "old\r\n");
#endif
}

TEST_F(Log, DoesNotChangeAReadOnlyFile) {
    if (!platform::ReadOnlyRefuses()) {
        GTEST_SKIP() << "this user can write read-only files";
    }
    Write(kLog, "old\r\n");
    SetFileAttributesW(kLog, FILE_ATTRIBUTE_READONLY);
    WriteLog(L"lost");
    SetFileAttributesW(kLog, FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(Read(kLog), "old\r\n");
}

TEST_F(Log, AppendsWhileAnotherProgramHasTheFileOpen) {
    WriteLog(L"one");
    const HANDLE holder = CreateFileW(kLog, GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    WriteLog(L"two");
    CloseHandle(holder);
    EXPECT_EQ(Messages(), (std::vector<std::string>{"one", "two"}));
}

}  // namespace
}  // namespace kelvaro
