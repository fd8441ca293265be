#pragma once

#include <objidl.h>

#include <string>

namespace kelvaro {

// What a data object of the shell holds: the path of its one file, or why it has none to offer, as
// it goes to the log.
struct Selection {
    std::wstring path;
    std::wstring failure;
};

// Reads the file-drop list of `dataObject` and lets go of it before returning.
Selection ReadSelection(IDataObject& dataObject);

}  // namespace kelvaro
