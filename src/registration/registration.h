#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace kelvaro {

// Writes `data` as text into value `valueName` (the default one where empty) of key `keyPath` below
// `root`, making the key where it is missing. The failing call's error as an HRESULT.
HRESULT WriteRegistryString(HKEY root, const std::wstring& keyPath, const std::wstring& valueName,
                            const std::wstring& data) noexcept;

// Writes the entries that make the shell load the library at `modulePath` for programs and
// shortcuts, `prefix` before each key. Stops at the first failure and returns it.
HRESULT RegisterUnderRoot(HKEY root, std::wstring_view prefix, const std::wstring& clsid,
                          const std::wstring& modulePath);

}  // namespace kelvaro
