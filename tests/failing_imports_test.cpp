// Makes the calls of the built DLL to its imports fail, one after the other: every platform
// function that can fail. memory_exhaustion_test refuses memory.

#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include <regex>
#include <set>

#include "support/every_entry_point.h"
#include "support/fixture.h"
#include "support/imports.h"

namespace {

size_t g_calls = 0;
size_t g_failing = SIZE_MAX;
bool g_hasErrorCode = true;  // false: a call fails with 0 as the last error

// Replaces an imported function. One call fails, the others are forwarded to the original.
template <auto Function, auto Failure, DWORD Error = ERROR_NOT_ENOUGH_MEMORY,
          class Signature = decltype(Function)>
struct Stub;

template <auto Function, auto Failure, DWORD Error, class Result, class... Arguments>
struct Stub<Function, Failure, Error, Result (*)(Arguments...)> {
    static inline Result (*original)(Arguments...);

    static Result Call(Arguments... arguments) {
        if (g_calls++ == g_failing) {
            SetLastError(g_hasErrorCode ? Error : ERROR_SUCCESS);
            return (Result)Failure;  // also for pointers, given as numbers
        }
        return original(arguments...);
    }

    static void* Install(void* imported) {
        original = reinterpret_cast<Result (*)(Arguments...)>(imported);
        return reinterpret_cast<void*>(&Call);
    }
};

struct Import {
    const char* name;
    void* (*install)(void* original);  // returns the replacement
};

constexpr Import kImports[] = {
    {"CreateFileW", Stub<&CreateFileW, -1, ERROR_ACCESS_DENIED>::Install},
    {"ReadFile", Stub<&ReadFile, FALSE, ERROR_READ_FAULT>::Install},
    {"WriteFile", Stub<&WriteFile, FALSE, ERROR_DISK_FULL>::Install},
    {"GetFileSizeEx", Stub<&GetFileSizeEx, FALSE, ERROR_NOT_READY>::Install},
    {"GetFileAttributesW", Stub<&GetFileAttributesW, INVALID_FILE_ATTRIBUTES>::Install},
    {"CreateDirectoryW", Stub<&CreateDirectoryW, FALSE, ERROR_ACCESS_DENIED>::Install},
    {"GetModuleFileNameW", Stub<&GetModuleFileNameW, 0, ERROR_MOD_NOT_FOUND>::Install},
    {"MultiByteToWideChar", Stub<&MultiByteToWideChar, 0, ERROR_NO_UNICODE_TRANSLATION>::Install},
    {"WideCharToMultiByte", Stub<&WideCharToMultiByte, 0, ERROR_INVALID_PARAMETER>::Install},
    {"GlobalLock", Stub<&GlobalLock, 0, ERROR_INVALID_HANDLE>::Install},
    {"CreateProcessW", Stub<&CreateProcessW, FALSE>::Install},
    {"DragQueryFileW", Stub<&DragQueryFileW, 0>::Install},
    {"PathMatchSpecW", Stub<&PathMatchSpecW, FALSE>::Install},
    {"InsertMenuW", Stub<&InsertMenuW, FALSE>::Install},
    {"MessageBoxW", Stub<&MessageBoxW, 0>::Install},
    {"CoCreateInstance", Stub<&CoCreateInstance, REGDB_E_CLASSNOTREG>::Install},
    {"StringFromCLSID", Stub<&StringFromCLSID, E_OUTOFMEMORY>::Install},
    {"RegOpenKeyExW", Stub<&RegOpenKeyExW, ERROR_ACCESS_DENIED>::Install},
    {"RegQueryValueExW", Stub<&RegQueryValueExW, ERROR_ACCESS_DENIED>::Install},
    {"RegCreateKeyExW", Stub<&RegCreateKeyExW, ERROR_ACCESS_DENIED>::Install},
    {"RegSetValueExW", Stub<&RegSetValueExW, ERROR_ACCESS_DENIED>::Install},
    {"RegDeleteTreeW", Stub<&RegDeleteTreeW, ERROR_ACCESS_DENIED>::Install},
};

class FailingImports : public DriveTest {
  public:
    FailingImports() {
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        WriteApplicationFiles();
    }

    // Uses the library, with call number `failing` of the replaced import failing. Returns the
    // number of calls of that import.
    static size_t CallWithFailure(const shell_host::Library& library, size_t failing) {
        DeleteFileW(kLog);
        RemoveDirectoryW(L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs");
        g_calls = 0;
        g_failing = failing;
        ExerciseEveryEntryPoint(ExportsOf(library), kShortcut);
        return g_calls;
    }

    // Makes every call of one import fail in turn, with an error code and without one. Returns the
    // number of failures.
    static size_t FailEach(const shell_host::Library& library, const Import& import) {
        ScopedImport stub(library.Handle(), import.name);
        stub.Replace(import.install(stub.Original()));
        const size_t calls = CallWithFailure(library, SIZE_MAX);
        for (const bool hasErrorCode : {true, false}) {
            g_hasErrorCode = hasErrorCode;
            for (size_t call = 0; call < calls; ++call) {
                CallWithFailure(library, call);
            }
        }
        return 2 * calls;
    }
};

TEST_F(FailingImports, EveryImportWhoseFailureIsHandledIsListed) {
    const std::string text = Read(platform::BuiltFile(KELVARO_DLL_IMPORTS));
    const std::regex line(R"( (\w+) fails\n)");
    std::set<std::string> expected;
    for (std::sregex_iterator match(text.begin(), text.end(), line), end; match != end; ++match) {
        expected.insert((*match)[1]);
    }
    std::set<std::string> listed;
    for (const Import& import : kImports) {
        listed.insert(import.name);
    }
    EXPECT_EQ(listed, expected);
}

TEST_F(FailingImports, EveryFailureLeavesNothingOpenAndTheNextRightClickWorks) {
    const shell_host::Library library(kLibrary);
    ASSERT_TRUE(library.IsLoaded());
    size_t calls = 0;
    for (const Import& import : kImports) {
        const size_t failures = FailEach(library, import);
        EXPECT_GT(failures, 0U) << import.name;
        calls += failures;
    }
    CallWithFailure(library, SIZE_MAX);
    EXPECT_NE(Messages()[0].find("locked=1"), std::string::npos) << "a later right-click must work";
    std::printf("made calls of %zu imports fail %zu times\n", std::size(kImports), calls);
}

}  // namespace
