// Refuses memory to the built DLL: for each of its allocations this one and all later ones, on a
// thread that has thrown no exception before.

#include <windows.h>

#include <cxxabi.h>
#include <shlobj.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <span>

#include "common/owners.h"
#include "server/clsid.h"
#include "support/every_entry_point.h"
#include "support/fixture.h"
#include "support/imports.h"
#include "support/small_stack.h"
#include "windows/exceptions.h"

namespace kelvaro {
namespace {

thread_local size_t t_allocations = 0;          // of this thread since its last call of RefuseFrom
thread_local size_t t_firstRefused = SIZE_MAX;  // the number of the first that gets no memory

// Refuses all allocations of this thread that follow, except for the first `granted`.
void RefuseFrom(size_t granted) {
    t_allocations = 0;
    t_firstRefused = granted;
}

// Grants all allocations that follow. Returns whether one was refused.
bool StopRefusing() {
    const bool refused = t_allocations > t_firstRefused;
    t_firstRefused = SIZE_MAX;
    return refused;
}

bool IsRefused() {
    return t_allocations++ >= t_firstRefused;
}

void* Malloc(size_t size) {
    return IsRefused() ? nullptr : std::malloc(size);
}

void* Calloc(size_t count, size_t size) {
    return IsRefused() ? nullptr : std::calloc(count, size);
}

void* Realloc(void* memory, size_t size) {
    return IsRefused() ? nullptr : std::realloc(memory, size);
}

// Replaces the allocators that a module imports.
struct Allocators {
    explicit Allocators(HMODULE module)
        : imports{{module, "malloc"}, {module, "calloc"}, {module, "realloc"}} {
        imports[0].Replace(reinterpret_cast<void*>(&Malloc));
        imports[1].Replace(reinterpret_cast<void*>(&Calloc));
        imports[2].Replace(reinterpret_cast<void*>(&Realloc));
    }
    ScopedImport imports[3];
};

// Which call into the DLL gets no memory, and how many allocations it is granted.
size_t g_calls = 0;
size_t g_starved = SIZE_MAX;
size_t g_granted = 0;
bool g_wasRefused = false;

void StarveOneCall(bool inside) {
    if (inside && g_calls++ == g_starved) {
        RefuseFrom(g_granted);
    } else if (!inside) {
        g_wasRefused = StopRefusing() || g_wasRefused;
    }
}

// Stands in for CreateProcessW. Starts nothing.
BOOL WINAPI Start(LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD,
                  LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION) {
    return TRUE;
}

class MemoryExhaustion : public DriveTest {
  public:
    MemoryExhaustion() {
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        WriteApplicationFiles();
    }

    // Makes every call on a thread of its own. Call number `starved` is granted `granted`
    // allocations. Returns whether it was refused one.
    static bool CallEverything(const rightclick::Library& library, size_t starved, size_t granted) {
        g_calls = 0;
        g_starved = starved;
        g_granted = granted;
        g_wasRefused = false;
        RunOnSmallStack([&] {
            CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
            ExerciseEveryEntryPoint(ExportsOf(library), kShortcut, StarveOneCall);
            CoUninitialize();
        });
        return g_wasRefused;
    }

