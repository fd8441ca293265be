#include "support/whole_ride.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <shlobj.h>

#include "common/owners.h"
#include "rightclick/drop_list.h"
#include "server/clsid.h"
#include "server/module.h"

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv);
STDAPI DllRegisterServer();
STDAPI DllUnregisterServer();

namespace {

using kelvaro::ComPtr;

void RideObject(IShellExtInit& object, IDataObject* selection) {
    const HRESULT initialized = object.Initialize(nullptr, selection, nullptr);
    EXPECT_TRUE(initialized == S_OK || initialized == E_INVALIDARG || initialized == E_OUTOFMEMORY)
        << std::hex << initialized;
    ComPtr<IContextMenu> menu;
    ASSERT_EQ(object.QueryInterface(IID_IContextMenu, menu.Receive()), S_OK);
    const HMENU popup = CreatePopupMenu();
    const HRESULT queried = menu->QueryContextMenu(popup, 0, 1, 9, CMF_NORMAL);
    EXPECT_TRUE(queried == 1 || queried == E_OUTOFMEMORY) << std::hex << queried;
    DestroyMenu(popup);
    wchar_t text[80] = {};
    for (const UINT kind : {GCS_VERBW, GCS_HELPTEXTW}) {
        const HRESULT named =
            menu->GetCommandString(0, kind, nullptr, reinterpret_cast<LPSTR>(text), 80);
        EXPECT_TRUE(named == S_OK || named == E_OUTOFMEMORY) << std::hex << named;
    }
    CMINVOKECOMMANDINFO request = {};
    const HRESULT invoked = menu->InvokeCommand(&request);
    EXPECT_TRUE(invoked == S_OK || invoked == E_FAIL || invoked == E_OUTOFMEMORY)
        << std::hex << invoked;
}

}  // namespace

void TakeWholeRide(const std::wstring& shortcut) {
    {
        ComPtr<IDataObject> selection;
        *selection.Receive() = rightclick::MakeDropListObject({shortcut});
        ComPtr<IClassFactory> factory;
        const HRESULT made =
            DllGetClassObject(kelvaro::kShellExtClsid, IID_IClassFactory, factory.Receive());
        EXPECT_TRUE(made == S_OK || made == E_OUTOFMEMORY) << std::hex << made;
        ComPtr<IShellExtInit> object;
        if (factory) {
            factory->CreateInstance(nullptr, IID_IShellExtInit, object.Receive());
        }
        if (object) {
            RideObject(*object.Get(), selection.Get());
        }
    }
    EXPECT_EQ(kelvaro::g_objectCount, 0U);
    DllRegisterServer();
    DllUnregisterServer();
}
