#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace kelvaro {

// Sets the text value `valueName` (the default value if empty) of the key `keyPath` below `root` to
// `data`. Creates the key if it is missing. Returns S_OK or the error of the call that failed.
HRESULT WriteRegistryString(HKEY root, const std::wstring& keyPath, const std::wstring& valueName,
                            const std::wstring& data) noexcept;

// Writes the entries that make the shell load the library at `modulePath` for programs and
// shortcuts, with `prefix` before each key path. Stops at the first failure and returns its error.
// `clsid` is the class identifier in braces. Throws std::bad_alloc before the first write.
HRESULT RegisterUnderRoot(HKEY root, std::wstring_view prefix, const std::wstring& clsid,
                          const std::wstring& modulePath);

}  // namespace kelvaro