    static void StarveEachCall(const rightclick::Library& library, const char* prompt) {
        size_t rounds = 0;
        CallEverything(library, SIZE_MAX, 0);
        const size_t calls = g_calls;
        for (size_t call = 0; call < calls; ++call) {
            for (size_t granted = 0; CallEverything(library, call, granted); ++granted, ++rounds) {
            }
        }
        EXPECT_GT(rounds, 2 * calls);
        std::printf("%s: %zu calls, %zu times without memory\n", prompt, calls, rounds);
    }
};

TEST_F(MemoryExhaustion, EveryEntryPointReportsItAndWorksAgain) {
    const rightclick::Library library(kLibrary);
    ASSERT_TRUE(library.IsLoaded());
    const Allocators allocators(library.Handle());
    StarveEachCall(library, "the prompt cannot be started");
    DeleteFileW(kPrompt.c_str());
    StarveEachCall(library, "the prompt is missing");
    Write(kPrompt, "");
    ScopedImport createProcess(library.Handle(), "CreateProcessW");
    createProcess.Replace(reinterpret_cast<void*>(&Start));
    StarveEachCall(library, "the prompt starts");
}

// Has the DLL throw `count` exceptions on this thread while it gets no memory.
void ThrowInside(const rightclick::Library& library, int count) {
    const auto getClassObject = ExportsOf(library).getClassObject;
    for (int i = 0; i < count; ++i) {
        ComPtr<IClassFactory> factory;
        RefuseFrom(0);
        EXPECT_EQ(getClassObject(kShellExtClsid, IID_IClassFactory, factory.Put()), E_OUTOFMEMORY);
        EXPECT_TRUE(StopRefusing());
    }
}

TEST_F(MemoryExhaustion, ManyThreadsThrowAtOnce) {
    rightclick::Library library(kLibrary);
    const Allocators allocators(library.Handle());
    const auto run = [](LPVOID loaded) -> DWORD {
        ThrowInside(*static_cast<const rightclick::Library*>(loaded), 5000);
        return 0;
    };
    HANDLE handles[32] = {};
    for (HANDLE& thread : handles) {
        thread = CreateThread(nullptr, 0, run, &library, 0, nullptr);
    }
    EXPECT_EQ(WaitForMultipleObjects(std::size(handles), handles, TRUE, INFINITE), WAIT_OBJECT_0);
    std::for_each(std::begin(handles), std::end(handles), &CloseHandle);
}

TEST_F(MemoryExhaustion, TheLibraryLoadsOrIsRefusedAndThenWorks) {
    std::optional<Allocators> allocators;
    const LibraryLoads loads([&allocators](HMODULE module) {
        // Must not write to an import table that no longer exists.
        allocators.reset();
        if (module != nullptr) {
            allocators.emplace(module);
        }
    });
    bool refused = true;
    size_t granted = 0;
    for (; refused; ++granted) {
        RefuseFrom(granted);
        const rightclick::Library library(kLibrary);
        refused = StopRefusing();
        if (library.IsLoaded()) {
            RunOnSmallStack([&] { ThrowInside(library, 1); });
            CallEverything(library, SIZE_MAX, 0);
        } else {
            EXPECT_TRUE(refused);
        }
    }
    std::printf("loaded the library with up to %zu allocations\n", granted - 1);
}

// What a process holds.
struct Holdings {
    size_t blocks = 0;     // of the heaps
    size_t freeSlots = 0;  // of thread-local storage
    size_t handles = 0;
};

Holdings CountHoldings() {
    Holdings holdings;
    HANDLE heaps[64] = {};
    const DWORD count = std::min<DWORD>(GetProcessHeaps(std::size(heaps), heaps), std::size(heaps));
    for (const HANDLE heap : std::span(heaps, count)) {
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heap, &entry)) {
            holdings.blocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? 1 : 0;
        }
    }
    std::vector<DWORD> slots;
    for (DWORD slot = 0; (slot = TlsAlloc()) != TLS_OUT_OF_INDEXES;) {
        slots.push_back(slot);
    }
    std::for_each(slots.begin(), slots.end(), &TlsFree);
    holdings.freeSlots = slots.size();
    // Wine's GetProcessHandleCount returns 0.
    constexpr uintptr_t kMaxHandle = 0x4000;
    for (uintptr_t handle = 4; handle < kMaxHandle; handle += 4) {
        DWORD flags = 0;
        holdings.handles += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) ? 1 : 0;
    }
    return holdings;
}

TEST_F(MemoryExhaustion, ALoadWithAnExceptionLeavesNothing) {
    constexpr size_t kLoads = 100;
    const auto load = [] {
        for (size_t i = 0; i < kLoads; ++i) {
            const rightclick::Library library(kLibrary);
            const Allocators allocators(library.Handle());
            RunOnSmallStack([&] { ThrowInside(library, 1); });
        }
        ASSERT_EQ(GetModuleHandleW(L"KelvaroShellExt.dll"), nullptr);
    };
    load();
    const Holdings before = CountHoldings();
    load();
    const Holdings after = CountHoldings();
    EXPECT_LT(after.blocks, before.blocks + kLoads);
    EXPECT_EQ(after.freeSlots, before.freeSlots);
    EXPECT_LT(after.handles, before.handles + kLoads);
}

// exceptions.cpp leaves room for the header that the runtime library writes in front of an
// exception object. This program has the runtime library's own allocation.
TEST(ExceptionHeader, FitsIntoItsRoom) {
    static std::byte* block = nullptr;
    ScopedImport import(GetModuleHandleW(nullptr), "malloc");
    import.Replace(reinterpret_cast<void*>(+[](size_t size) -> void* {
        block = static_cast<std::byte*>(std::calloc(1, size));
        return block;
    }));
    void* const object = abi::__cxa_allocate_exception(1);
    import.Replace(import.Original());
    ASSERT_NE(block, nullptr);
    const auto header = static_cast<std::byte*>(object) - block;
    EXPECT_GT(header, 0);
    EXPECT_LE(static_cast<size_t>(header), kExceptionHeaderRoom);
    std::printf("the header takes %td bytes\n", header);
    abi::__cxa_free_exception(object);
}

}  // namespace
}  // namespace kelvaro
