#include "rightclick/menu_screen.h"

namespace rightclick {
namespace {

// Less than the identifiers that the handler may use.
constexpr UINT kOpen = 1;
constexpr UINT kProperties = 2;

}  // namespace

MenuScreen::~MenuScreen() {
    if (owner_ != nullptr) {
        DestroyWindow(owner_);
    }
}

bool MenuScreen::IsThere() {
    const HWND probe = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr,
                                       nullptr, nullptr);
    return probe != nullptr && DestroyWindow(probe);
}

std::optional<UINT> MenuScreen::Show(HMENU menu) {
    InsertMenuW(menu, 0, MF_BYPOSITION | MF_STRING, kOpen, L"Open");
    InsertMenuW(menu, static_cast<UINT>(-1), MF_BYPOSITION | MF_SEPARATOR, 0, nullptr);
    InsertMenuW(menu, static_cast<UINT>(-1), MF_BYPOSITION | MF_STRING, kProperties, L"Properties");
    SetMenuDefaultItem(menu, kOpen, FALSE);
    POINT pointer = {};
    GetCursorPos(&pointer);
    owner_ = CreateWindowExW(WS_EX_TOOLWINDOW, L"STATIC", L"rightclick", WS_POPUP | WS_VISIBLE,
                             pointer.x, pointer.y, 1, 1, nullptr, nullptr, nullptr, nullptr);
    // If its owner is in the background, a menu does not close on a click outside it.
    SetForegroundWindow(owner_);
    const BOOL chosen = TrackPopupMenu(menu, TPM_RETURNCMD | TPM_NONOTIFY, pointer.x, pointer.y, 0,
                                       owner_, nullptr);
    return chosen == 0 ? std::nullopt : std::optional(static_cast<UINT>(chosen));
}

}  // namespace rightclick
