#include "console/console.h"

#include <windows.h>

#include <shellapi.h>

namespace console {

std::vector<std::wstring> Arguments() {
    int count = 0;
    LPWSTR* const table = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::wstring> arguments;
    for (int at = 0; table != nullptr && at < count; ++at) {
        arguments.emplace_back(table[at]);
    }
    LocalFree(static_cast<HLOCAL>(table));
    return arguments;
}

void Print(std::FILE* stream, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

}  // namespace console
