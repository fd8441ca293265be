#pragma once

#include <objidl.h>

#include <string>

namespace kelvaro {

// Reads the file-drop list of `dataObject` and stores the path of its only file in `path`, cut to
// 259 units. Returns an empty string, or the log message that says why there is no such path. Holds
// nothing of the data object afterwards. Throws std::bad_alloc.
std::wstring ReadSelection(IDataObject& dataObject, std::wstring& path);

}  // namespace kelvaro
