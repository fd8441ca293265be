// Lets the built DLL run out of memory: once for each of its allocations, that one and all later
// ones fail. Each run has a new thread: a compiler's own runtime library would need memory for a
// thread's first exception.

#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <span>
#include <stdexcept>
#include <vector>

#include "common/owners.h"
#include "server/clsid.h"
#include "shell_host/data_object.h"
#include "support/every_entry_point.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/imports.h"
#include "support/thread.h"

namespace kelvaro {
namespace {

// The allocations of this thread in calls into the DLL.
thread_local bool t_inside = false;
thread_local size_t t_allocations = 0;
thread_local size_t t_firstRefused = SIZE_MAX;

void* Malloc(size_t size) {
    return t_inside && t_allocations++ >= t_firstRefused ? nullptr : std::malloc(size);
}

// Replaces the allocator of a module. check-dll allows no other.
void ReplaceAllocator(HMODULE module) {
    EXPECT_TRUE(SetImport(module, "malloc", reinterpret_cast<void*>(&Malloc)));
}

// Has the DLL throw `count` exceptions on this thread while it gets no memory.
void ThrowInside(const shell_host::Library& library, int count) {
    const auto getClassObject = ExportsOf(library).getClassObject;
    t_firstRefused = 0;
    for (int i = 0; i < count; ++i) {
        ComPtr<IClassFactory> factory;
        t_inside = true;
        EXPECT_EQ(getClassObject(kShellExtClsid, IID_IClassFactory, factory.Put()), E_OUTOFMEMORY);
        t_inside = false;
    }
}

class MemoryExhaustion : public DriveTest {
  public:
    MemoryExhaustion() {
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        WriteApplicationFiles();
    }
};

TEST_F(MemoryExhaustion, EveryEntryPointReportsItAndWorksAgain) {
    const shell_host::Library library(kLibrary);
    ReplaceAllocator(library.Handle());
    for (const char* const prompt : {"cannot be started", "is missing"}) {
        size_t granted = 0;
        size_t wanted = 0;
        do {
            RunOnThread([&] {
                CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
                t_firstRefused = granted;
                ExerciseEveryEntryPoint(ExportsOf(library), kShortcut,
                                        [](bool inside) { t_inside = inside; });
                wanted = t_allocations;
                CoUninitialize();
            });
        } while (wanted > granted++);
        EXPECT_GT(wanted, 0U) << "the prompt " << prompt;
        DeleteFileW(kPrompt.c_str());
    }
}

// Starts `count` threads that call `work`, which must outlive them.
std::vector<HANDLE> StartThreads(size_t count, const std::function<void()>& work) {
    const auto run = [](LPVOID function) -> DWORD {
        (*static_cast<const std::function<void()>*>(function))();
        return 0;
    };
    auto* const argument = const_cast<std::function<void()>*>(&work);
    std::vector<HANDLE> threads(count);
    for (HANDLE& thread : threads) {
        thread = CreateThread(nullptr, 0, run, argument, 0, nullptr);
    }
    return threads;
}

void Join(const std::vector<HANDLE>& threads) {
    for (const HANDLE thread : threads) {
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        CloseHandle(thread);
    }
}

// exceptions.cpp has as many places for threads that throw.
constexpr size_t kPlaces = 64;

// Stands in for RaiseException. Holds up threads that have thrown an exception.
const HANDLE g_goOn = CreateEventW(nullptr, TRUE, FALSE, nullptr);
std::atomic<size_t> g_heldUp = 0;

void WINAPI HoldUp(DWORD code, DWORD flags, DWORD count, const ULONG_PTR* arguments) {
    ++g_heldUp;
    WaitForSingleObject(g_goOn, INFINITE);
    RaiseException(code, flags, count, arguments);
}

// Loads a library, refuses it memory and holds up a thread in each of its places.
struct HeldUpThreads {
    HeldUpThreads() {
        ResetEvent(g_goOn);
        g_heldUp = 0;
        ReplaceAllocator(library.Handle());
        EXPECT_TRUE(
            SetImport(library.Handle(), "RaiseException", reinterpret_cast<void*>(&HoldUp)));
        threads = StartThreads(kPlaces, work);
        while (g_heldUp < kPlaces) {
            Sleep(1);
        }
    }
    const shell_host::Library library{DriveTest::kLibrary};
    const std::function<void()> work = [this] { ThrowInside(library, 1); };
    std::vector<HANDLE> threads;
};

// Ten threads are terminated while they hold a place. A further one waits until the others go on.
// Then more threads than there are places throw again and again.
TEST_F(MemoryExhaustion, ThreadsWaitForPlacesThatOthersGiveBack) {
    const HeldUpThreads held;
    constexpr size_t kEnded = 10;
    for (const HANDLE thread : std::span(held.threads).first(kEnded)) {
        TerminateThread(thread, 0);
    }
    const std::vector<HANDLE> waiting = StartThreads(1, held.work);
    EXPECT_EQ(WaitForSingleObject(waiting[0], 200), DWORD{WAIT_TIMEOUT});
    SetEvent(g_goOn);
    Join(held.threads);
    Join(waiting);
    const std::function<void()> work = [&held] { ThrowInside(held.library, 300); };
    Join(StartThreads(2 * kPlaces, work));
}

// FailFast.ProcessEndsIfAThreadCanNeverThrow runs it.
TEST_F(MemoryExhaustion, DISABLED_AllPlacesStayTaken) {
    const HeldUpThreads held;
    held.work();
}

// A data object of a host that throws, which COM forbids.
struct ThrowingObject : shell_host::DataObject {
    STDMETHODIMP GetData(FORMATETC*, STGMEDIUM*) override { throw std::length_error("host"); }
};

TEST_F(MemoryExhaustion, ExceptionsOfTheHostTakeNoPlaceForLong) {
    const shell_host::Library library(kLibrary);
    constexpr size_t kThreads = 2 * kPlaces;
    std::atomic<size_t> caught = 0;
    const std::function<void()> work = [&library, &caught] {
        EXPECT_EQ(Extension(ExportsOf(library)).Select(new ThrowingObject), E_FAIL);
        ++caught;
        while (caught < kThreads) {
            Sleep(1);
        }
    };
    Join(StartThreads(kThreads, work));
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
        HeapLock(heap);
        while (HeapWalk(heap, &entry)) {
            holdings.blocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? 1 : 0;
        }
        HeapUnlock(heap);
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
            RunOnThread([] {
                const shell_host::Library library(kLibrary);
                ReplaceAllocator(library.Handle());
                ThrowInside(library, 1);
            });
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
