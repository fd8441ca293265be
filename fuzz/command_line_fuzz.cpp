// Checks that any valid path, of the prompt or of the selection, is passed to the prompt unchanged
// and as one argument.

#include "input.h"
#include "internal/command_line.h"
#include "launch/launch_toggle.h"

namespace {

// Returns a valid path of a program: `path` without the characters that file names cannot contain.
std::wstring ValidPath(std::wstring path) {
    std::erase_if(path, [](wchar_t unit) {
        return unit < L' ' || std::wstring_view(L"\"<>|*?/").find(unit) != std::wstring_view::npos;
    });
    return L"C:\\" + path + L".exe";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring fixed = L"C:\\Program Files\\Kelvaro\\KelvaroAuthPrompt.exe";
    const std::wstring path = ValidPath(fuzz::Units(fuzz::Bytes(data, size)));
    for (const auto& [program, selected] : {std::pair(fixed, path), std::pair(path, fixed)}) {
        const auto arguments =
            compat::ParseCommandLine(kelvaro::BuildCommandLine(program, selected));
        fuzz::Require(arguments == std::vector<std::wstring>{program, L"--auth-only",
                                                             L"--startup-gate", L"--shell-toggle",
                                                             selected});
    }
    return 0;
}
