#include <windows.h>

#include "console/console.h"

namespace console {
namespace {

UINT g_codePage = 0;  // 0 if there is no console
DWORD g_mode = 0;

HANDLE Output() {
    return GetStdHandle(STD_OUTPUT_HANDLE);
}

}  // namespace

Session::Session() {
    constexpr DWORD kEscapeSequences = 0x0004;
    g_codePage = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
    hasColours_ =
        GetConsoleMode(Output(), &g_mode) && SetConsoleMode(Output(), g_mode | kEscapeSequences);
}

Session::~Session() {
    if (hasColours_) {
        SetConsoleMode(Output(), g_mode);
    }
    if (g_codePage != 0) {
        SetConsoleOutputCP(g_codePage);
    }
}

}  // namespace console
