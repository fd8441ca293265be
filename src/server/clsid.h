#pragma once

#include <guiddef.h>

namespace kelvaro {

// The class identifier of the extension, {A36AA93F-0FF6-4369-BF38-78FAADC0C5ED}. Installed systems
// have it in their registry, so it never changes.
inline constexpr CLSID kShellExtClsid = {
    0xA36AA93F, 0x0FF6, 0x4369, {0xBF, 0x38, 0x78, 0xFA, 0xAD, 0xC0, 0xC5, 0xED}};

}  // namespace kelvaro
