#pragma once

#include <windows.h>

#include <string>

namespace shell_host {

// Creates a popup menu and destroys it at the end of its scope.
class PopupMenu {
  public:
    PopupMenu() : handle_(CreatePopupMenu()) {}
    ~PopupMenu() { DestroyMenu(handle_); }
    PopupMenu(const PopupMenu&) = delete;
    PopupMenu& operator=(const PopupMenu&) = delete;

    HMENU Handle() const { return handle_; }

    // Returns the number of items, -1 if the menu could not be created.
    int Count() const { return GetMenuItemCount(handle_); }

    // Returns the identifier of the item at `position`.
    UINT Id(int position) const { return GetMenuItemID(handle_, position); }

    // Returns the first 511 characters of the text of the item at `position`.
    std::wstring Text(UINT position) const {
        wchar_t text[512] = {};
        GetMenuStringW(handle_, position, text, 512, MF_BYPOSITION);
        return text;
    }

  private:
    HMENU handle_;
};

}  // namespace shell_host
