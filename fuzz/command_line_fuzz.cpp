// Whatever path Windows allows is one argument of the prompt, and the same.

#include "input.h"
#include "internal/command_line.h"
#include "launch/launch_toggle.h"

namespace {

// A file's path: none of the characters that Windows keeps for itself, and a name at the end.
std::wstring AllowedPath(std::wstring path) {
    std::erase_if(path, [](wchar_t unit) {
        return unit < L' ' || std::wstring_view(L"\"<>|*?/").find(unit) != std::wstring_view::npos;
    });
    return L"C:\\" + path + L".exe";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring_view half = L"C:\\Program Files\\Kelvaro\\KelvaroAuthPrompt.exe";
    const std::wstring path = AllowedPath(fuzz::Units(fuzz::Bytes(data, size)));
    for (const auto& [program, selected] :
         {std::pair(std::wstring(half), path), std::pair(path, std::wstring(half))}) {
        const auto arguments =
            compat::ParseCommandLine(kelvaro::BuildCommandLine(program, selected));
        fuzz::Require(arguments == std::vector<std::wstring>{program, L"--auth-only",
                                                             L"--startup-gate", L"--shell-toggle",
                                                             selected});
    }
    return 0;
}
