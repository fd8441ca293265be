// The built DLL with its imports made to fail, one call after the other: memory and every call that
// the platform documents a failure of.

#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include <cstdlib>
#include <cstring>

#include "rightclick/library.h"
#include "support/every_entry_point.h"
#include "support/fixture.h"

namespace {

constexpr wchar_t kShortcut[] = L"C:\\Test\\Tool.lnk";

size_t g_calls = 0;
size_t g_failing = SIZE_MAX;

bool IsDue() {
    return g_calls++ == g_failing;
}

// Stands for an imported function: the call that is due fails, the others go on to the real one.
template <class Function>
struct Stub;

template <class Result, class... Arguments>
struct Stub<Result (*)(Arguments...)> {
    using Function = Result (*)(Arguments...);
    static inline Function original;
    static inline Result failure;
    static inline DWORD error;

    static Result Call(Arguments... arguments) {
        if (IsDue()) {
            SetLastError(error);
            return failure;
        }
        return original(arguments...);
    }
};

// The type of malloc, without the attributes that a template argument cannot have.
void* Allocate(size_t size) {
    return std::malloc(size);
}

struct Import {
    const char* name;
    void* (*install)(void* original);  // gives what to call in its place
};

template <auto Function, auto Failure, DWORD Error = ERROR_NOT_ENOUGH_MEMORY>
void* Install(void* original) {
    using TheStub = Stub<decltype(Function)>;
    using Result = decltype(TheStub::failure);
    TheStub::original = reinterpret_cast<decltype(Function)>(original);
    TheStub::failure = (Result)Failure;  // numbers stand for pointers too
    TheStub::error = Error;
    return reinterpret_cast<void*>(&TheStub::Call);
}

constexpr Import kImports[] = {
    {"malloc", Install<&Allocate, 0>},
    {"CreateFileW", Install<&CreateFileW, -1, ERROR_ACCESS_DENIED>},
    {"ReadFile", Install<&ReadFile, FALSE, ERROR_READ_FAULT>},
    {"WriteFile", Install<&WriteFile, FALSE, ERROR_DISK_FULL>},
    {"GetFileSizeEx", Install<&GetFileSizeEx, FALSE, ERROR_NOT_READY>},
    {"GetFileAttributesW", Install<&GetFileAttributesW, INVALID_FILE_ATTRIBUTES>},
    {"CreateDirectoryW", Install<&CreateDirectoryW, FALSE, ERROR_ACCESS_DENIED>},
    {"GetModuleFileNameW", Install<&GetModuleFileNameW, 0, ERROR_MOD_NOT_FOUND>},
    {"MultiByteToWideChar", Install<&MultiByteToWideChar, 0, ERROR_NO_UNICODE_TRANSLATION>},
    {"WideCharToMultiByte", Install<&WideCharToMultiByte, 0, ERROR_INVALID_PARAMETER>},
    {"GlobalLock", Install<&GlobalLock, 0, ERROR_INVALID_HANDLE>},
    {"CreateProcessW", Install<&CreateProcessW, FALSE>},
    {"DragQueryFileW", Install<&DragQueryFileW, 0>},
    {"PathMatchSpecW", Install<&PathMatchSpecW, FALSE>},
    {"InsertMenuW", Install<&InsertMenuW, FALSE>},
    {"MessageBoxW", Install<&MessageBoxW, 0>},
    {"CoCreateInstance", Install<&CoCreateInstance, REGDB_E_CLASSNOTREG>},
    {"StringFromCLSID", Install<&StringFromCLSID, E_OUTOFMEMORY>},
    {"RegOpenKeyExW", Install<&RegOpenKeyExW, ERROR_ACCESS_DENIED>},
    {"RegQueryValueExW", Install<&RegQueryValueExW, ERROR_ACCESS_DENIED>},
    {"RegCreateKeyExW", Install<&RegCreateKeyExW, ERROR_ACCESS_DENIED>},
    {"RegSetValueExW", Install<&RegSetValueExW, ERROR_ACCESS_DENIED>},
    {"RegDeleteTreeW", Install<&RegDeleteTreeW, ERROR_ACCESS_DENIED>},
};

// The place in a module's import table where the address of `name` stands; null when it has none.
void** FindImport(HMODULE module, const char* name) {
    auto* const base = reinterpret_cast<BYTE*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    const auto* library =
        reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
    for (; library->Name != 0; ++library) {
        const auto* names =
            reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* addresses = reinterpret_cast<void**>(base + library->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
            const auto* const import =
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(import->Name), name) == 0) {
                return addresses;
            }
        }
    }
    return nullptr;
}

