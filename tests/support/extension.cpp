#include "support/extension.h"

#include <gtest/gtest.h>

#include "menu/shell_ext.h"
#include "server/clsid.h"
#include "shell_host/drop_list.h"
#include "shell_host/popup_menu.h"

using kelvaro::ComPtr;

rightclick::Outcome RightClickAsRegistered(const std::wstring& file, bool choose) {
    const auto handler = rightclick::FindHandler(rightclick::ClassOfFile(file));
    rightclick::Options options;
    options.files = {file};
    options.choose = choose;
    rightclick::Outcome outcome;
    if (handler) {
        outcome = rightclick::RightClick(*handler, options);
        EXPECT_EQ(outcome.canUnload, S_OK) << "an object is still alive";
    }
    return outcome;
}

Exports ExportsOf(const shell_host::Library& library) {
    return {library.Export<decltype(Exports::getClassObject)>("DllGetClassObject"),
            library.Export<decltype(Exports::canUnloadNow)>("DllCanUnloadNow"),
            library.Export<decltype(Exports::registerServer)>("DllRegisterServer"),
            library.Export<decltype(Exports::unregisterServer)>("DllUnregisterServer")};
}

Exports LinkedExports() {
    return {DllGetClassObject, DllCanUnloadNow, DllRegisterServer, DllUnregisterServer};
}

Extension::Extension() {
    EXPECT_EQ(kelvaro::CreateShellExt(IID_IShellExtInit, init_.Put()), S_OK);
    EXPECT_EQ(init_->QueryInterface(IID_IContextMenu, menu_.Put()), S_OK);
}

Extension::Extension(const Exports& library) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(library.getClassObject(kelvaro::kShellExtClsid, IID_IClassFactory, factory.Put()),
              S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IShellExtInit, init_.Put()), S_OK);
    EXPECT_EQ(init_->QueryInterface(IID_IContextMenu, menu_.Put()), S_OK);
}

HRESULT Extension::Select(const std::vector<std::wstring>& files) {
    return Select(shell_host::MakeDropListObject(files));
}

HRESULT Extension::Select(IDataObject* selection) {
    const ComPtr<IDataObject> owner(selection);
    // The folder and the key of the file type, which the extension does not use.
    const void* const unused = this;
    return init_->Initialize(static_cast<LPCITEMIDLIST>(unused), selection, HKEY_CLASSES_ROOT);
}

std::wstring Extension::MenuText(UINT flags) {
    const shell_host::PopupMenu menu;
    const HRESULT result = menu_->QueryContextMenu(menu.Handle(), 0, 1, 0x7FFF, flags);
    EXPECT_EQ(result, menu.Count());
    return menu.Count() == 1 ? menu.Text(0) : L"";
}

HRESULT Extension::Choose() {
    CMINVOKECOMMANDINFO request = {};
    return menu_->InvokeCommand(&request);
}
