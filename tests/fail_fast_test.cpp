// How the built DLL ends its process when it cannot go on.

#include <windows.h>

#include <psapi.h>
#include <shellapi.h>

#include <algorithm>

#include "common/module_path.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/imports.h"

extern "C" std::uintptr_t __stack_chk_guard;

namespace kelvaro {
namespace {

// Stands in for DragQueryFileW. Writes `Excess` characters more than the buffer holds.
template <UINT Excess>
UINT WINAPI OverrunBuffer(HDROP, UINT, LPWSTR buffer, UINT capacity) {
    if (buffer != nullptr) {
        std::fill_n(buffer, capacity + Excess, L'x');
        buffer[capacity - 1] = L'\0';
    }
    return 1;
}

// Stands in for CloseHandle, which the library calls where no exception is allowed.
BOOL WINAPI ThrowException(HANDLE) {
    throw 1;
}

class FailFast : public DriveTest {
  public:
    FailFast() {
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        WriteRules(kToolRule);
    }

    // Selects a program while the DLL calls `function` instead of its import `name`.
    static HRESULT SelectWith(const char* name, void* function) {
        const shell_host::Library library(kLibrary);
        EXPECT_TRUE(SetImport(library.Handle(), name, function));
        return Extension(ExportsOf(library)).Select({kTool});
    }
};

// Expects that a disabled test of this program fails fast. GoogleTest's own death tests cannot
// start a program in a directory whose name the system's code page does not have.
void ExpectFailFast(const std::wstring& test) {
    EXPECT_EQ(platform::RunToEnd(L'"' + ReadModulePath(nullptr).path +
                                 L"\" --gtest_also_run_disabled_tests --gtest_filter=" + test),
              DWORD{STATUS_STACK_BUFFER_OVERRUN});
}

TEST_F(FailFast, StackProtectorEndsTheProcessAfterAnOverrun) {
    EXPECT_EQ(SelectWith("DragQueryFileW", reinterpret_cast<void*>(&OverrunBuffer<0>)),
              E_INVALIDARG)
        << "a full buffer is fine";
    ExpectFailFast(L"FailFast.DISABLED_Overrun");
}

TEST_F(FailFast, DISABLED_Overrun) {
    SelectWith("DragQueryFileW", reinterpret_cast<void*>(&OverrunBuffer<64>));
}

TEST_F(FailFast, TerminateHandlerEndsTheProcessWithADump) {
    ExpectFailFast(L"FailFast.DISABLED_Exception");
}

TEST_F(FailFast, DISABLED_Exception) {
    SelectWith("CloseHandle", reinterpret_cast<void*>(&ThrowException));
}

TEST_F(FailFast, ProcessEndsIfAThreadCanNeverThrow) {
    ExpectFailFast(L"MemoryExhaustion.DISABLED_AllPlacesStayTaken");
}

TEST_F(FailFast, StackProtectorsGuardIsRandomWithALowZeroByte) {
    EXPECT_EQ(__stack_chk_guard & 0xFF, 0U);
    constexpr std::uintptr_t kBefore = 0x595E9FBD94FDA700;  // until the start-up code runs
    EXPECT_NE(__stack_chk_guard, kBefore);
    const shell_host::Library library(kLibrary);
    const auto* const start = reinterpret_cast<const std::uintptr_t*>(library.Handle());
    MODULEINFO image = {};
    GetModuleInformation(GetCurrentProcess(), library.Handle(), &image, sizeof image);
    const auto* const end = start + image.SizeOfImage / sizeof *start;
    EXPECT_GT(end, start);
    EXPECT_EQ(std::find(start, end, kBefore), end);
}

}  // namespace
}  // namespace kelvaro
