#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace fuzz {

inline std::string_view Bytes(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// Two bytes for each UTF-16 unit.
inline std::wstring Units(std::string_view bytes) {
    std::wstring units;
    for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
        const auto low = static_cast<unsigned char>(bytes[at]);
        const auto high = static_cast<unsigned char>(bytes[at + 1]);
        units.push_back(static_cast<wchar_t>(low | (high << 8)));
    }
    return units;
}

// A law that does not hold is a fault as good as a crash.
inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace fuzz
