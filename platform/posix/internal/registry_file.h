#pragma once

#include <winreg.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace compat {

struct RegistryValue {
    std::wstring name;  // empty: the key's default value
    DWORD type = REG_NONE;
    std::vector<BYTE> data;  // in the format of the registry functions; text is wchar_t
};

struct RegistryKey {
    std::wstring path;                             // begins with the root's name
    std::map<std::wstring, RegistryValue> values;  // by name in lower case
};

// The keys of a registry, by path in lower case.
using RegistryKeys = std::map<std::wstring, RegistryKey>;

// Convert between keys and the text of a .reg file in UTF-8. Parsing skips what is malformed.
// Values other than plain text are written as the bytes that they have here, also those of text.
RegistryKeys ParseRegistry(std::string_view text);
std::string FormatRegistry(const RegistryKeys& keys);

}  // namespace compat
