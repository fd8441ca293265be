#include <objbase.h>
#include <shlobj.h>

#include "common/owners.h"
#include "menu/shell_ext.h"
#include "server/clsid.h"
#include "server/exports.h"
#include "server/module.h"
#include "support/fixture.h"

#ifndef _WIN32
#include "testing/counted_calls.h"
#endif

namespace kelvaro {
namespace {

void* const kUntouched = reinterpret_cast<void*>(uintptr_t{0x5A5A});

using Server = DriveTest;

TEST_F(Server, RejectsUnknownClassesAndInterfaces) {
    void* object = kUntouched;
    EXPECT_EQ(DllGetClassObject(IID_IUnknown, IID_IClassFactory, &object),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, kUntouched);
    EXPECT_EQ(DllGetClassObject(kShellExtClsid, IID_IContextMenu, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(DllGetClassObject(kShellExtClsid, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(g_objectCount, 0U);
}

TEST_F(Server, CreatesANewFactoryForEachRequest) {
    ComPtr<IClassFactory> first;
    ComPtr<IUnknown> second;
    EXPECT_EQ(DllGetClassObject(kShellExtClsid, IID_IClassFactory, first.Put()), S_OK);
    EXPECT_EQ(DllGetClassObject(kShellExtClsid, IID_IUnknown, second.Put()), S_OK);
    EXPECT_NE(static_cast<IUnknown*>(first.Get()), second.Get());
    EXPECT_EQ(g_objectCount, 2U);
    EXPECT_EQ(first->AddRef(), 2U);
    EXPECT_EQ(first->Release(), 1U);
    void* object = kUntouched;
    EXPECT_EQ(first->QueryInterface(IID_IShellExtInit, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(first->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(Server, CreatesObjectsWithTwoInterfacesAndOneIdentity) {
    ComPtr<IClassFactory> factory;
    DllGetClassObject(kShellExtClsid, IID_IClassFactory, factory.Put());
    void* nothing = kUntouched;
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, &nothing),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, &nothing), E_NOINTERFACE);
    EXPECT_EQ(nothing, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(g_objectCount, 1U) << "only the factory";

    ComPtr<IContextMenu> menu;
    ComPtr<IUnknown> identity;
    ComPtr<IUnknown> sameIdentity;
    ComPtr<IShellExtInit> init;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IContextMenu, menu.Put()), S_OK);
    EXPECT_EQ(menu->QueryInterface(IID_IUnknown, identity.Put()), S_OK);
    EXPECT_EQ(identity->QueryInterface(IID_IShellExtInit, init.Put()), S_OK);
    EXPECT_EQ(init->QueryInterface(IID_IUnknown, sameIdentity.Put()), S_OK);
    EXPECT_EQ(identity.Get(), sameIdentity.Get());
    EXPECT_EQ(static_cast<void*>(identity.Get()), static_cast<void*>(init.Get()));
    EXPECT_NE(static_cast<void*>(menu.Get()), static_cast<void*>(init.Get()));
    EXPECT_EQ(menu->QueryInterface(IID_IContextMenu, nullptr), E_POINTER);
    EXPECT_EQ(menu->QueryInterface(IID_IDataObject, &nothing), E_NOINTERFACE);
    EXPECT_EQ(menu->AddRef(), 5U);
    EXPECT_EQ(init->Release(), 4U) << "both interfaces share one count";
    EXPECT_EQ(g_objectCount, 2U);
}

TEST_F(Server, CanUnloadOnceNothingIsAlive) {
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    IClassFactory* factory = nullptr;
    DllGetClassObject(kShellExtClsid, IID_IClassFactory, reinterpret_cast<void**>(&factory));
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    IShellExtInit* object = nullptr;
    factory->CreateInstance(nullptr, IID_IShellExtInit, reinterpret_cast<void**>(&object));
    EXPECT_EQ(g_objectCount, 3U);
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    factory->LockServer(FALSE);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(g_objectCount, 0U) << "unlocking is not matched against earlier locks";
    factory->LockServer(TRUE);
    EXPECT_EQ(factory->Release(), 0U);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
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
