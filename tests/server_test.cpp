#include <objbase.h>
#include <shlobj.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "common/owners.h"
#include "menu/shell_ext.h"
#include "server/clsid.h"
#include "server/exports.h"
#include "server/module.h"
#include "support/fixture.h"

#ifndef _WIN32
#include "testing/counted_calls.h"
#endif

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

namespace kelvaro {
namespace {

void* const kUntouched = reinterpret_cast<void*>(uintptr_t{0x5A5A});

// Returns `identifier` with its last byte changed.
GUID Neighbour(GUID identifier) {
    identifier.Data4[7] ^= 1;
    return identifier;
}

using Server = DriveTest;

// See "What hosts can rely on" in docs/architecture.md.
TEST_F(Server, RefusesUnknownClassesWithoutTouchingTheResult) {
    void* object = kUntouched;
    for (const CLSID& unknown : {IID_IUnknown, CLSID_ShellLink, Neighbour(kShellExtClsid)}) {
        for (void** const result : {&object, static_cast<void**>(nullptr)}) {
            EXPECT_EQ(DllGetClassObject(unknown, IID_IClassFactory, result),
                      CLASS_E_CLASSNOTAVAILABLE);
        }
    }
    EXPECT_EQ(object, kUntouched);
    EXPECT_EQ(g_objectCount, 0U);
}

constexpr IID kContextMenu2 = {0x000214F4, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

using Create = std::function<HRESULT(const IID&, void**)>;

// Expects that `object` and `create`, which makes another such object, offer `offered` and no other
// interface, and that nothing stays alive after a refusal.
void ExpectInterfaces(IUnknown* object, const std::vector<IID>& offered, const Create& create) {
    const Create query = [&](const IID& iid, void** result) {
        return object->QueryInterface(iid, result);
    };
    const ULONG alive = g_objectCount;
    for (const IID& iid : offered) {
        ComPtr<IUnknown> same;
        ComPtr<IUnknown> another;
        EXPECT_EQ(query(iid, same.Put()), S_OK);
        ASSERT_EQ(create(iid, another.Put()), S_OK);
        EXPECT_NE(another.Get(), same.Get());
        EXPECT_EQ(g_objectCount, alive + 1);
        EXPECT_EQ(another->AddRef(), 2U);
        EXPECT_EQ(another->Release(), 1U);
    }
    for (const IID& known :
         {IID_IUnknown, IID_IClassFactory, IID_IShellExtInit, IID_IContextMenu, kContextMenu2}) {
        for (const IID& iid : {known, Neighbour(known)}) {
            for (const Create& make : {query, create}) {
                if (std::find(offered.begin(), offered.end(), iid) == offered.end()) {
                    void* refused = kUntouched;
                    EXPECT_EQ(make(iid, &refused), E_NOINTERFACE);
                    EXPECT_EQ(refused, nullptr);
                }
                EXPECT_EQ(make(iid, nullptr), E_POINTER);
            }
        }
    }
    EXPECT_EQ(g_objectCount, alive);
}

TEST_F(Server, ObjectsOfferTheirInterfacesAndNoOthers) {
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(DllGetClassObject(kShellExtClsid, IID_IClassFactory, factory.Put()), S_OK);
    ExpectInterfaces(factory.Get(), {IID_IUnknown, IID_IClassFactory},
                     [](const IID& iid, void** object) {
                         return DllGetClassObject(kShellExtClsid, iid, object);
                     });
    ComPtr<IContextMenu> menu;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IContextMenu, menu.Put()), S_OK);
    ExpectInterfaces(menu.Get(), {IID_IUnknown, IID_IShellExtInit, IID_IContextMenu},
                     [&](const IID& iid, void** object) {
                         return factory->CreateInstance(nullptr, iid, object);
                     });
    for (const IID& iid : {IID_IUnknown, IID_IShellExtInit, IID_IDataObject}) {
        void* aggregate = nullptr;
        EXPECT_EQ(factory->CreateInstance(factory.Get(), iid, &aggregate), CLASS_E_NOAGGREGATION);
    }
    EXPECT_EQ(g_objectCount, 2U);
}

TEST_F(Server, BothInterfacesShareOneIdentityAndCount) {
    ComPtr<IContextMenu> menu;
    ComPtr<IUnknown> identity;
    ComPtr<IShellExtInit> init;
    ASSERT_EQ(CreateShellExt(IID_IContextMenu, menu.Put()), S_OK);
    EXPECT_EQ(menu->QueryInterface(IID_IUnknown, identity.Put()), S_OK);
    EXPECT_EQ(identity->QueryInterface(IID_IShellExtInit, init.Put()), S_OK);
    EXPECT_EQ(static_cast<void*>(identity.Get()), static_cast<void*>(init.Get()));
    EXPECT_NE(static_cast<void*>(menu.Get()), static_cast<void*>(init.Get()));
    EXPECT_EQ(menu->AddRef(), 4U);
    EXPECT_EQ(init->Release(), 3U);
}

TEST_F(Server, CanUnloadOnlyIfNothingIsAlive) {
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    {
        ComPtr<IShellExtInit> object;
        {
            ComPtr<IClassFactory> factory;
            DllGetClassObject(kShellExtClsid, IID_IClassFactory, factory.Put());
            EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
            factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put());
        }
        EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    }
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

// See "What hosts can rely on" in docs/architecture.md.
TEST_F(Server, EveryLockCountsAndOutlivesItsFactory) {
    const auto lock = [](BOOL how) {
        ComPtr<IClassFactory> factory;
        DllGetClassObject(kShellExtClsid, IID_IClassFactory, factory.Put());
        EXPECT_EQ(factory->LockServer(how), S_OK);
    };
    for (const BOOL how : {TRUE, 2, 0x10000, -1, INT_MIN}) {
        lock(how);
        lock(how);
        lock(FALSE);
        EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << how;
        lock(FALSE);
        EXPECT_EQ(DllCanUnloadNow(), S_OK) << how;
    }
    // If the count stopped at 0, an unlock that overtakes its lock would keep the library loaded.
    lock(FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    lock(FALSE);
    lock(TRUE);
    lock(TRUE);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST_F(Server, StoresItsModuleOnlyWhenTheProcessAttaches) {
    const auto module = reinterpret_cast<HINSTANCE>(uintptr_t{0x10});
    EXPECT_TRUE(DllMain(module, DLL_PROCESS_ATTACH, nullptr));
    EXPECT_TRUE(DllMain(nullptr, 0, nullptr)) << "the process detaches";
    EXPECT_EQ(g_moduleHandle, module);
}

#ifndef _WIN32

TEST_F(Server, DeclinesThreadNotifications) {
    compat::CountedCalls calls;
    InstallLibrary();  // runs its DllMain
    EXPECT_EQ(calls.Take()["DisableThreadLibraryCalls"], 1U);
}

#endif

}  // namespace
}  // namespace kelvaro
