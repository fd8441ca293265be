#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace rightclick {

enum class Action { rightClick, explain, registerLibrary, unregisterLibrary, print };

// The options of the command line.
struct Options {
    Action action = Action::rightClick;
    std::vector<std::wstring> files;   // full paths, the selection
    std::wstring library;              // full path; empty: the registered library
    bool choose = false;               // choose the item by its command offset
    std::optional<std::wstring> verb;  // choose the command with this verb, even without an item
    UINT flags = 0;                    // for QueryContextMenu
    bool popup = false;                // show the menu on the screen
    bool json = false;
    bool log = false;
    std::string output;  // of Action::print: the help or the version
    std::string error;   // why the usage is wrong; empty if it is right
};

// Parses the arguments after the program's name.
Options ParseOptions(const std::vector<std::wstring>& arguments);

}  // namespace rightclick
