#pragma once

#include <windows.h>

#include <objidl.h>

#include <string>
#include <vector>

namespace shell_host {

// Returns a block of global memory with a file-drop list of `files`, which the caller frees. Null
// if Windows has no memory for it. Throws std::bad_alloc.
HGLOBAL MakeDropList(const std::vector<std::wstring>& files);

// Returns a data object that offers a file-drop list of `files` and no other format. The caller
// owns one reference.
IDataObject* MakeDropListObject(std::vector<std::wstring> files);

}  // namespace shell_host
