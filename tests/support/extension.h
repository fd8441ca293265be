#pragma once

#include <windows.h>

#include <shlobj.h>

#include <string>
#include <vector>

#include "common/owners.h"
#include "rightclick/right_click.h"
#include "server/exports.h"
#include "shell_host/library.h"

// Makes a right-click with the handler that is registered for the file's class. Fails the test if
// an object is still alive afterwards.
rightclick::Outcome RightClickAsRegistered(const std::wstring& file, bool choose);

// The exports of a library, linked into the test or loaded by it.
struct Exports {
    decltype(&DllGetClassObject) getClassObject;
    decltype(&DllCanUnloadNow) canUnloadNow;
    decltype(&DllRegisterServer) registerServer;
    decltype(&DllUnregisterServer) unregisterServer;
};
Exports LinkedExports();
Exports ExportsOf(const shell_host::Library& library);

// An extension object, called as the shell calls it.
class Extension {
  public:
    // Creates it without the class factory.
    Extension();
    // Creates it with the class factory of `library`.
    explicit Extension(const Exports& library);

    // Calls Initialize with a drop list of `files`, or with `selection`, whose reference it takes
    // over.
    HRESULT Select(const std::vector<std::wstring>& files);
    HRESULT Select(IDataObject* selection);

    // Has it add its item to an empty menu. Returns the text of the item, empty if there is none.
    std::wstring MenuText(UINT flags = CMF_NORMAL);

    // Invokes its command. Returns the result of InvokeCommand.
    HRESULT Choose();

    IContextMenu& Menu() { return *menu_.Get(); }

  private:
    kelvaro::ComPtr<IShellExtInit> init_;
    kelvaro::ComPtr<IContextMenu> menu_;
};
