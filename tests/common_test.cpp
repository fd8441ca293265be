#include <climits>
#include <cwctype>

#include "common/code_page.h"
#include "common/file.h"
#include "common/module_path.h"
#include "common/owners.h"
#include "common/path.h"
#include "common/text.h"
#include "support/fixture.h"

#ifndef _WIN32
#include "testing/watch.h"
#endif

namespace kelvaro {
namespace {

TEST(Text, LowersOnlyAToZ) {
    EXPECT_EQ(ToLower(L"C:\\Apps\\TOOL[@`{\u00C4\u0416].Exe"),
              L"c:\\apps\\tool[@`{\u00C4\u0416].exe");
}

TEST(Text, TrimsBothEndsOnly) {
    EXPECT_EQ(TrimWhitespace(L" \t\r\n\v\f a  b \n"), L"a  b");
    EXPECT_EQ(TrimWhitespace(L" \t "), L"");
    EXPECT_EQ(TrimWhitespace(L""), L"");
    EXPECT_EQ(TrimWhitespace(L"\x01 a\x1F"), L"\x01 a\x1F");
    const UnicodeLocale locale;
    EXPECT_EQ(TrimWhitespace(L"\u3000\u2003 a \u2003"), L"a");
    EXPECT_EQ(TrimWhitespace(L"\u00A0a") == L"a", std::iswspace(0xA0) != 0);
}

TEST(Text, ComparesIgnoringCase) {
    EXPECT_TRUE(EqualsIgnoringCase(L"Menu.Lock", L"mENU.lOCK"));
    EXPECT_FALSE(EqualsIgnoringCase(L"menu", L"menu.lock"));
    EXPECT_FALSE(EqualsIgnoringCase(L"\u00C4", L"\u00E4"));
}

TEST(Path, JoinsWithOneSeparator) {
    for (const std::wstring directory : {L"C:\\", L"C:/", L"C:", L""}) {
        EXPECT_EQ(JoinPath(directory, L"x"), directory + L"x");
    }
    for (const std::wstring directory : {L"C:\\Apps", L"1:", L"{:", L"@:", L"\\\\server"}) {
        EXPECT_EQ(JoinPath(directory, L"x"), directory + L"\\x");
    }
}

TEST(Path, ParentKeepsTheRoot) {
    for (const std::wstring root : {L"C:\\", L"C:/", L"A:", L"Z:", L"a:", L"z:", L"\\", L"\\\\\\",
                                    L"\\\\server\\", L"//server/", L""}) {
        EXPECT_EQ(ParentPath(root), root);
        EXPECT_EQ(ParentPath(root + L"x.dll"), root) << Utf8(root);
    }
    const struct {
        const wchar_t *path, *parent;
    } cases[] = {{L"C:\\Apps\\\\/Tool.exe", L"C:\\Apps"},
                 {L"C:\\Apps\\", L"C:\\Apps"},
                 {L"1:x.dll", L""},
                 {L"a", L""},
                 {L"\\\\", L"\\\\"},
                 {L"\\\\server\\share\\x.dll", L"\\\\server\\share"},
                 {L"\\\\server", L"\\\\server"},
                 {L"\\\\?\\C:\\Apps\\x.dll", L"\\\\?\\C:\\Apps"}};
    for (const auto& [path, parent] : cases) {
        EXPECT_EQ(ParentPath(path), parent) << Utf8(path);
    }
}

using File = DriveTest;

TEST_F(File, ReadsEveryByte) {
    std::string bytes;
    for (int byte = 255; byte >= 0; --byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    bytes += "\r\n\x1A\n";
    Write(L"C:\\Test\\bytes", bytes);
    EXPECT_EQ(ReadFileBytes(L"C:\\test\\BYTES").View(), bytes);
}

TEST_F(File, UnreadableFilesAreEmpty) {
    Write(L"C:\\Test\\four", "four");
    MakeDirectory(L"C:\\Test\\directory");
    EXPECT_EQ(ReadFileBytes(L"C:\\Test\\four", 4).View(), "four");
    EXPECT_EQ(ReadFileBytes(L"C:\\Test\\four", 3).View(), "");
    for (const wchar_t* const path :
         {L"C:\\Test\\missing", L"C:\\Test\\directory", L"C:\\Test\\a<b", L""}) {
        EXPECT_EQ(ReadFileBytes(path).View(), "") << Utf8(path);
    }
}

#ifdef _WIN32

TEST_F(File, IsReadWhileAnotherProgramWritesIt) {
    Write(L"C:\\Test\\held", "text");
    const ScopedHandle writer(CreateFileW(L"C:\\Test\\held", GENERIC_WRITE, FILE_SHARE_READ,
                                          nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(writer);
    EXPECT_EQ(ReadFileBytes(L"C:\\Test\\held").View(), "text");
}

#endif

TEST_F(File, AppendsAndCreatesTheFile) {
    EXPECT_FALSE(AppendToFile(L"C:\\Test\\no\\file", "a"));
    MakeDirectory(L"C:\\Test");
    EXPECT_TRUE(AppendToFile(L"C:\\Test\\file", "one\n"));
    EXPECT_TRUE(AppendToFile(L"C:\\Test\\file", "two\r\n"));
    EXPECT_EQ(Read(L"C:\\Test\\file"), "one\ntwo\r\n");
}

TEST_F(File, ReportsWhatExists) {
    Write(L"C:\\Test\\file", "");
    Write(L"C:\\Test\\read-only", "");
    SetFileAttributesW(L"C:\\Test\\read-only", FILE_ATTRIBUTE_READONLY);
    for (const wchar_t* const path : {L"C:\\Test\\file", L"C:\\Test", L"C:\\Test\\read-only"}) {
        EXPECT_TRUE(PathExists(path)) << Utf8(path);
    }
    SetFileAttributesW(L"C:\\Test\\read-only", FILE_ATTRIBUTE_NORMAL);
    for (const wchar_t* const path : {L"C:\\Test\\other", L"C:\\Test\\file\\below", L"Q:\\file",
                                      L"C:\\Test\\a?b", L"C:\\no\\file", L""}) {
        EXPECT_FALSE(PathExists(path)) << Utf8(path);
    }
#ifndef _WIN32
    for (const char* const target : {"file", "missing", "."}) {
        const auto link = platform::NativePath(L"C:\\Test\\link");
        std::filesystem::remove(link);
        std::filesystem::create_symlink(target, link);
        EXPECT_EQ(PathExists(L"C:\\Test\\link"), std::filesystem::exists(link)) << target;
    }
#endif
}

TEST_F(File, CreatesParentDirectories) {
    EXPECT_TRUE(CreateDirectories(L"C:\\Test\\a\\b\\c"));
    EXPECT_TRUE(CreateDirectories(L"C:\\Test\\a\\b\\c"));
    EXPECT_TRUE(PathExists(L"C:\\Test\\a\\b\\c"));
    Write(L"C:\\Test\\file", "");
    EXPECT_FALSE(CreateDirectories(L"C:\\Test\\file"));
    EXPECT_FALSE(CreateDirectories(L"C:\\Test\\file\\below"));
    EXPECT_FALSE(CreateDirectories(L"Q:\\a\\b"));
}

TEST_F(File, ReadsModulePathsOfAnyLength) {
    std::wstring directory = L"C:\\Test";
    while (directory.size() < 300) {
        directory += L"\\" + std::wstring(40, L'd');
    }
    // Paths longer than MAX_PATH need the prefix, which std::filesystem cannot create the top of.
    MakeDirectory(L"C:\\Test");
    const std::wstring longPath = L"\\\\?\\" + directory + L"\\KelvaroShellExt.dll";
    Copy(platform::BuiltFile(KELVARO_LIBRARY), longPath);
    const HMODULE module = LoadLibraryW(longPath.c_str());
    ASSERT_NE(module, nullptr);
    EXPECT_TRUE(
        ReadModulePath(module).path.ends_with(directory.substr(2) + L"\\KelvaroShellExt.dll"));
    FreeLibrary(module);
    const ModulePath none = ReadModulePath(reinterpret_cast<HMODULE>(uintptr_t{0x10}));
    EXPECT_EQ(none.path, L"");
    EXPECT_NE(none.error, DWORD{ERROR_SUCCESS});
}

TEST(CodePage, RejectsMoreThanTheSystemCanCount) {
    // The size is checked before the text is read.
    for (const size_t tooLong : {size_t{INT_MAX} + 1, size_t{UINT_MAX}}) {
        EXPECT_EQ(WideFromBytes(CP_UTF8, 0, std::string_view("x", tooLong)), L"");
        EXPECT_EQ(Utf8FromWide(std::wstring_view(L"x", tooLong)), "");
    }
}

#ifndef _WIN32

TEST_F(File, OpensFilesSharedForReadingWritingAndDeleting) {
    Write(L"C:\\Test\\file", "abc");
    std::filesystem::create_symlink("file", platform::NativePath(L"C:\\Test\\link"));
    std::vector<DWORD> shares;
    const compat::Watch<&CreateFileW> watch(
        [&shares](LPCWSTR, DWORD, DWORD share, auto...) { shares.push_back(share); });
    ReadFileBytes(L"C:\\Test\\file");
    AppendToFile(L"C:\\Test\\file", "d");
    PathExists(L"C:\\Test\\link");
    constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    EXPECT_EQ(shares, std::vector<DWORD>(3, kAll));
}

#endif

}  // namespace
}  // namespace kelvaro
