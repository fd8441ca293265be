#include "internal/registry_file.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>

#include "internal/encoding.h"

namespace compat {
namespace {

using Json = nlohmann::json;

// Returns the data of a REG_SZ value, with its terminator.
std::vector<BYTE> TextData(const std::string& text) {
    const std::wstring units = WideFromUtf8(text);
    std::vector<BYTE> data((units.size() + 1) * sizeof(wchar_t));
    std::memcpy(data.data(), units.c_str(), data.size());
    return data;
}

Json FormatValue(const RegistryValue& value) {
    std::wstring units(value.data.size() / sizeof(wchar_t), L'\0');
    std::copy_n(value.data.begin(), units.size() * sizeof(wchar_t),
                reinterpret_cast<BYTE*>(units.data()));
    std::string text = Utf8FromWide(std::wstring_view(units).substr(0, units.size() - 1));
    // Text without a terminator or with unpaired surrogates keeps its bytes.
    if (value.type == REG_SZ && TextData(text) == value.data) {
        return text;
    }
    return {{"type", value.type}, {"data", value.data}};
}

RegistryValue ParseValue(const std::string& name, const Json& value) {
    if (value.is_string()) {
        return {WideFromUtf8(name), REG_SZ, TextData(value)};
    }
    return {WideFromUtf8(name), value.at("type"), value.at("data")};
}

}  // namespace

std::optional<RegistryKeys> ParseRegistry(std::string_view json) try {
    RegistryKeys keys;
    const auto objects = Json::parse(json).get<std::map<std::string, Json>>();
    for (const auto& [path, values] : objects) {
        RegistryKey key{WideFromUtf8(path), {}};
        for (const auto& [name, value] : values.get<std::map<std::string, Json>>()) {
            key.values[FoldName(WideFromUtf8(name))] = ParseValue(name, value);
        }
        keys[FoldName(key.path)] = std::move(key);
    }
    return keys;
} catch (const Json::exception&) {
    return std::nullopt;
}

std::string FormatRegistry(const RegistryKeys& keys) {
    Json json = Json::object();
    for (const auto& [folded, key] : keys) {
        Json& values = json[Utf8FromWide(key.path)] = Json::object();
        for (const auto& [foldedName, value] : key.values) {
            values[Utf8FromWide(value.name)] = FormatValue(value);
        }
    }
    return json.dump(2) + "\n";
}

}  // namespace compat
