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
    std::vector<BYTE> data;  // as the calls pass it: text in units of wchar_t
};

struct RegistryKey {
    std::wstring path;                             // from the root's name on
    std::map<std::wstring, RegistryValue> values;  // by name in lower case
};

// The keys of a registry, by path in lower case.
using RegistryKeys = std::map<std::wstring, RegistryKey>;

// Between keys and the text of a .reg file (UTF-8). What cannot be understood is left out.
RegistryKeys ParseRegistry(std::string_view text);
std::string FormatRegistry(const RegistryKeys& keys);

}  // namespace compat
