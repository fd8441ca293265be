// How the built DLL ends its process when it cannot go on.

#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <algorithm>

#include "common/owners.h"
#include "rightclick/drop_list.h"
#include "rightclick/library.h"
#include "server/clsid.h"
#include "server/exports.h"
#include "support/fixture.h"
#include "support/imports.h"

extern "C" std::uintptr_t __stack_chk_guard;

namespace kelvaro {
namespace {

UINT g_excess = 0;

// Stands in for DragQueryFileW. Writes `g_excess` characters more than the buffer holds.
UINT WINAPI OverrunBuffer(HDROP, UINT, LPWSTR buffer, UINT capacity) {
    if (buffer != nullptr) {
        std::fill_n(buffer, capacity + g_excess, L'x');
        buffer[capacity - 1] = L'\0';
    }
    return 1;
}

// Stands in for CloseHandle, which the library calls where no exception is allowed.
BOOL WINAPI ThrowException(HANDLE) {
    throw 1;
}

class FailFastDeathTest : public DriveTest {
  public:
    FailFastDeathTest() {
        testing::GTEST_FLAG(death_test_style) = "threadsafe";
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        WriteApplicationFiles();
    }

    // Initialises an object while the DLL calls `function` instead of its import `name`.
    static HRESULT InitializeWith(const char* name, void* function) {
        const rightclick::Library library(kLibrary);
        ScopedImport import(library.Handle(), name);
        import.Replace(function);
        const ComPtr<IDataObject> selection(rightclick::MakeDropListObject({kTool}));
        ComPtr<IClassFactory> factory;
        ComPtr<IShellExtInit> object;
        library.Export<decltype(&DllGetClassObject)>("DllGetClassObject")(
            kShellExtClsid, IID_IClassFactory, factory.Put());
        factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put());
        return object->Initialize(nullptr, selection.Get(), nullptr);
    }
};

constexpr auto kFailFast = static_cast<int>(STATUS_STACK_BUFFER_OVERRUN);

TEST_F(FailFastDeathTest, StackProtectorEndsTheProcessAfterAnOverrun) {
    auto* const overrun = reinterpret_cast<void*>(&OverrunBuffer);
    EXPECT_EQ(InitializeWith("DragQueryFileW", overrun), E_INVALIDARG) << "a full buffer is fine";
    g_excess = 64;
    EXPECT_EXIT(InitializeWith("DragQueryFileW", overrun), testing::ExitedWithCode(kFailFast), "");
}

TEST_F(FailFastDeathTest, TerminateHandlerEndsTheProcessWithADump) {
    EXPECT_EXIT(InitializeWith("CloseHandle", reinterpret_cast<void*>(&ThrowException)),
                testing::ExitedWithCode(kFailFast), "");
}

TEST(StackProtector, GuardIsRandomWithALowZeroByte) {
    EXPECT_NE(__stack_chk_guard, 0x595E9FBD94FDA700U) << "the value before the start-up code runs";
    EXPECT_EQ(__stack_chk_guard & 0xFF, 0U);
}

}  // namespace
}  // namespace kelvaro
