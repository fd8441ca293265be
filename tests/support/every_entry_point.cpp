#include "support/every_entry_point.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <initializer_list>

#include "common/owners.h"
#include "rightclick/drop_list.h"
#include "server/clsid.h"
STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv);
STDAPI DllCanUnloadNow();
STDAPI DllRegisterServer();
STDAPI DllUnregisterServer();

namespace {

using kelvaro::ComPtr;

// Calls the library through the gate and holds its result against those it may give.
template <class Call>
HRESULT Enter(Gate gate, const char* what, std::initializer_list<HRESULT> allowed, Call&& call) {
    if (gate != nullptr) {
        gate(true);
    }
    const HRESULT result = call();
    if (gate != nullptr) {
        gate(false);
    }
    EXPECT_NE(std::find(allowed.begin(), allowed.end(), result), allowed.end())
        << what << " gave " << std::hex << result;
    return result;
}

void UseObject(IShellExtInit& object, IDataObject* selection, Gate gate) {
    Enter(gate, "Initialize", {S_OK, E_INVALIDARG, E_OUTOFMEMORY},
          [&] { return object.Initialize(nullptr, selection, nullptr); });
    ComPtr<IContextMenu> menu;
    ASSERT_EQ(object.QueryInterface(IID_IContextMenu, menu.Put()), S_OK);
    const HMENU popup = CreatePopupMenu();
    Enter(gate, "QueryContextMenu", {1, E_OUTOFMEMORY},
          [&] { return menu->QueryContextMenu(popup, 0, 1, 9, CMF_NORMAL); });
    DestroyMenu(popup);
    wchar_t text[80] = {};
    for (const UINT kind : std::initializer_list<UINT>{GCS_VERBW, GCS_HELPTEXTW}) {
        Enter(gate, "GetCommandString", {S_OK, E_OUTOFMEMORY}, [&] {
            return menu->GetCommandString(0, kind, nullptr, reinterpret_cast<LPSTR>(text), 80);
        });
    }
    CMINVOKECOMMANDINFO request = {};
    Enter(gate, "InvokeCommand", {S_OK, E_FAIL, E_OUTOFMEMORY},
          [&] { return menu->InvokeCommand(&request); });
}

}  // namespace

Exports LinkedExports() {
    return {DllGetClassObject, DllCanUnloadNow, DllRegisterServer, DllUnregisterServer};
}

void ExerciseEveryEntryPoint(const Exports& library, const std::wstring& shortcut, Gate gate) {
    {
        const ComPtr<IDataObject> selection(rightclick::MakeDropListObject({shortcut}));
        ComPtr<IClassFactory> factory;
        Enter(gate, "DllGetClassObject", {S_OK, E_OUTOFMEMORY}, [&] {
            return library.getClassObject(kelvaro::kShellExtClsid, IID_IClassFactory,
                                          factory.Put());
        });
        ComPtr<IShellExtInit> object;
        if (factory) {
            Enter(gate, "CreateInstance", {S_OK, E_OUTOFMEMORY}, [&] {
                return factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put());
            });
        }
        if (object) {
            UseObject(*object.Get(), selection.Get(), gate);
        }
    }
    EXPECT_EQ(library.canUnloadNow(), S_OK);
    const auto denied = HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);
    const auto noModule = HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
    Enter(gate, "DllRegisterServer", {S_OK, E_FAIL, E_OUTOFMEMORY, denied, noModule},
          [&] { return library.registerServer(); });
    Enter(gate, "DllUnregisterServer", {S_OK, E_FAIL, E_OUTOFMEMORY},
          [&] { return library.unregisterServer(); });
}
