#include <climits>

#include "common/code_page.h"
#include "common/file.h"
#include "common/module_path.h"
#include "common/path.h"
#include "support/fixture.h"

#ifndef _WIN32
#include "testing/watch.h"
#endif

namespace kelvaro {
namespace {

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

TEST_F(File, ReportsWhatExists) {
    Write(TestPath(L"file"), "");
    for (const std::wstring& path : {TestPath(L"file"), TestPath()}) {
        EXPECT_TRUE(PathExists(path.c_str())) << Utf8(path);
    }
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

TEST_F(File, CreatesNoDirectoryOnAMissingDrive) {
    std::wstring root = L"D:\\";
    while (PathExists(root.c_str())) {
        ++root[0];
    }
    EXPECT_FALSE(CreateDirectories(root + L"a\\b"));
}

TEST_F(File, ReadsModulePathsOfAnyLength) {
    // Paths longer than MAX_PATH need the prefix, which std::filesystem does not support on
    // Windows.
    MakeDirectory(TestPath());
    std::wstring path = L"\\\\?\\" + TestPath();
    while (path.size() < 300) {
        path += L"\\" + std::wstring(40, L'd');
    }
    path += L"\\KelvaroShellExt.dll";
    EXPECT_TRUE(CreateDirectories(std::wstring(ParentPath(path))));
    EXPECT_TRUE(AppendToFile(path.c_str(), Read(platform::BuiltFile(KELVARO_LIBRARY))));
    const HMODULE module = LoadLibraryW(path.c_str());
    EXPECT_NE(module, nullptr);
    EXPECT_TRUE(ReadModulePath(module).path.ends_with(path.substr(path.find(L':') + 1)));
    FreeLibrary(module);
    EXPECT_TRUE(DeleteFileW(path.c_str()));
    while (path = ParentPath(path), path.ends_with(L'd')) {
        EXPECT_TRUE(RemoveDirectoryW(path.c_str()));
    }
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

// More access would fail where a user or a file grants less. PathExists asks for none, so a link to
// a file that another program has opened exclusively exists. Less sharing would block other
// programs.
TEST_F(File, IsOpenedWithTheLeastAccessAndSharedForAll) {
    Write(TestPath(L"file"), "abc");
    std::filesystem::create_symlink("file", platform::NativePath(TestPath(L"link")));
    std::vector<std::pair<DWORD, DWORD>> opened;
    const compat::Watch<&CreateFileW> watch(
        [&](auto, DWORD access, DWORD share, auto...) { opened.emplace_back(access, share); });
    ReadFileBytes(TestPath(L"file").c_str());
    AppendToFile(TestPath(L"file").c_str(), "d");
    PathExists(TestPath(L"link").c_str());
    constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    EXPECT_EQ(opened,
              (decltype(opened){{GENERIC_READ, kAll}, {FILE_APPEND_DATA, kAll}, {0, kAll}}));
}

#endif

}  // namespace
}  // namespace kelvaro
