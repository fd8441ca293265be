#include <cstdlib>
#include <functional>
#include <new>

#include "internal/call.h"
#include "rules/lock_lookup.h"
#include "shell_host/popup_menu.h"
#include "support/every_entry_point.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "testing/counted_calls.h"

// Refuses allocations of the library only, not those of the test or the compatibility layer.
namespace {

thread_local bool g_inLibrary = false;
size_t g_allocations = 0;
size_t g_firstRefused = SIZE_MAX;
size_t g_refusals = 0;

bool IsRefused() {
    if (!g_inLibrary || compat::Call::IsInside()) {
        return false;
    }
    const size_t index = g_allocations++;
    return index >= g_firstRefused && index - g_firstRefused < g_refusals;
}

}  // namespace

[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return IsRefused() ? nullptr : std::malloc(size);
}

[[gnu::noinline]] void* operator new(size_t size) {
    void* const memory = operator new(size, std::nothrow);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t /*size*/) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

namespace kelvaro {
namespace {

class FailingAllocations : public DriveTest {
  public:
    FailingAllocations() {
        InstallLibrary();
        WriteApplicationFiles();
    }

    // Makes every call with `refusals` allocations refused, starting with number `first`. Returns
    // the number of allocations.
    static size_t CallWithRefusals(size_t first, size_t refusals) {
        // Without the directory the first log line has to create it.
        std::filesystem::remove_all(platform::NativePath(kLog).parent_path());
        g_allocations = 0;
        g_firstRefused = first;
        g_refusals = refusals;
        ExerciseEveryEntryPoint(LinkedExports(), kShortcut,
                                [](bool inside) { g_inLibrary = inside; });
        return g_allocations;
    }

    // Refuses every allocation in turn, alone and together with all later ones.
    static void RefuseEach(const char* prompt) {
        const size_t all = CallWithRefusals(SIZE_MAX, 0);
        for (size_t first = 0; first < all; ++first) {
            for (const size_t refusals : {size_t{1}, SIZE_MAX / 2}) {
                CallWithRefusals(first, refusals);
                ASSERT_EQ(platform::HeldResources(), "1 module")
                    << prompt << ", allocation " << first;
            }
        }
        EXPECT_EQ(CallWithRefusals(SIZE_MAX, 0), all) << "a later right-click must work";
        EXPECT_TRUE(IsTargetLocked(L"C:\\Apps\\Tool.exe"));
    }
};

TEST_F(FailingAllocations, RightClickSurvives) {
    RefuseEach("prompt does not start");
    Copy(platform::BuiltFile("/bin/true"), kPrompt);
    RefuseEach("prompt starts");
    DeleteFileW(kPrompt.c_str());
    RefuseEach("prompt missing");
}

TEST_F(FailingAllocations, ChangeNothingOutsideTheLibrary) {
    Copy(platform::BuiltFile("/bin/true"), kPrompt);
    Extension extension;
    extension.Select({kTool});
    const shell_host::PopupMenu menu;
    const struct {
        const char* change;
        std::function<HRESULT()> call;
    } cases[] = {
        {"InsertMenuW",
         [&] { return extension.Menu().QueryContextMenu(menu.Handle(), 0, 1, 9, CMF_NORMAL); }},
        {"CreateProcessW", [&] { return extension.Choose(); }},
        {"RegCreateKeyExW", DllRegisterServer},
        {"RegDeleteTreeW", DllUnregisterServer}};
    g_refusals = 1;
    for (const auto& [change, call] : cases) {
        g_firstRefused = 0;
        do {
            compat::CountedCalls calls;
            g_allocations = 0;
            g_inLibrary = true;
            const HRESULT result = call();
            g_inLibrary = false;
            EXPECT_EQ(calls.Take().contains(change), SUCCEEDED(result)) << change << g_firstRefused;
        } while (g_allocations > g_firstRefused++);
    }
}

}  // namespace
}  // namespace kelvaro
