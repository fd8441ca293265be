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
    Write(TestPath(L"bytes"), bytes);
    EXPECT_EQ(ReadFileBytes(TestPath(L"BYTES").c_str()).View(), bytes);
}

TEST_F(File, UnreadableFilesAreEmpty) {
    Write(TestPath(L"four"), "four");
    MakeDirectory(TestPath(L"directory"));
    EXPECT_EQ(ReadFileBytes(TestPath(L"four").c_str(), 4).View(), "four");
    EXPECT_EQ(ReadFileBytes(TestPath(L"four").c_str(), 3).View(), "");
    for (const std::wstring& path :
         {TestPath(L"missing"), TestPath(L"directory"), TestPath(L"a<b"), std::wstring()}) {
        EXPECT_EQ(ReadFileBytes(path.c_str()).View(), "") << Utf8(path);
    }
}

#ifdef _WIN32

TEST_F(File, IsReadWhileAnotherProgramWritesIt) {
    Write(TestPath(L"held"), "text");
    const ScopedHandle writer(CreateFileW(TestPath(L"held").c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                          nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(writer);
    EXPECT_EQ(ReadFileBytes(TestPath(L"held").c_str()).View(), "text");
}

#endif

TEST_F(File, AppendsAndCreatesTheFile) {
    EXPECT_FALSE(AppendToFile(TestPath(L"no\\file").c_str(), "a"));
    MakeDirectory(TestPath());
    EXPECT_TRUE(AppendToFile(TestPath(L"file").c_str(), "one\n"));
    EXPECT_TRUE(AppendToFile(TestPath(L"file").c_str(), "two\r\n"));
    EXPECT_EQ(Read(TestPath(L"file")), "one\ntwo\r\n");
}

TEST_F(File, ReportsWhatExists) {
    Write(TestPath(L"file"), "");
    Write(TestPath(L"read-only"), "");
    SetFileAttributesW(TestPath(L"read-only").c_str(), FILE_ATTRIBUTE_READONLY);
    for (const std::wstring& path : {TestPath(L"file"), TestPath(), TestPath(L"read-only")}) {
        EXPECT_TRUE(PathExists(path.c_str())) << Utf8(path);
    }
    SetFileAttributesW(TestPath(L"read-only").c_str(), FILE_ATTRIBUTE_NORMAL);
    for (const std::wstring& path :
         {TestPath(L"other"), TestPath(L"file\\below"), std::wstring(L"Q:\\file"), TestPath(L"a?b"),
          TestPath(L"no\\file"), std::wstring()}) {
        EXPECT_FALSE(PathExists(path.c_str())) << Utf8(path);
    }
#ifndef _WIN32
    for (const char* const target : {"file", "missing", "."}) {
        const auto link = platform::NativePath(TestPath(L"link"));
        std::filesystem::remove(link);
        std::filesystem::create_symlink(target, link);
        EXPECT_EQ(PathExists(TestPath(L"link").c_str()), std::filesystem::exists(link)) << target;
    }
#endif
}

TEST_F(File, CreatesParentDirectories) {
    EXPECT_TRUE(CreateDirectories(TestPath(L"a\\b\\c")));
    EXPECT_TRUE(CreateDirectories(TestPath(L"a\\b\\c")));
    EXPECT_TRUE(PathExists(TestPath(L"a\\b\\c").c_str()));
    Write(TestPath(L"file"), "");
    EXPECT_FALSE(CreateDirectories(TestPath(L"file")));
    EXPECT_FALSE(CreateDirectories(TestPath(L"file\\below")));
    EXPECT_FALSE(CreateDirectories(L"Q:\\a\\b"));
}

TEST_F(File, ReadsModulePathsOfAnyLength) {
    std::wstring directory = TestPath();
    while (directory.size() < 300) {
        directory += L"\\" + std::wstring(40, L'd');
    }
    // Paths longer than MAX_PATH need the prefix, which std::filesystem cannot create the top of.
    MakeDirectory(TestPath());
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
    Write(TestPath(L"file"), "abc");
    std::filesystem::create_symlink("file", platform::NativePath(TestPath(L"link")));
    std::vector<std::pair<DWORD, DWORD>> opened;
    const compat::Watch<&CreateFileW> watch([&](auto, auto, DWORD share, auto, auto, DWORD flags,
                                                auto) { opened.emplace_back(share, flags); });
    ReadFileBytes(TestPath(L"file").c_str());
    AppendToFile(TestPath(L"file").c_str(), "d");
    PathExists(TestPath(L"link").c_str());
    constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    EXPECT_EQ(opened, (decltype(opened){{kAll, FILE_FLAG_SEQUENTIAL_SCAN},
                                        {kAll, FILE_ATTRIBUTE_NORMAL},
                                        {kAll, FILE_FLAG_BACKUP_SEMANTICS}}));
}

#endif

}  // namespace
}  // namespace kelvaro
