#pragma once

#include <windows.h>

#include <objidl.h>

#include <string>
#include <vector>

namespace rightclick {

// A block of global memory with a file-drop list of `files`, to be freed by the caller; null when
// there is no memory.
HGLOBAL MakeDropList(const std::vector<std::wstring>& files);

// A data object that holds a file-drop list of `files` and nothing else, as a program may hand one
// to the shell. The caller has one reference.
IDataObject* MakeDropListObject(std::vector<std::wstring> files);

}  // namespace rightclick
