#include <cstdlib>
#include <new>

#include "internal/call.h"
#include "rules/lock_lookup.h"
#include "support/every_entry_point.h"
#include "support/fixture.h"
#include "support/message_boxes.h"

// Memory that runs out in the library, and only there: neither in the test nor in the layer.
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

constexpr wchar_t kShortcut[] = L"C:\\Test\\Tool.lnk";
constexpr wchar_t kPrompt[] = L"C:\\Program Files\\Kelvaro\\KelvaroAuthPrompt.exe";

class FailingAllocations : public DriveTest {
  public:
    FailingAllocations() {
        InstallLibrary();
        Copy(platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\tool.lnk", kShortcut);
        Write(std::wstring(kApplication) + L"\\Lang\\English.ini", "[ShellExt]\nhelp=Help\n");
        WriteRules(R"({"type":"exe","target":"C:\\Apps\\Tool.exe"})");
        SetLocale(L"en-US");
    }

    // Right-clicks with `refusals` allocations refused from the one at `first` on; how many were
    // asked for.
    static size_t RightClick(size_t first, size_t refusals) {
        // Each right-click writes the first line of its log, and makes the directories for it.
        std::filesystem::remove_all(platform::NativePath(kLog).parent_path());
        g_allocations = 0;
        g_firstRefused = first;
        g_refusals = refusals;
        ExerciseEveryEntryPoint(LinkedExports(), kShortcut,
                                [](bool inside) { g_inLibrary = inside; });
        return g_allocations;
    }

    // Every allocation of the right-click refused in turn, alone and with all that follow.
    static void RefuseEach(const char* when) {
        const size_t all = RightClick(SIZE_MAX, 0);
        for (size_t first = 0; first < all; ++first) {
            for (const size_t refusals : {size_t{1}, SIZE_MAX / 2}) {
                RightClick(first, refusals);
                ASSERT_EQ(platform::HeldResources(), "1 module")
                    << when << ", allocation " << first;
            }
        }
        EXPECT_EQ(RightClick(SIZE_MAX, 0), all) << "the next right-click works as the first";
        EXPECT_TRUE(IsTargetLocked(L"C:\\Apps\\Tool.exe"));
        std::printf("%s: %zu allocations were refused in turn, alone and with all that follow\n",
                    when, all);
    }
    MessageBoxes boxes_;
};

TEST_F(FailingAllocations, WithAPromptThatStarts) {
    Copy(platform::BuiltFile("/bin/true"), kPrompt);
    RefuseEach("a prompt that starts");
}

TEST_F(FailingAllocations, WithAPromptThatDoesNotStart) {
    Write(kPrompt, "");
    RefuseEach("a prompt that does not start");
}

TEST_F(FailingAllocations, WithoutAPrompt) {
    RefuseEach("no prompt");
}

}  // namespace
}  // namespace kelvaro
