#pragma once

#include <windows.h>

#include <shlobj.h>

#include <string>
#include <vector>

#include "common/owners.h"
#include "rightclick/right_click.h"

// Makes a right-click with the handler that is registered for the file's class. Fails the test if
// an object is still alive afterwards.
rightclick::Outcome RightClickAsRegistered(const std::wstring& file, bool choose);

// An extension object, created without the class factory and called as the shell calls it.
class Extension {
  public:
    Extension();

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
