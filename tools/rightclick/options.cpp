#include "rightclick/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "common/code_page.h"

namespace rightclick {
namespace {

constexpr char kDescription[] = R"(Finds out why the Lock/Unlock item is missing or wrong.

rightclick loads the extension that is registered for the first FILE, makes the desktop shell's calls
for a right-click and prints what they return.)";

constexpr char kFooter[] = R"(
Exit status of a right-click: 0 if an item was offered, 1 if not, 2 if nothing is registered.
Exit status of --explain: 0 if the program is locked, 1 if not, 2 if FILE leads to no program.
Exit status of --register and --unregister: 0 on success, 1 on failure.
Wrong usage always ends with the exit status 2.)";

std::wstring Wide(std::string_view text) {
    return kelvaro::WideFromBytes(CP_UTF8, 0, text);
}

std::wstring FullPath(const std::string& text) {
    const std::wstring path = Wide(text);
    std::wstring full(32768, L'\0');
    const DWORD length =
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    full.resize(length < full.size() ? length : 0);
    return full.empty() ? path : full;
}

std::string CheckFlags(const std::string& text) {
    constexpr size_t kDigits = 8;
    const bool valid = !text.empty() && text.size() <= kDigits &&
                       text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    return valid ? "" : "must be a hexadecimal number up to FFFFFFFF";
}

std::string CheckNotEmpty(const std::string& text) {
    return text.empty() ? "is empty" : "";
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): most of it lists the options
Options ParseOptions(const std::vector<std::wstring>& arguments) {
    Options options;
    std::vector<std::string> files;
    std::string verb;
    std::string flags = "0";
    std::string library;
    CLI::App app(kDescription, "rightclick");
    app.footer(kFooter);
    app.allow_windows_style_options(false);  // a path can begin with a slash
    app.set_help_flag("--help", "print this text");
    app.set_version_flag("--version", "rightclick " KELVARO_VERSION, "print the version");
    app.add_option("FILE", files,
                   "one selection: Windows paths (C:\\Apps\\Tool.exe)\nor paths of this machine")
        ->type_name("")
        ->check(CheckNotEmpty);
    auto* const choose = app.add_flag("--choose", options.choose, "also choose the item");
    auto* const named = app.add_option(
        "--verb", verb, "choose the command with the verb NAME,\neven if there is no item");
    auto* const popup = app.add_flag("--popup", options.popup,
                                     "show the menu at the pointer and run the item\n"
                                     "that is chosen there (only the Windows program)");
    auto* const hex =
        app.add_option("--flags", flags, "flags for QueryContextMenu (1: default item only)");
    auto* const other =
        app.add_option("--library", library, "use LIBRARY instead of the registered one");
    auto* const log = app.add_flag("--log", options.log,
                                   "print the lines added to the log during the right-click");
    auto* const json = app.add_flag("--json", options.json, "print one JSON object");
    bool explains = false;
    auto* const explain = app.add_flag("--explain", explains,
                                       "show whether a rule locks the program, and what\n"
                                       "the extension reads from similar rules");
    auto* const registers =
        app.add_option("--register", library, "call DllRegisterServer of LIBRARY");
    auto* const unregisters =
        app.add_option("--unregister", library, "call DllUnregisterServer of LIBRARY");

    named->type_name("NAME");
    hex->type_name("HEX")->check(CheckFlags);
    for (auto* const option : {other, registers, unregisters}) {
        option->type_name("LIBRARY")->check(CheckNotEmpty);
    }
    popup->excludes(choose)->excludes(named);
    explain->excludes(registers)->excludes(unregisters);
    registers->excludes(unregisters)->excludes(json);
    unregisters->excludes(json);
    for (auto* const action : {explain, registers, unregisters}) {
        for (auto* const option : {choose, named, popup, hex, other, log}) {
            action->excludes(option);
        }
    }

    std::vector<std::string> reversed;  // as CLI11 expects them
    std::transform(arguments.rbegin(), arguments.rend(), std::back_inserter(reversed),
                   kelvaro::Utf8FromWide);
    std::ostringstream output;
    std::ostringstream error;
    try {
        app.parse(std::move(reversed));
        if ((*registers || *unregisters) && !files.empty()) {
            throw CLI::ValidationError(*registers ? "--register" : "--unregister",
                                       "this option takes no FILE");
        }
        if (explains && files.size() != 1) {
            throw CLI::ValidationError("--explain", "takes exactly one FILE");
        }
        if (!*registers && !*unregisters && files.empty()) {
            throw CLI::RequiredError("FILE");
        }
    } catch (const CLI::Error& result) {
        app.exit(result, output, error);
        options.action = Action::print;
        options.output = output.str();
        options.error = error.str();
        return options;
    }
    options.action = explains       ? Action::explain
                     : *registers   ? Action::registerLibrary
                     : *unregisters ? Action::unregisterLibrary
                                    : Action::rightClick;
    std::transform(files.begin(), files.end(), std::back_inserter(options.files), FullPath);
    options.library = library.empty() ? L"" : FullPath(library);
    options.flags = static_cast<UINT>(std::strtoul(flags.c_str(), nullptr, 16));
    if (*named) {
        options.verb = Wide(verb);
    }
    return options;
}

}  // namespace rightclick
