#pragma once

#include <windows.h>

#include <shlobj.h>

#include <string>
#include <vector>

#include "common/owners.h"

// One extension object as the shell uses it, made without the class factory.
class Extension {
  public:
    Extension();

    // Hands it a selection: files by name, or any data object (given away).
    HRESULT Select(const std::vector<std::wstring>& files);
    HRESULT Select(IDataObject* selection);

    // Asks for its item in an empty menu; the item's text afterwards, empty without one.
    std::wstring MenuText(UINT flags = CMF_NORMAL);

    IContextMenu& Menu() { return *menu_.Get(); }

  private:
    kelvaro::ComPtr<IShellExtInit> init_;
    kelvaro::ComPtr<IContextMenu> menu_;
};

// A popup menu that is destroyed at the end.
class ScopedMenu {
  public:
    ScopedMenu() : handle_(CreatePopupMenu()) {}
    ~ScopedMenu() { DestroyMenu(handle_); }
    ScopedMenu(const ScopedMenu&) = delete;
    ScopedMenu& operator=(const ScopedMenu&) = delete;

    HMENU Handle() const { return handle_; }
    int Count() const { return GetMenuItemCount(handle_); }
    std::wstring Text(UINT position) const;

  private:
    HMENU handle_;
};
