// Refuses memory to the built DLL: for each of its allocations this one and all later ones, on a
// thread that has thrown no exception before.

#include <windows.h>

#include <cxxabi.h>
#include <shlobj.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>
#include <span>

#include "common/owners.h"
#include "rightclick/drop_list.h"
#include "rightclick/library.h"
#include "rightclick/popup_menu.h"
#include "server/clsid.h"
#include "server/exports.h"
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
class Allocators {
  public:
    explicit Allocators(HMODULE module)
        : malloc_(module, "malloc"), calloc_(module, "calloc"), realloc_(module, "realloc") {
        malloc_.Replace(reinterpret_cast<void*>(&Malloc));
        calloc_.Replace(reinterpret_cast<void*>(&Calloc));
        realloc_.Replace(reinterpret_cast<void*>(&Realloc));
    }

  private:
    ScopedImport malloc_;
    ScopedImport calloc_;
    ScopedImport realloc_;
};

// Replaces the allocators of the DLL when it has been mapped, before its start-up code runs, until
// the end of the scope.
class AllocatorsAtLoad {
  public:
    AllocatorsAtLoad() {
        const auto add =
            Function<LONG(WINAPI*)(ULONG, Callback*, void*, void**)>("LdrRegisterDllNotification");
        EXPECT_EQ(add(0, &Loaded, this, &cookie_), 0);
    }
    ~AllocatorsAtLoad() { Function<LONG(WINAPI*)(void*)>("LdrUnregisterDllNotification")(cookie_); }
    AllocatorsAtLoad(const AllocatorsAtLoad&) = delete;
    AllocatorsAtLoad& operator=(const AllocatorsAtLoad&) = delete;

  private:
    struct UnicodeString {
        USHORT length;  // in bytes
        USHORT capacity;
        const wchar_t* text;
    };
    struct Notification {
        ULONG flags;
        const UnicodeString* path;
        const UnicodeString* name;
        HMODULE module;
        ULONG size;
    };
    using Callback = void CALLBACK(ULONG, const Notification*, void*);

    // No header declares these functions of ntdll.dll.
    template <class Pointer>
    static Pointer Function(const char* name) {
        return reinterpret_cast<Pointer>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
    }

    static void CALLBACK Loaded(ULONG reason, const Notification* notification, void* self) {
        constexpr ULONG kLoaded = 1;
        const std::wstring_view name(notification->name->text,
                                     notification->name->length / sizeof(wchar_t));
        auto& allocators = static_cast<AllocatorsAtLoad*>(self)->allocators_;
        if (name == L"KelvaroShellExt.dll") {
            // Must not write to an import table that no longer exists.
            allocators.reset();
            if (reason == kLoaded) {
                allocators.emplace(notification->module);
            }
        }
    }

    std::optional<Allocators> allocators_;
    void* cookie_ = nullptr;
};

// A host that has created a factory and an object and initialised it with kShortcut.
class Host {
  public:
    explicit Host(const rightclick::Library& library)
        : getClassObject(library.Export<decltype(&DllGetClassObject)>("DllGetClassObject")),
          canUnloadNow(library.Export<decltype(&DllCanUnloadNow)>("DllCanUnloadNow")),
          registerServer(library.Export<decltype(&DllRegisterServer)>("DllRegisterServer")),
          unregisterServer(library.Export<decltype(&DllUnregisterServer)>("DllUnregisterServer")) {
        EXPECT_EQ(getClassObject(kShellExtClsid, IID_IClassFactory, factory.Put()), S_OK);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put()), S_OK);
        EXPECT_EQ(object->QueryInterface(IID_IContextMenu, menu.Put()), S_OK);
        EXPECT_EQ(object->Initialize(nullptr, selection.Get(), nullptr), S_OK);
    }

    decltype(&DllGetClassObject) getClassObject;
    decltype(&DllCanUnloadNow) canUnloadNow;
    decltype(&DllRegisterServer) registerServer;
    decltype(&DllUnregisterServer) unregisterServer;
    ComPtr<IDataObject> selection{rightclick::MakeDropListObject({DriveTest::kShortcut})};
    ComPtr<IClassFactory> factory;
    ComPtr<IShellExtInit> object;
    ComPtr<IContextMenu> menu;
    rightclick::PopupMenu popup;
};

HRESULT GetText(Host& host, UINT kind) {
    wchar_t text[80] = {};
    return host.menu->GetCommandString(0, kind, nullptr, reinterpret_cast<LPSTR>(text), 80);
}

HRESULT Invoke(Host& host) {
    CMINVOKECOMMANDINFO request = {};
    return host.menu->InvokeCommand(&request);
}

struct EntryPoint {
    const char* name;
    HRESULT (*call)(Host& host);
    bool allocates = true;
};

