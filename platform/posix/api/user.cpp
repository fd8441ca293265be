#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "internal/call.h"
#include "internal/encoding.h"
#include "internal/last_error.h"
#include "internal/object_table.h"
#include "testing/watch.h"

namespace {

struct MenuItem {
    UINT id;
    UINT state;
    std::wstring text;
};

struct Menu {
    std::vector<MenuItem> items;
};

using MenuTable = compat::ObjectTable<Menu, compat::Resource::menu>;

MenuTable& Menus() {
    static auto& table = *new MenuTable;
    return table;
}

std::shared_ptr<Menu> FindMenu(HMENU menu) {
    auto found = Menus().Find(menu);
    if (!found) {
        SetLastError(ERROR_INVALID_MENU_HANDLE);
    }
    return found;
}

// Returns the item at a position or with an identifier, as `flags` say. Null if there is none.
const MenuItem* FindItem(const Menu& menu, UINT item, UINT flags) {
    const auto found =
        (flags & MF_BYPOSITION) != 0
            ? menu.items.begin() + static_cast<ptrdiff_t>(std::min<size_t>(item, menu.items.size()))
            : std::find_if(menu.items.begin(), menu.items.end(),
                           [item](const MenuItem& each) { return each.id == item; });
    return found == menu.items.end() ? nullptr : &*found;
}

}  // namespace

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) noexcept {
    const compat::Call call("MessageBoxW", ERROR_NOT_ENOUGH_MEMORY);
    if (call.Fails()) {
        return 0;
    }
    if (!compat::Watch<&MessageBoxW>::Pass(owner, text, caption, style)) {
        std::fprintf(stderr, "[%s] %s\n", compat::Utf8FromWide(caption).c_str(),
                     compat::Utf8FromWide(text).c_str());
    }
    return IDOK;
}

HMENU CreatePopupMenu() noexcept {
    return Menus().Add<HMENU>(std::make_shared<Menu>());
}

BOOL DestroyMenu(HMENU menu) noexcept {
    return Menus().Remove(menu) ? TRUE : compat::Fail(ERROR_INVALID_MENU_HANDLE);
}

BOOL InsertMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR id, LPCWSTR text) noexcept {
    const compat::Call call("InsertMenuW", ERROR_NOT_ENOUGH_MEMORY);
    if (call.Fails()) {
        return FALSE;
    }
    const auto found = FindMenu(menu);
    if (!found) {
        return FALSE;
    }
    auto& items = found->items;
    const MenuItem* const before = FindItem(*found, position, flags);
    const auto at = before == nullptr ? items.end() : items.begin() + (before - items.data());
    items.insert(at, {static_cast<UINT>(id), flags & ~UINT{MF_BYPOSITION}, text});
    return TRUE;
}

int GetMenuItemCount(HMENU menu) noexcept {
    const auto found = FindMenu(menu);
    return found ? static_cast<int>(found->items.size()) : -1;
}

UINT GetMenuItemID(HMENU menu, int position) noexcept {
    const auto found = FindMenu(menu);
    const MenuItem* const item =
        found ? FindItem(*found, static_cast<UINT>(position), MF_BYPOSITION) : nullptr;
    return item == nullptr ? static_cast<UINT>(-1) : item->id;
}

UINT GetMenuState(HMENU menu, UINT item, UINT flags) noexcept {
    const auto found = FindMenu(menu);
    const MenuItem* const wanted = found ? FindItem(*found, item, flags) : nullptr;
    return wanted == nullptr ? static_cast<UINT>(-1) : wanted->state;
}

int GetMenuStringW(HMENU menu, UINT item, LPWSTR buffer, int capacity, UINT flags) noexcept {
    const auto found = FindMenu(menu);
    const MenuItem* const wanted = found ? FindItem(*found, item, flags) : nullptr;
    if (wanted == nullptr) {
        return 0;
    }
    const auto length = static_cast<int>(wanted->text.size());
    if (buffer == nullptr || capacity == 0) {
        return length;
    }
    lstrcpynW(buffer, wanted->text.c_str(), capacity);
    return std::min(length, capacity - 1);
}
