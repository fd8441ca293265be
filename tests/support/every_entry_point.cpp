#include "support/every_entry_point.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <initializer_list>

#include "common/owners.h"
#include "server/clsid.h"
#include "shell_host/drop_list.h"
#include "shell_host/popup_menu.h"

namespace {

using kelvaro::ComPtr;

// Makes one call into the library. Fails the test if its result is not among `allowed`. Repeats a
// call that got no memory, outside the hook.
template <class Call>
HRESULT CallLibrary(LibraryCallHook hook, const char* what, std::initializer_list<HRESULT> allowed,
                    Call&& call) {
    if (hook != nullptr) {
        hook(true);
    }
    const HRESULT result = call();
    if (hook != nullptr) {
        hook(false);
    }
    EXPECT_NE(std::find(allowed.begin(), allowed.end(), result), allowed.end())
        << what << " returned " << std::hex << result;
    if (hook == nullptr || result != E_OUTOFMEMORY) {
        return result;
    }
    const HRESULT repeated = call();
    EXPECT_TRUE(SUCCEEDED(repeated)) << what << " must work again";
    return repeated;
}

void UseObject(IShellExtInit& object, IDataObject* selection, LibraryCallHook hook) {
    CallLibrary(hook, "Initialize", {S_OK, E_INVALIDARG, E_OUTOFMEMORY},
                [&] { return object.Initialize(nullptr, selection, nullptr); });
    ComPtr<IContextMenu> menu;
    ASSERT_EQ(object.QueryInterface(IID_IContextMenu, menu.Put()), S_OK);
    const shell_host::PopupMenu popup;
    CallLibrary(hook, "QueryContextMenu", {1, E_OUTOFMEMORY}, [&] {
        const HRESULT result = menu->QueryContextMenu(popup.Handle(), 0, 1, 9, CMF_NORMAL);
        // After a failure the shell gives the identifier to the next handler.
        EXPECT_TRUE(SUCCEEDED(result) || popup.Count() <= 0) << "an item was left in the menu";
        return result;
    });
    wchar_t text[80] = {};
    for (const UINT kind : std::initializer_list<UINT>{GCS_VERBW, GCS_HELPTEXTW}) {
        CallLibrary(hook, "GetCommandString", {S_OK, E_OUTOFMEMORY}, [&] {
            return menu->GetCommandString(0, kind, nullptr, reinterpret_cast<LPSTR>(text), 80);
        });
    }
    CMINVOKECOMMANDINFO request = {};
    CallLibrary(hook, "InvokeCommand", {S_OK, E_FAIL, E_OUTOFMEMORY},
                [&] { return menu->InvokeCommand(&request); });
}

}  // namespace

void ExerciseEveryEntryPoint(const Exports& library, const std::wstring& shortcut,
                             LibraryCallHook hook) {
    {
        const ComPtr<IDataObject> selection(shell_host::MakeDropListObject({shortcut}));
        ComPtr<IClassFactory> factory;
        CallLibrary(hook, "DllGetClassObject", {S_OK, E_OUTOFMEMORY}, [&] {
            return library.getClassObject(kelvaro::kShellExtClsid, IID_IClassFactory,
                                          factory.Put());
        });
        ComPtr<IShellExtInit> object;
        if (factory) {
            CallLibrary(hook, "CreateInstance", {S_OK, E_OUTOFMEMORY}, [&] {
                return factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put());
            });
        }
        if (object) {
            UseObject(*object.Get(), selection.Get(), hook);
        }
    }
    EXPECT_EQ(library.canUnloadNow(), S_OK);
    const auto denied = HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);
    const auto noModule = HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
    CallLibrary(hook, "DllRegisterServer", {S_OK, E_FAIL, E_OUTOFMEMORY, denied, noModule},
                [&] { return library.registerServer(); });
    CallLibrary(hook, "DllUnregisterServer", {S_OK, E_FAIL, E_OUTOFMEMORY},
                [&] { return library.unregisterServer(); });
}
