#pragma once

#include <winreg.h>

#include <map>
#include <optional>
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

// Convert between keys and JSON: an object of the keys by path, each an object of its values by
// name. A value is a string, or an object of a numeric "type" and the bytes of "data". Parsing
// returns std::nullopt if `json` is anything else.
std::optional<RegistryKeys> ParseRegistry(std::string_view json);
std::string FormatRegistry(const RegistryKeys& keys);

}  // namespace compat
