#include "rightclick/menu_screen.h"

namespace rightclick {

MenuScreen::~MenuScreen() = default;

bool MenuScreen::IsThere() {
    return false;
}

std::optional<UINT> MenuScreen::Show(HMENU /*menu*/) {
    return std::nullopt;
}

}  // namespace rightclick
