#pragma once

#include <windows.h>

#include <objidl.h>

#include <string>
#include <vector>

namespace rightclick {

struct Selection {
    IDataObject* dataObject;  // one reference
    bool fromShell;           // whether the shell made it
};

// What the shell would hand to the extension for `files` (full paths): its own data object where
// there is a shell that knows them all, else one with their drop list.
Selection MakeSelection(const std::vector<std::wstring>& files);

}  // namespace rightclick
