#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "internal/call.h"
#include "internal/encoding.h"
#include "internal/last_error.h"
#include "internal/object_table.h"
#include "testing/message_boxes.h"

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

std::mutex g_receiverMutex;
std::function<void(const compat::MessageBox&)> g_receiver;

void ShowOnTerminal(const compat::MessageBox& box) {
    std::fprintf(stderr, "[%s] %s\n", compat::Utf8FromWide(box.caption).c_str(),
                 compat::Utf8FromWide(box.text).c_str());
}

}  // namespace

namespace compat {

MessageBoxReceiver::MessageBoxReceiver(std::function<void(const MessageBox&)> receive) {
    const std::lock_guard lock(g_receiverMutex);
    g_receiver = std::move(receive);
}

MessageBoxReceiver::~MessageBoxReceiver() {
    const std::lock_guard lock(g_receiverMutex);
    g_receiver = nullptr;
}

}  // namespace compat

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) noexcept {
    const compat::Call call("MessageBoxW", ERROR_NOT_ENOUGH_MEMORY,
                            "owner={} style={} caption={} text={}", owner, style, caption, text);
    if (call.Fails()) {
        return 0;
    }
    const std::lock_guard lock(g_receiverMutex);
    (g_receiver ? g_receiver : ShowOnTerminal)({owner, text, caption, style});
    return IDOK;
}

HMENU CreatePopupMenu() noexcept {
    const compat::Call call("CreatePopupMenu", ERROR_NOT_ENOUGH_MEMORY);
    if (call.Fails()) {
        return nullptr;
    }
    return Menus().Add<HMENU>(std::make_shared<Menu>());
}

BOOL DestroyMenu(HMENU menu) noexcept {
    const compat::Call call("DestroyMenu");
    return Menus().Remove(menu) ? TRUE : compat::Fail(ERROR_INVALID_MENU_HANDLE);
}

BOOL InsertMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR id, LPCWSTR text) noexcept {
    const compat::Call call("InsertMenuW", ERROR_NOT_ENOUGH_MEMORY, "position={} flags={} id={} {}",
                            position, flags, id, text);
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
    const compat::Call call("GetMenuItemCount", ERROR_INVALID_MENU_HANDLE);
    if (call.Fails()) {
        return -1;
    }
    const auto found = FindMenu(menu);
    return found ? static_cast<int>(found->items.size()) : -1;
}

UINT GetMenuItemID(HMENU menu, int position) noexcept {
    const compat::Call call("GetMenuItemID", ERROR_INVALID_MENU_HANDLE, "position={}", position);
    if (call.Fails()) {
        return static_cast<UINT>(-1);
    }
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
    const compat::Call call("GetMenuStringW", ERROR_INVALID_MENU_HANDLE, "item={} flags={}", item,
                            flags);
    if (call.Fails()) {
        return 0;
    }
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
