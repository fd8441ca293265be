#pragma once

#include <windows.h>

#include <objidl.h>

#include <string>
#include <vector>

namespace rightclick {

// What the shell would hand to the extension for `files` (full paths): its own data object where
// there is a shell that knows them all, else one with their drop list. One reference.
IDataObject* MakeSelection(const std::vector<std::wstring>& files);

}  // namespace rightclick