// Another function in an import's place while it lives.
class ScopedImport {
  public:
    ScopedImport(HMODULE module, const Import& import)
        : place_(FindImport(module, import.name)),
          original_(place_ == nullptr ? nullptr : *place_) {
        EXPECT_NE(place_, nullptr) << import.name << " is not imported";
        Put(import.install(original_));
    }
    ~ScopedImport() { Put(original_); }
    ScopedImport(const ScopedImport&) = delete;
    ScopedImport& operator=(const ScopedImport&) = delete;

  private:
    void Put(void* function) {
        DWORD before = 0;
        if (place_ != nullptr && VirtualProtect(place_, sizeof *place_, PAGE_READWRITE, &before)) {
            *place_ = function;
            VirtualProtect(place_, sizeof *place_, before, &before);
        }
    }

    void** place_;
    void* original_;
};

class FailingImports : public DriveTest {
  public:
    FailingImports() {
        const std::wstring application = kApplication;
        Copy(platform::BuiltFile(KELVARO_LIBRARY), application + L"\\KelvaroShellExt.dll");
        Copy(platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\tool.lnk", kShortcut);
        Write(application + L"\\Lang\\English.ini", "[ShellExt]\nhelp=Help\n");
        // No program at all: whether it could run is not the question here.
        Write(application + L"\\KelvaroAuthPrompt.exe", "");
        WriteRules(R"({"type":"exe","target":"C:\\Apps\\Tool.exe"})");
        SetLocale(L"en-US");
    }

    static Exports ExportsOf(const rightclick::Library& library) {
        return {library.Export<decltype(Exports::getClassObject)>("DllGetClassObject"),
                library.Export<decltype(Exports::canUnloadNow)>("DllCanUnloadNow"),
                library.Export<decltype(Exports::registerServer)>("DllRegisterServer"),
                library.Export<decltype(Exports::unregisterServer)>("DllUnregisterServer")};
    }

    static size_t RightClick(const Exports& exports, size_t failing) {
        DeleteFileW(kLog);
        RemoveDirectoryW(L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs");
        g_calls = 0;
        g_failing = failing;
        ExerciseEveryEntryPoint(exports, kShortcut);
        return g_calls;
    }
};

constexpr wchar_t kPrompt[] = L"C:\\Program Files\\Kelvaro\\KelvaroAuthPrompt.exe";

// Every call of one import made to fail in turn; how many there were.
size_t FailEach(const rightclick::Library& library, const Import& import) {
    const ScopedImport stub(library.Handle(), import);
    const Exports exports = FailingImports::ExportsOf(library);
    const size_t calls = FailingImports::RightClick(exports, SIZE_MAX);
    EXPECT_GT(calls, 0U) << import.name;
    for (size_t call = 0; call < calls; ++call) {
        FailingImports::RightClick(exports, call);
    }
    return calls;
}

TEST_F(FailingImports, EachCallInTurn) {
    const rightclick::Library library(std::wstring(kApplication) + L"\\KelvaroShellExt.dll");
    ASSERT_TRUE(library.IsLoaded());
    size_t points = 0;
    for (const Import& import : kImports) {
        points += FailEach(library, import);
    }
    // Memory once more, with a prompt that starts and without any.
    Copy(L"C:\\windows\\system32\\hostname.exe", kPrompt);
    points += FailEach(library, kImports[0]);
    DeleteFileW(kPrompt);
    points += FailEach(library, kImports[0]);
    RightClick(ExportsOf(library), SIZE_MAX);
    EXPECT_NE(Messages()[0].find("locked=1"), std::string::npos) << "the next right-click works";
    std::printf("%zu calls of %zu imports were made to fail\n", points, std::size(kImports));
}

}  // namespace
