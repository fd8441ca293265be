#pragma once

#include <windows.h>

#include <optional>

namespace rightclick {

// Shows a popup menu on the screen.
class MenuScreen {
  public:
    MenuScreen() = default;
    ~MenuScreen();  // NOLINT(performance-trivially-destructible): not trivial on Windows
    MenuScreen(const MenuScreen&) = delete;
    MenuScreen& operator=(const MenuScreen&) = delete;

    // Returns whether there is a screen.
    static bool IsThere();

    // Shows `menu` at the pointer, with the shell's "Open" above and "Properties" below, and waits
    // until it closes. Returns the identifier of the chosen item; std::nullopt if none was chosen.
    std::optional<UINT> Show(HMENU menu);

    // The owner window of the menu. Null before Show.
    HWND Owner() const { return owner_; }

  private:
    HWND owner_ = nullptr;
};

}  // namespace rightclick
