#include <windows.h>

#include <io.h>

#include "console/console.h"

namespace console {

bool IsTerminal(std::FILE* stream) {
    auto* const handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    constexpr DWORD kEscapeSequences = 0x0004;
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) && SetConsoleMode(handle, mode | kEscapeSequences) &&
           SetConsoleOutputCP(CP_UTF8);
}

}  // namespace console
