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

// Parses the arguments after the program's name.
Options ParseOptions(const std::vector<std::wstring>& arguments);

// Returns the text of --help.
std::string HelpText();

}  // namespace setup
