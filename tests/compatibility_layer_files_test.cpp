#include <unistd.h>
#include <windows.h>

#include "internal/drive.h"
#include "internal/encoding.h"
#include "support/fixture.h"
#include "testing/resources.h"

namespace {

constexpr wchar_t kFile[] = L"C:\\Test\\file";
constexpr wchar_t kOther[] = L"C:\\Test\\other";
constexpr wchar_t kDirectory[] = L"C:\\Test\\directory";
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE Open(const wchar_t* path, DWORD access, DWORD share, DWORD flags = 0) {
    return CreateFileW(path, access, share, nullptr, OPEN_EXISTING, flags, nullptr);
}

// Returns ERROR_SUCCESS if `succeeded`, otherwise the last error.
DWORD ErrorOf(BOOL succeeded) {
    return succeeded ? DWORD{ERROR_SUCCESS} : GetLastError();
}

class CompatibilityLayerFiles : public DriveTest {
  public:
    CompatibilityLayerFiles() {
        Write(kFile, "abc");
        Write(kOther, "other");
        MakeDirectory(kDirectory);
    }
};

TEST_F(CompatibilityLayerFiles, DriveCIsADirectory) {
    const std::string root = compat::DriveDirectory();
    Write(L"C:\\Apps\\Tool.exe", "x");
    EXPECT_EQ(compat::ToHostPath(L"c:/APPS\\tool.EXE").host, root + "/Apps/Tool.exe");
    EXPECT_EQ(compat::ToHostPath(L"\\\\?\\C:\\Apps").host, root + "/Apps");
    EXPECT_EQ(compat::ToHostPath(L"C:\\new\\file").host, root + "/new/file");
    EXPECT_EQ(compat::ToHostPath(L"C:\\no\\..\\APPS\\.\\tool.exe.").host, root + "/Apps/Tool.exe");
    EXPECT_EQ(compat::FromHostPath(root + "/Apps/\xC3\xA9"), L"C:\\Apps\\\u00E9");
    EXPECT_EQ(compat::FromHostPath(root), L"C:\\");
    EXPECT_EQ(compat::FromHostPath(root + "x/y"),
              L"Z:" + compat::FromHostPath("/").substr(2) +
                  compat::WideFromUtf8(root.substr(1)).replace(3, 1, L"\\") + L"x\\y");
    for (const auto& [path, error] :
         {std::pair(L"D:\\x", ERROR_PATH_NOT_FOUND), std::pair(L"x", ERROR_PATH_NOT_FOUND),
          std::pair(L"C:\\a|b", ERROR_INVALID_NAME), std::pair(L"C:\\a:b", ERROR_INVALID_NAME),
          std::pair(L"C:\\a\tb", ERROR_INVALID_NAME)}) {
        EXPECT_EQ(compat::ToHostPath(path).error, static_cast<DWORD>(error)) << Utf8(path);
    }
}

TEST_F(CompatibilityLayerFiles, OpeningReportsDocumentedErrors) {
    ASSERT_EQ(symlink("nowhere", platform::NativePath(L"C:\\Test\\dangling").c_str()), 0);
    ASSERT_EQ(symlink("loop", platform::NativePath(L"C:\\Test\\loop").c_str()), 0);
    const struct {
        const wchar_t* path;
        DWORD access, error;
    } cases[] = {{L"C:\\Test\\missing", GENERIC_READ, ERROR_FILE_NOT_FOUND},
                 {L"C:\\missing\\file", GENERIC_READ, ERROR_PATH_NOT_FOUND},
                 {L"C:\\Test\\file\\x", GENERIC_READ, ERROR_PATH_NOT_FOUND},
                 {L"C:\\Test\\file\\", GENERIC_READ, ERROR_INVALID_NAME},
                 {L"C:\\Test\\missing\\", GENERIC_READ, ERROR_FILE_NOT_FOUND},
                 {L"C:\\Test", GENERIC_READ, ERROR_ACCESS_DENIED},
                 {L"C:\\Test\\dangling", GENERIC_READ, ERROR_FILE_NOT_FOUND},
                 {L"C:\\Test\\loop", GENERIC_READ, ERROR_CANT_RESOLVE_FILENAME}};
    for (const auto& [path, access, error] : cases) {
        EXPECT_EQ(CreateFileW(path, access, 7, nullptr, OPEN_EXISTING, 0, nullptr),
                  INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), error) << Utf8(path);
    }
    EXPECT_EQ(GetFileAttributesW(L"C:\\Test\\dangling") & FILE_ATTRIBUTE_REPARSE_POINT,
              FILE_ATTRIBUTE_REPARSE_POINT);
    const HANDLE file =
        CreateFileW(L"C:\\Test\\file", GENERIC_READ, 7, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(compat::HeldResources(), "1 handle");
    DWORD written = 7;
    EXPECT_FALSE(WriteFile(file, "x", 1, &written, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(written, 0U);
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_FALSE(CloseHandle(file));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(CompatibilityLayerFiles, SharingIsCheckedInBothDirections) {
    constexpr DWORD kNoRead = FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    constexpr DWORD kNoWrite = FILE_SHARE_READ | FILE_SHARE_DELETE;
    const struct {
        DWORD heldAccess, heldShare, access, share;
        LONG error;
    } cases[] = {{GENERIC_READ, kShareAll, GENERIC_WRITE, kShareAll, ERROR_SUCCESS},
                 {GENERIC_READ, kNoRead, GENERIC_READ, kShareAll, ERROR_SHARING_VIOLATION},
                 {GENERIC_READ, kShareAll, GENERIC_READ, kNoRead, ERROR_SHARING_VIOLATION},
                 {GENERIC_READ, kNoWrite, FILE_APPEND_DATA, kShareAll, ERROR_SHARING_VIOLATION},
                 {FILE_APPEND_DATA, kShareAll, GENERIC_READ, kNoWrite, ERROR_SHARING_VIOLATION},
                 {0, 0, GENERIC_READ | GENERIC_WRITE, kShareAll, ERROR_SUCCESS},
                 {GENERIC_READ | GENERIC_WRITE, 0, 0, 0, ERROR_SUCCESS}};
    for (const auto& [heldAccess, heldShare, access, share, error] : cases) {
        const HANDLE held = Open(kFile, heldAccess, heldShare);
        const HANDLE file = Open(kFile, access, share);
        EXPECT_EQ(ErrorOf(file != INVALID_HANDLE_VALUE), static_cast<DWORD>(error))
            << std::hex << heldAccess << " " << heldShare << " " << access << " " << share;
        CloseHandle(file);
        CloseHandle(held);
    }
}

TEST_F(CompatibilityLayerFiles, OpenFilesCanRefuseDeletion) {
    const struct {
        DWORD access, share;
        LONG error;
    } cases[] = {{GENERIC_READ, kShareAll & ~FILE_SHARE_DELETE, ERROR_SHARING_VIOLATION},
                 {FILE_APPEND_DATA, 0, ERROR_SHARING_VIOLATION},
                 {GENERIC_READ, FILE_SHARE_DELETE, ERROR_SUCCESS},
                 {0, 0, ERROR_SUCCESS}};
    for (const auto& [access, share, expected] : cases) {
        const auto error = static_cast<DWORD>(expected);
        Write(kFile, "abc");
        Write(kOther, "other");
        const HANDLE file = Open(kFile, access, share);
        EXPECT_EQ(ErrorOf(MoveFileExW(kOther, kFile, MOVEFILE_REPLACE_EXISTING)),
                  DWORD{ERROR_ACCESS_DENIED})
            << "an open file is never replaced";
        EXPECT_EQ(ErrorOf(MoveFileExW(kFile, L"C:\\Test\\moved", 0)), error);
        EXPECT_EQ(ErrorOf(DeleteFileW(error == 0 ? L"C:\\Test\\moved" : kFile)), error);
        CloseHandle(file);
        EXPECT_EQ(Read(kOther), "other");
    }
    for (const DWORD share : {kShareAll & ~FILE_SHARE_DELETE, kShareAll}) {
        const HANDLE directory = Open(kDirectory, GENERIC_READ, share, FILE_FLAG_BACKUP_SEMANTICS);
        EXPECT_EQ(RemoveDirectoryW(kDirectory), (share & FILE_SHARE_DELETE) != 0);
        CloseHandle(directory);
    }
}

TEST_F(CompatibilityLayerFiles, DeletingAndMovingReportDocumentedErrors) {
    Write(L"C:\\Test\\read only", "x");
    SetFileAttributesW(L"C:\\Test\\read only", FILE_ATTRIBUTE_READONLY);
    const struct {
        const wchar_t *from, *to;  // if `to` is null, `from` is deleted
        DWORD flags;
        LONG error;
    } cases[] = {
        {L"C:\\Test\\read only", nullptr, 0, ERROR_ACCESS_DENIED},
        {kDirectory, nullptr, 0, ERROR_ACCESS_DENIED},
        {L"C:\\Test\\file\\", nullptr, 0, ERROR_INVALID_NAME},
        {L"C:\\Test\\missing", nullptr, 0, ERROR_FILE_NOT_FOUND},
        {L"C:\\missing\\file", nullptr, 0, ERROR_PATH_NOT_FOUND},
        {kFile, kOther, 0, ERROR_ALREADY_EXISTS},
        {kFile, kDirectory, MOVEFILE_REPLACE_EXISTING, ERROR_ACCESS_DENIED},
        {kFile, L"C:\\Test\\read only", MOVEFILE_REPLACE_EXISTING, ERROR_ACCESS_DENIED},
        {L"C:\\Test\\missing", kFile, MOVEFILE_REPLACE_EXISTING, ERROR_FILE_NOT_FOUND},
        {kFile, L"C:\\missing\\file", 0, ERROR_PATH_NOT_FOUND},
        {kFile, L"C:\\a|b", 0, ERROR_INVALID_NAME},
        {kDirectory, L"C:\\Test\\directory\\x", 0, ERROR_INVALID_PARAMETER},
        {kFile, kFile, 0, ERROR_SUCCESS},
        {kFile, kOther, MOVEFILE_REPLACE_EXISTING, ERROR_SUCCESS},
    };
    for (const auto& [from, to, flags, error] : cases) {
        EXPECT_EQ(ErrorOf(to == nullptr ? DeleteFileW(from) : MoveFileExW(from, to, flags)),
                  static_cast<DWORD>(error))
            << Utf8(from);
    }
    EXPECT_EQ(Read(kOther), "abc");
    EXPECT_EQ(ErrorOf(RemoveDirectoryW(kOther)), DWORD{ERROR_DIRECTORY});
    EXPECT_EQ(ErrorOf(CreateDirectoryW(L"C:\\Test\\other\\", nullptr)),
              DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(GetFileAttributesW(L"C:\\Test\\other\\"), INVALID_FILE_ATTRIBUTES);
}

TEST_F(CompatibilityLayerFiles, FullPathsAreNormalised) {
    const std::wstring current = compat::CurrentDirectory();
    const std::wstring drive = current.substr(0, 2);
    const struct {
        std::wstring name, full;
    } cases[] = {
        {L"C:\\a\\..\\b", L"C:\\b"},
        {L"c:/a//.\\b/", L"c:\\a\\b\\"},
        {L"C:\\..\\a\\b\\..", L"C:\\a"},
        {L"C:\\a. .", L"C:\\a"},
        {L"C:\\a.\\b \\...", L"C:\\a\\b \\"},
        {L"\\\\s\\t\\x\\..\\..\\..\\y", L"\\\\s\\t\\y"},
        {L"//s/t", L"\\\\s\\t"},
        {L"\\\\?\\C:\\a\\..\\x", L"\\\\?\\C:\\x"},
        {L"\\\\?\\C:\\..\\x", L"\\\\?\\x"},
        {L"\\\\.\\C:\\x", L"\\\\.\\C:\\x"},
        {L"a\\..\\b", current + L"\\b"},
        {drive + L"b", current + L"\\b"},
        {L"Q:b", L"Q:\\b"},
        {compat::WideFromUtf8(compat::DriveDirectory()) + L"/./a", L"C:\\a"},
    };
    for (const auto& [name, full] : cases) {
        wchar_t buffer[MAX_PATH] = {};
        EXPECT_EQ(GetFullPathNameW(name.c_str(), MAX_PATH, buffer, nullptr), full.size());
        EXPECT_EQ(Utf8(buffer), Utf8(full)) << Utf8(name);
        EXPECT_EQ(GetFullPathNameW(name.c_str(), 1, buffer, nullptr), full.size() + 1);
    }
}

}  // namespace
