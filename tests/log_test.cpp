#include "log/log.h"

#include "common/owners.h"
#include "support/fixture.h"

namespace kelvaro {
namespace {

TEST(LogLine, PadsEveryFieldOfTheTime) {
    // The third number is the day of the week, the last one the milliseconds. Neither is written.
    const struct {
        SYSTEMTIME time;
        const char* line;
    } cases[] = {
        {{2027, 1, 5, 1, 0, 0, 0, 0}, "[2027-01-01 00:00:00] \r\n"},
        {{2028, 2, 2, 9, 5, 7, 8, 501}, "[2028-02-09 05:07:08] \r\n"},
        {{2030, 12, 2, 31, 23, 59, 59, 999}, "[2030-12-31 23:59:59] \r\n"},
    };
    for (const auto& [time, line] : cases) {
        EXPECT_EQ(FormatLogLine(time, L""), line);
    }
}

TEST(LogLine, KeepsEveryCharacterOfTheMessage) {
    const struct {
        std::wstring message;
        std::string text;
    } cases[] = {
        {L" Initialize ok locked=1\t ", " Initialize ok locked=1\t "},
        {L"caf\u00E9 \u00FF\u0080\x1B\x7F", "caf\xE9 \xFF\x80\x1B\x7F"},
        {L"\u0100\u0FFF", "<U+0100><U+0FFF>"},
        {L"C:\\\u8F6F\u4EF6\\a.exe", "C:\\<U+8F6F><U+4EF6>\\a.exe"},
        {L"\xD83D\xDE00!", "<U+1F600>!"},
        {L"\xD800\xDC00\xDBFF\xDFFF", "<U+10000><U+10FFFF>"},
        {L"\xDE00\xD83D", "<U+DE00><U+D83D>"},
        {L"\xD83D\xD83D\xDE00", "<U+D83D><U+1F600>"},
        {L"\xD83D\xE000", "<U+D83D><U+E000>"},
        {L"\xDC00\xDC00", "<U+DC00><U+DC00>"},
        {L"cr\r\nlone\rlf\n", "cr\r\r\nlone\rlf\r\n"},
        {std::wstring(L"nul\0!", 5), std::string("nul\0!", 5)},
        {std::wstring(70000, L'x'), std::string(70000, 'x')},
    };
    const SYSTEMTIME time = {2026, 11, 1, 16, 18, 6, 33, 0};
    for (const auto& [message, text] : cases) {
        EXPECT_EQ(FormatLogLine(time, message), "[2026-11-16 18:06:33] " + text + "\r\n");
    }
}

using Log = DriveTest;

TEST_F(Log, CreatesTheDirectoryWheneverItIsMissing) {
    for (int round = 0; round < 2; ++round) {
        WriteLog(L"first");
        WriteLog(L"");
        EXPECT_EQ(Messages(), (Strings{"first", ""}));
        EXPECT_EQ(Read(kLog)[0], '[') << "no byte-order mark";
        std::filesystem::remove_all(platform::NativePath(kData));
    }
}

TEST_F(Log, StampsEachLineWithTheLocalTimeOfItsCall) {
    const auto now = [] {
        SYSTEMTIME time = {};
        GetLocalTime(&time);
        return FormatLogLine(time, L"");
    };
    WriteLog(L"");
    for (const std::string start = now(); start == now();) {
        Sleep(20);
    }
    std::string before;
    do {
        DeleteFileW(kLog);
        before = now();
        WriteLog(L"");
        WriteLog(L"");
    } while (before != now());
    EXPECT_EQ(Read(kLog), before + before);
}

TEST_F(Log, DropsLinesThatCannotBeWritten) {
    Write(kLogDirectory, "not a directory");
    WriteLog(L"lost");
    EXPECT_EQ(Read(kLogDirectory), "not a directory");
    DeleteFileW(kLogDirectory);

    MakeDirectory(kLog);
    WriteLog(L"lost");
    RemoveDirectoryW(kLog);

    Write(kLog, "old\r\n");
    if (!platform::IsWine()) {  // Wine lets root write
        SetFileAttributesW(kLog, FILE_ATTRIBUTE_READONLY);
        WriteLog(L"lost");
        SetFileAttributesW(kLog, FILE_ATTRIBUTE_NORMAL);
    }
#ifdef _WIN32
    const ScopedHandle holder(
        CreateFileW(kLog, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    WriteLog(L"lost");
#endif
    EXPECT_EQ(Read(kLog), "old\r\n");
}

TEST_F(Log, AppendsWhileAnotherProgramHasTheFileOpen) {
    WriteLog(L"one");
    const ScopedHandle holder(CreateFileW(kLog, GENERIC_READ | GENERIC_WRITE,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                          nullptr, OPEN_EXISTING, 0, nullptr));
    WriteLog(L"two");
    EXPECT_EQ(Messages(), (Strings{"one", "two"}));
}

}  // namespace
}  // namespace kelvaro
