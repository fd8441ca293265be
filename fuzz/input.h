#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace fuzz {

// Returns the fuzzer's input as bytes.
inline std::string_view Bytes(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// Returns `bytes` as UTF-16 little-endian units. Ignores an odd last byte.
inline std::wstring Units(std::string_view bytes) {
    std::wstring units;
    for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
        const auto low = static_cast<unsigned char>(bytes[at]);
        const auto high = static_cast<unsigned char>(bytes[at + 1]);
        units.push_back(static_cast<wchar_t>(low | (high << 8)));
    }
    return units;
}

// Crashes if the property does not hold, so that the fuzzer reports the input.
inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace fuzz
