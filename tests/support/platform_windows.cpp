#include <windows.h>

#include "support/fixture.h"
#include "support/message_boxes.h"
#include "support/platform.h"
#include "support/small_stack.h"

namespace fs = std::filesystem;

namespace platform {

namespace {

// Removes a file or directory. Its path may be longer than MAX_PATH, which std::filesystem does not
// support.
void RemoveTree(const std::wstring& path) {
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (DeleteFileW(path.c_str())) {
        return;
    }
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((path + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        const std::wstring name = found.cFileName;
        if (name != L"." && name != L"..") {
            RemoveTree(path + L"\\" + name);
        }
    } while (FindNextFileW(search, &found));
    FindClose(search);
    RemoveDirectoryW(path.c_str());
}

}  // namespace

void Reset() {
    for (const wchar_t* const directory :
         {L"C:\\ProgramData\\Vorandel", DriveTest::kApplication, L"C:\\Apps", L"C:\\Test"}) {
        RemoveTree(L"\\\\?\\" + std::wstring(directory));
    }
    const std::wstring clsid = L"CLSID\\" + std::wstring(DriveTest::kClsidText);
    for (const std::wstring& key :
         {std::wstring(L"Software\\Vorandel"), std::wstring(L"Software\\Classes\\exefile\\shellex"),
          std::wstring(L"Software\\Classes\\lnkfile\\shellex"), L"Software\\Classes\\" + clsid}) {
        RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str());
    }
    for (const std::wstring& key :
         {std::wstring(L"exefile\\shellex\\ContextMenuHandlers\\VorandelKelvaro"),
          std::wstring(L"lnkfile\\shellex\\ContextMenuHandlers\\VorandelKelvaro"), clsid}) {
        RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
    }
}

std::string HeldResources() {
    return {};
}

bool ReadOnlyRefuses() {
    constexpr wchar_t kProbe[] = L"C:\\Test\\probe";
    CreateDirectoryW(L"C:\\Test", nullptr);
    CloseHandle(CreateFileW(kProbe, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_READONLY, nullptr));
    const HANDLE file = CreateFileW(kProbe, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
    }
    SetFileAttributesW(kProbe, FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(kProbe);
    return file == INVALID_HANDLE_VALUE;
}

fs::path NativePath(const std::wstring& path) {
    return path;
}

std::wstring BuiltFile(const char* path) {
    return L"Z:" + fs::path(path).wstring();
}

}  // namespace platform

void RunOnSmallStack(const std::function<void()>& work) {
    const auto run = [](LPVOID argument) -> DWORD {
        (*static_cast<const std::function<void()>*>(argument))();
        return 0;
    };
    constexpr SIZE_T kStack = SIZE_T{64} << 10;
    auto* const argument = const_cast<std::function<void()>*>(&work);
    const HANDLE thread =
        CreateThread(nullptr, kStack, run, argument, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

const bool MessageBoxes::kCanSee = false;

MessageBoxes::MessageBoxes() = default;

MessageBoxes::~MessageBoxes() = default;
