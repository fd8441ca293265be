#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace setup {

enum class Action { help, version, install, uninstall, registerLibrary, unregisterLibrary };

struct Options {
    Action action = Action::help;
    std::wstring directory;  // full path
    bool quiet = false;
    std::string error;  // why the usage is wrong; empty if it is right
};

// Returns the arguments in `commandLine` after the program's name. A backslash before a quotation
// mark is part of the path: "C:\dir\" is a directory with a trailing separator. The rules of the C
// runtime would make the quotation mark and all that follows a part of the argument.
std::vector<std::wstring> SplitCommandLine(std::wstring_view commandLine);

// Parses `words`, the arguments after the program's name.
Options ParseOptions(std::vector<std::wstring> words);

// The text of --help.
inline constexpr char kHelp[] = R"(Installs the Kelvaro shell extension for the current user.

setup install DIRECTORY    copies KelvaroShellExt.dll and its language files from
                           beside this program to DIRECTORY and registers the DLL;
                           also updates an installed version
setup uninstall DIRECTORY  removes the registration and these files
setup register             registers the DLL beside this program
setup unregister           removes its registration

--quiet    prints errors only
--version  prints the version
--help     prints this text

Exit status: 0 done, 1 failed, 2 wrong usage.
)";

}  // namespace setup
