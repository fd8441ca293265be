#include "internal/registry_file.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "internal/encoding.h"

namespace compat {
namespace {

constexpr std::string_view kHeader = "Windows Registry Editor Version 5.00";

std::vector<BYTE> BytesOfUnits(std::wstring_view units) {
    std::vector<BYTE> bytes(units.size() * sizeof(wchar_t));
    if (!bytes.empty()) {
        std::memcpy(bytes.data(), units.data(), bytes.size());
    }
    return bytes;
}

std::wstring UnitsOfBytes(const std::vector<BYTE>& bytes) {
    std::wstring units(bytes.size() / sizeof(wchar_t), L'\0');
    if (!units.empty()) {
        std::memcpy(units.data(), bytes.data(), units.size() * sizeof(wchar_t));
    }
    return units;
}

std::string Quoted(std::wstring_view text) {
    std::string quoted = "\"";
    for (const char byte : Utf8FromWide(text)) {
        if (byte == '"' || byte == '\\') {
            quoted.push_back('\\');
        }
        quoted.push_back(byte);
    }
    return quoted + "\"";
}

// Removes a quoted text from the front of `line`. False if it does not begin with a complete one.
bool TakeQuoted(std::string_view& line, std::wstring& text) {
    std::string bytes;
    for (size_t at = 1; line.starts_with('"') && at < line.size(); ++at) {
        if (line[at] == '"') {
            text = WideFromUtf8(bytes);
            line.remove_prefix(at + 1);
            return true;
        }
        at += line[at] == '\\' && at + 1 < line.size() ? 1 : 0;
        bytes.push_back(line[at]);
    }
    return false;
}

std::string HexBytes(const std::vector<BYTE>& bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const BYTE byte : bytes) {
        text += text.empty() ? "" : ",";
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

std::vector<BYTE> ParseHex(std::string_view text) {
    std::vector<BYTE> bytes;
    while (!text.empty()) {
        unsigned byte = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), byte, 16);
        text.remove_prefix(error == std::errc() ? static_cast<size_t>(end - text.data()) : 1);
        if (error == std::errc()) {
            bytes.push_back(static_cast<BYTE>(byte));
        }
    }
    return bytes;
}

std::string FormatData(const RegistryValue& value) {
    const std::wstring units = UnitsOfBytes(value.data);
    const bool terminated = !units.empty() && units.find(L'\0') == units.size() - 1;
    if (value.type == REG_SZ && terminated && units.find_first_of(L"\r\n") == std::wstring::npos) {
        return Quoted(std::wstring_view(units).substr(0, units.size() - 1));
    }
    std::string type(8, '\0');
    const auto end = std::to_chars(type.data(), type.data() + type.size(), value.type, 16);
    type.resize(static_cast<size_t>(end.ptr - type.data()));
    return "hex(" + type + "):" + HexBytes(value.data);
}

void ParseData(std::string_view text, RegistryValue& value) {
    std::wstring string;
    if (TakeQuoted(text, string)) {
        value.type = REG_SZ;
        string.push_back(L'\0');
        value.data = BytesOfUnits(string);
        return;
    }
    const size_t colon = std::min(text.find(':'), text.size());
    const std::string_view kind = text.substr(0, colon);
    if (kind.starts_with("hex(")) {
        std::from_chars(kind.data() + 4, kind.data() + kind.size(), value.type, 16);
        value.data = ParseHex(text.substr(colon));
    }
}

void ParseValue(std::string_view line, RegistryKey& key) {
    RegistryValue value;
    if (line.starts_with('@')) {
        line.remove_prefix(1);
    } else if (!TakeQuoted(line, value.name)) {
        return;
    }
    if (line.starts_with('=')) {
        ParseData(line.substr(1), value);
        key.values[FoldName(value.name)] = std::move(value);
    }
}

}  // namespace

RegistryKeys ParseRegistry(std::string_view text) {
    RegistryKeys keys;
    RegistryKey* key = nullptr;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        line = line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
        if (line.starts_with('[') && line.ends_with(']')) {
            const std::wstring path = WideFromUtf8(line.substr(1, line.size() - 2));
            key = &keys[FoldName(path)];
            key->path = path;
        } else if (key != nullptr) {
            ParseValue(line, *key);
        }
    }
    return keys;
}

std::string FormatRegistry(const RegistryKeys& keys) {
    std::string text(kHeader);
    text += "\n";
    for (const auto& [folded, key] : keys) {
        text += "\n[" + Utf8FromWide(key.path) + "]\n";
        for (const auto& [name, value] : key.values) {
            text += value.name.empty() ? "@" : Quoted(value.name);
            text += "=" + FormatData(value) + "\n";
        }
    }
    return text;
}

}  // namespace compat
