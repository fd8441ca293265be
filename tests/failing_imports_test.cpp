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

bool IsDue() {
    return g_calls++ == g_failing;
}

// Replaces an imported function. One call fails, the others are forwarded to the original.
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
            SetLastError(g_hasErrorCode ? error : ERROR_SUCCESS);
            return failure;
        }
        return original(arguments...);
    }
};

struct Import {
    const char* name;
    void* (*install)(void* original);  // returns the replacement
};

template <auto Function, auto Failure, DWORD Error = ERROR_NOT_ENOUGH_MEMORY>
void* Install(void* original) {
    using Replacement = Stub<decltype(Function)>;
    using Result = decltype(Replacement::failure);
    Replacement::original = reinterpret_cast<decltype(Function)>(original);
    Replacement::failure = (Result)Failure;  // also for pointers, given as numbers
    Replacement::error = Error;
    return reinterpret_cast<void*>(&Replacement::Call);
}

constexpr Import kImports[] = {
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

using Exercise = void (*)(const Exports&);

class FailingImports : public DriveTest {
  public:
    FailingImports() {
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        WriteApplicationFiles();
    }

    // Makes every call of `exercise` with call number `failing` of the replaced import failing.
    // Returns the number of its calls.
    static size_t CallWithFailure(Exercise exercise, const Exports& exports, size_t failing) {
        DeleteFileW(kLog);
        RemoveDirectoryW(L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs");
        g_calls = 0;
        g_failing = failing;
        exercise(exports);
        return g_calls;
    }

    static void RightClick(const Exports& exports) { ExerciseRightClick(exports, kShortcut); }
    static void Register(const Exports& exports) { ExerciseRegistration(exports); }
};

// Makes every call of one import by `exercise` fail in turn, with an error code and without one.
// Returns the number of failures.
size_t FailEach(const rightclick::Library& library, const Import& import, Exercise exercise) {
    ScopedImport stub(library.Handle(), import.name);
    stub.Replace(import.install(stub.Original()));
    const Exports exports = ExportsOf(library);
    const size_t calls = FailingImports::CallWithFailure(exercise, exports, SIZE_MAX);
    for (const bool hasErrorCode : {true, false}) {
        g_hasErrorCode = hasErrorCode;
        for (size_t call = 0; call < calls; ++call) {
            FailingImports::CallWithFailure(exercise, exports, call);
        }
    }
    return 2 * calls;
}

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
    const rightclick::Library library(kLibrary);
    ASSERT_TRUE(library.IsLoaded());
    size_t calls = 0;
    for (const Import& import : kImports) {
        const size_t failures =
            FailEach(library, import, RightClick) + FailEach(library, import, Register);
        EXPECT_GT(failures, 0U) << import.name;
        calls += failures;
    }
    CallWithFailure(RightClick, ExportsOf(library), SIZE_MAX);
    EXPECT_NE(Messages()[0].find("locked=1"), std::string::npos) << "a later right-click must work";
    std::printf("made calls of %zu imports fail %zu times\n", std::size(kImports), calls);
}

}  // namespace
