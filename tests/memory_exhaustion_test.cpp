// Lets the built DLL run out of memory: once for each of its allocations, that one and all later
// ones fail. Each run has a new thread: a compiler's runtime library needs memory for a thread's
// first exception.

#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <optional>
#include <span>

#include "common/owners.h"
#include "server/clsid.h"
#include "shell_host/data_object.h"
#include "support/every_entry_point.h"
#include "support/fixture.h"
#include "support/imports.h"
#include "support/small_stack.h"

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

void* Malloc(size_t size) {
    return t_allocations++ >= t_firstRefused ? nullptr : std::malloc(size);
}

// Replaces the allocator that a module imports. check-dll allows no other.
struct Allocator : ScopedImport {
    explicit Allocator(HMODULE module) : ScopedImport(module, "malloc") {
        Replace(reinterpret_cast<void*>(&Malloc));
    }
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
    static bool CallEverything(const shell_host::Library& library, size_t starved, size_t granted) {
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

    static void StarveEachCall(const shell_host::Library& library, const char* prompt) {
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
    const shell_host::Library library(kLibrary);
    ASSERT_TRUE(library.IsLoaded());
    const Allocator allocator(library.Handle());
    StarveEachCall(library, "the prompt cannot be started");
    DeleteFileW(kPrompt.c_str());
    StarveEachCall(library, "the prompt is missing");
    Write(kPrompt, "");
    ScopedImport createProcess(library.Handle(), "CreateProcessW");
    createProcess.Replace(reinterpret_cast<void*>(&Start));
    StarveEachCall(library, "the prompt starts");
}

// Has the DLL throw `count` exceptions on this thread while it gets no memory.
void ThrowInside(const shell_host::Library& library, int count) {
    const auto getClassObject = ExportsOf(library).getClassObject;
    for (int i = 0; i < count; ++i) {
        ComPtr<IClassFactory> factory;
        RefuseFrom(0);
        EXPECT_EQ(getClassObject(kShellExtClsid, IID_IClassFactory, factory.Put()), E_OUTOFMEMORY);
        EXPECT_TRUE(StopRefusing());
    }
}

// Starts threads that call `work`, which must outlive them.
void StartThreads(const std::function<void()>& work, std::span<HANDLE> threads) {
    const auto run = [](LPVOID function) -> DWORD {
        (*static_cast<const std::function<void()>*>(function))();
        return 0;
    };
    for (HANDLE& thread : threads) {
        auto* const argument = const_cast<std::function<void()>*>(&work);
        thread = CreateThread(nullptr, 0, run, argument, 0, nullptr);
    }
}

void Join(std::span<const HANDLE> threads) {
    for (const HANDLE thread : threads) {
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        CloseHandle(thread);
    }
}

// exceptions.cpp has as many places for threads that throw.
constexpr size_t kPlaces = 64;

// Holds threads up that have thrown an exception.
const HANDLE g_goOn = CreateEventW(nullptr, TRUE, FALSE, nullptr);
std::atomic<size_t> g_heldUp = 0;
decltype(&RaiseException) g_raiseException = nullptr;

void WINAPI HoldUp(DWORD code, DWORD flags, DWORD count, const ULONG_PTR* arguments) {
    ++g_heldUp;
    WaitForSingleObject(g_goOn, INFINITE);
    g_raiseException(code, flags, count, arguments);
}

// Loads a library, refuses it memory and holds up a thread in each of its places.
struct HeldUpThreads {
    HeldUpThreads() {
        ResetEvent(g_goOn);
        g_heldUp = 0;
        g_raiseException = reinterpret_cast<decltype(&RaiseException)>(raise.Original());
        raise.Replace(reinterpret_cast<void*>(&HoldUp));
        StartThreads(work, threads);
        while (g_heldUp < kPlaces) {
            Sleep(1);
        }
    }
    const shell_host::Library library{DriveTest::kLibrary};
    const Allocator allocator{library.Handle()};
    ScopedImport raise{library.Handle(), "RaiseException"};
    const std::function<void()> work = [this] { ThrowInside(library, 1); };
    HANDLE threads[kPlaces] = {};
};

// Some threads end inside. A further one waits until the others go on. Then more threads than there
// are places throw again and again.
TEST_F(MemoryExhaustion, ThreadsWaitForPlacesThatOthersGiveBack) {
    HANDLE many[2 * kPlaces] = {};
    HeldUpThreads held;
    constexpr size_t kEnded = 10;
    for (const HANDLE thread : std::span(held.threads, kEnded)) {
        TerminateThread(thread, 0);
    }
    HANDLE waiting[1] = {};
    StartThreads(held.work, waiting);
    EXPECT_EQ(WaitForSingleObject(waiting[0], 200), DWORD{WAIT_TIMEOUT});
    SetEvent(g_goOn);
    Join(held.threads);
    Join(waiting);
    const std::function<void()> work = [&held] { ThrowInside(held.library, 300); };
    StartThreads(work, many);
    Join(many);
}

// FailFast.ProcessEndsIfAllPlacesStayTaken runs it.
TEST_F(MemoryExhaustion, DISABLED_AllPlacesStayTaken) {
    HeldUpThreads held;
    held.work();
}

// COM forbids what this data object of a host does.
struct ThrowingObject : shell_host::DataObject {
    STDMETHODIMP GetData(FORMATETC*, STGMEDIUM*) override { throw std::length_error("host"); }
};

TEST_F(MemoryExhaustion, ExceptionsOfTheHostTakeNoPlaceForLong) {
    const shell_host::Library library(kLibrary);
    ResetEvent(g_goOn);
    g_heldUp = 0;
    const std::function<void()> work = [&library] {
        const ComPtr<IDataObject> selection(new ThrowingObject);
        ComPtr<IClassFactory> factory;
        ComPtr<IShellExtInit> object;
        ExportsOf(library).getClassObject(kShellExtClsid, IID_IClassFactory, factory.Put());
        factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put());
        EXPECT_EQ(object->Initialize(nullptr, selection.Get(), nullptr), E_FAIL);
        ++g_heldUp;
        WaitForSingleObject(g_goOn, INFINITE);
    };
    HANDLE threads[2 * kPlaces] = {};
    StartThreads(work, threads);
    while (g_heldUp < std::size(threads)) {
        Sleep(1);
    }
    SetEvent(g_goOn);
    Join(threads);
}

TEST_F(MemoryExhaustion, TheLibraryLoadsWithoutMemory) {
    std::optional<Allocator> allocator;
    const LibraryLoads loads([&allocator](HMODULE module) {
        // Must not write to an import table that no longer exists.
        allocator.reset();
        if (module != nullptr) {
            allocator.emplace(module);
            RefuseFrom(0);
        }
    });
    const shell_host::Library library(kLibrary);
    EXPECT_FALSE(StopRefusing());
    ASSERT_TRUE(library.IsLoaded());
    RunOnSmallStack([&] { ThrowInside(library, 1); });
    CallEverything(library, SIZE_MAX, 0);
}

// What a process holds.
struct Holdings {
    size_t blocks = 0;  // of the heaps
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
            const shell_host::Library library(kLibrary);
            const Allocator allocator(library.Handle());
            RunOnSmallStack([&] { ThrowInside(library, 1); });
        }
        ASSERT_EQ(GetModuleHandleW(L"KelvaroShellExt.dll"), nullptr);
    };
    load();
    const Holdings before = CountHoldings();
    load();
    const Holdings after = CountHoldings();
    EXPECT_LT(after.blocks, before.blocks + kLoads);
    EXPECT_LT(after.handles, before.handles + kLoads);
}

}  // namespace
}  // namespace kelvaro
