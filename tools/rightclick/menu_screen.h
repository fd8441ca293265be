#pragma once

#include <windows.h>

#include <optional>

namespace rightclick {

// Where a popup menu is shown to a person.
class MenuScreen {
  public:
    MenuScreen() = default;
    ~MenuScreen();  // NOLINT(performance-trivially-destructible): it is where there is a screen
    MenuScreen(const MenuScreen&) = delete;
    MenuScreen& operator=(const MenuScreen&) = delete;

    // Whether there is a screen at all.
    static bool IsThere();

    // Shows `menu` at the pointer, between an "Open" above and a "Properties" below as the shell
    // has them, and waits. The identifier of the chosen item, nothing when none was chosen.
    std::optional<UINT> Show(HMENU menu);

    // The window that the menu belonged to; null before it is shown.
    HWND Owner() const { return owner_; }

  private:
    HWND owner_ = nullptr;
};

}  // namespace rightclick
