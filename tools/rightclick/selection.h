#pragma once

#include <windows.h>

#include <objidl.h>

#include <string>
#include <vector>

namespace rightclick {

struct Selection {
    IDataObject* dataObject;  // one reference
    bool fromShell;           // the shell created it
};

// Returns the data object that the shell passes to the extension for `files` (full paths): the
// shell's own, or one with a drop list if the shell does not provide one for these files.
Selection MakeSelection(const std::vector<std::wstring>& files);

}  // namespace rightclick
