#include "rules/path_normalizer.h"

#include "support/fixture.h"

namespace kelvaro {
namespace {

TEST(NormalizePath, LowersTrimsUnquotesAndMergesSeparators) {
    const struct {
        const wchar_t *path, *canonical;
    } cases[] = {
        {L"  \"C:/Program Files/App/App.exe\"  ", L"c:\\program files\\app\\app.exe"},
        {L"C:\\Apps\\\\\\Tool.exe", L"c:\\apps\\tool.exe"},
        {L"C:/\\/Apps\\Tool.EXE", L"c:\\apps\\tool.exe"},
        {L"\t\r\n\v\fC:\\Apps\\Tool.exe\n", L"c:\\apps\\tool.exe"},
        {L"C:\\AZaz[@`{", L"c:\\azaz[@`{"},
        {L"//S", L"\\\\s"},
        {L"/\\Server\\\\", L"\\\\server\\"},
        {L"\\\\\\Server\\\\Share\\Tool.exe", L"\\\\server\\share\\tool.exe"},
        {L"\"\\\\Server\\x\"", L"\\\\server\\x"},
        {L"\\Server\\x", L"\\server\\x"},
        {L"\\\\?\\C:\\Apps\\Tool.exe", L"\\\\?\\c:\\apps\\tool.exe"},
        {L"C:\\Apps\\\\", L"c:\\apps\\"},
        {L"%ProgramFiles%\\..\\App.exe", L"%programfiles%\\..\\app.exe"},
        {L"C:\\PROGRA~1\\.\\App.exe", L"c:\\progra~1\\.\\app.exe"},
        {L"\" C:\\Apps\\Tool.exe\"", L" c:\\apps\\tool.exe"},
        {L"\"\"C:\\a\"\"", L"\"c:\\a\""},
        {L"\"C:\\a", L"\"c:\\a"},
        {L"C:\\a\"", L"c:\\a\""},
        {L"\"", L"\""},
        {L"\"\"", L""},
        {L" \t ", L""},
        {L"", L""},
        {L"\\", L"\\"},
        {L"/", L"\\"},
        {L"\\\\", L"\\\\"},
        {L"////", L"\\\\"},
        {L"C:\\\u00C4rger\\App.exe", L"c:\\\u00C4rger\\app.exe"},
    };
    for (const auto& [path, canonical] : cases) {
        EXPECT_EQ(NormalizePath(path), canonical) << Utf8(path);
    }
}

}  // namespace
}  // namespace kelvaro