constexpr EntryPoint kEntryPoints[] = {
    {"DllGetClassObject",
     [](Host& host) {
         ComPtr<IClassFactory> factory;
         return host.getClassObject(kShellExtClsid, IID_IClassFactory, factory.Put());
     }},
    {"CreateInstance",
     [](Host& host) {
         ComPtr<IContextMenu> menu;
         return host.factory->CreateInstance(nullptr, IID_IContextMenu, menu.Put());
     }},
    {"LockServer",
     [](Host& host) {
         host.factory->LockServer(TRUE);
         return host.factory->LockServer(FALSE);
     },
     false},
    {"Initialize",
     [](Host& host) { return host.object->Initialize(nullptr, host.selection.Get(), nullptr); }},
    {"QueryContextMenu",
     [](Host& host) {
         return host.menu->QueryContextMenu(host.popup.Handle(), 0, 1, 9, CMF_NORMAL);
     }},
    {"GetCommandString, verb", [](Host& host) { return GetText(host, GCS_VERBW); }, false},
    {"GetCommandString, help text", [](Host& host) { return GetText(host, GCS_HELPTEXTW); }},
    {"InvokeCommand", &Invoke},
    {"DllRegisterServer", [](Host& host) { return host.registerServer(); }},
    {"DllUnregisterServer", [](Host& host) { return host.unregisterServer(); }},
};

class MemoryExhaustion : public DriveTest {
  public:
    MemoryExhaustion() {
        Copy(platform::BuiltFile(KELVARO_LIBRARY), kLibrary);
        WriteApplicationFiles();
    }

    // Calls `work` on a thread of its own that has initialised COM.
    static void OnFreshThread(const std::function<void()>& work) {
        RunOnSmallStack([&] {
            CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
            work();
            CoUninitialize();
        });
    }
};

// Calls `entry` with `granted` allocations, then without a limit. Returns whether one was refused.
bool CallWithoutMemory(Host& host, const EntryPoint& entry, size_t granted) {
    const int items = host.popup.Count();
    RefuseFrom(granted);
    const HRESULT result = entry.call(host);
    const bool refused = StopRefusing();
    const bool allowed =
        SUCCEEDED(result) || result == E_OUTOFMEMORY || (entry.call == &Invoke && result == E_FAIL);
    EXPECT_TRUE(allowed) << entry.name << ", " << granted << " allocations: " << std::hex << result;
    if (FAILED(result)) {
        EXPECT_EQ(host.popup.Count(), items) << "an item was left in the menu";
    }
    EXPECT_TRUE(SUCCEEDED(entry.call(host))) << entry.name << " must work again";
    return refused;
}

// Calls each entry point with no, one, two ... allocations granted, each time on a fresh thread.
// Returns the number of calls.
int CallEachWithoutMemory(const rightclick::Library& library) {
    int calls = 0;
    for (const EntryPoint& entry : kEntryPoints) {
        bool refused = true;
        size_t granted = 0;
        for (; refused; ++granted, ++calls) {
            MemoryExhaustion::OnFreshThread([&] {
                Host host(library);
                refused = CallWithoutMemory(host, entry, granted);
            });
        }
        EXPECT_EQ(granted > 1, entry.allocates) << entry.name;
    }
    EXPECT_EQ(library.Export<decltype(&DllCanUnloadNow)>("DllCanUnloadNow")(), S_OK);
    return calls;
}

TEST_F(MemoryExhaustion, EveryEntryPointReportsItAndWorksAgain) {
    const rightclick::Library library(kLibrary);
    ASSERT_TRUE(library.IsLoaded());
    const Allocators allocators(library.Handle());
    ScopedImport messageBox(library.Handle(), "MessageBoxW");
    messageBox.Replace(
        reinterpret_cast<void*>(+[](HWND, LPCWSTR, LPCWSTR, UINT) WINAPI { return IDOK; }));
    int calls = CallEachWithoutMemory(library);  // the prompt cannot be started
    DeleteFileW(kPrompt);
    calls += CallEachWithoutMemory(library);
    Copy(L"C:\\windows\\system32\\hostname.exe", kPrompt);
    calls += CallEachWithoutMemory(library);
    std::printf("made %d calls without memory\n", calls);
}

// Has the DLL throw `count` exceptions on this thread while it gets no memory.
void ThrowInside(const rightclick::Library& library, int count) {
    const auto getClassObject = library.Export<decltype(&DllGetClassObject)>("DllGetClassObject");
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
    const AllocatorsAtLoad allocators;
    bool refused = true;
    size_t granted = 0;
    for (; refused; ++granted) {
        RefuseFrom(granted);
        const rightclick::Library library(kLibrary);
        refused = StopRefusing();
        if (library.IsLoaded()) {
            OnFreshThread([&] {
                ThrowInside(library, 1);
                Host host(library);
                EXPECT_EQ(Invoke(host), S_OK);
            });
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
            OnFreshThread([&] { ThrowInside(library, 1); });
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
