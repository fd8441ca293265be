#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace rightclick {

enum class Action { rightClick, explain, registerLibrary, unregisterLibrary, help, version };

// What the command line asks for.
struct Options {
    Action action = Action::rightClick;
    std::vector<std::wstring> files;   // full paths, the selection
    std::wstring library;              // full path; empty: the registered one
    bool choose = false;               // choose the item by its place
    std::optional<std::wstring> verb;  // choose the item by name
    UINT flags = 0;                    // for QueryContextMenu
    bool popup = false;                // show the menu on the screen
    bool json = false;
    bool log = false;
    std::string error;  // not empty: wrong usage, and why
};

// Reads the arguments behind the program's name.
Options ParseOptions(const std::vector<std::wstring>& arguments);

// What --help prints.
extern const char* const kHelp;

}  // namespace rightclick
