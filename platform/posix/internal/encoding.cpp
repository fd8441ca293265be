#include "internal/encoding.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace compat {
namespace {

bool IsHighSurrogate(char32_t unit) noexcept {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLowSurrogate(char32_t unit) noexcept {
    return unit >= 0xDC00 && unit < 0xE000;
}

constexpr char32_t kReplacement = 0xFFFD;

// Windows-1252 characters for the bytes 0x80 to 0x9F. The five undefined bytes map to the control
// characters of the same value.
constexpr std::array<wchar_t, 32> kUpperControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// Returns the length of the sequence that `lead` starts. 0 if it cannot start one.
size_t SequenceLength(unsigned char lead) noexcept {
    if (lead < 0x80) {
        return 1;
    }
    return lead < 0xC2 || lead > 0xF4 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

void AppendUtf8(std::string& bytes, char32_t value) {
    const auto put = [&bytes](char32_t byte) { bytes.push_back(static_cast<char>(byte)); };
    if (value < 0x80) {
        put(value);
    } else if (value < 0x800) {
        put(0xC0 | (value >> 6));
        put(0x80 | (value & 0x3F));
    } else if (value < 0x10000) {
        put(0xE0 | (value >> 12));
        put(0x80 | ((value >> 6) & 0x3F));
        put(0x80 | (value & 0x3F));
    } else {
        put(0xF0 | (value >> 18));
        put(0x80 | ((value >> 12) & 0x3F));
        put(0x80 | ((value >> 6) & 0x3F));
        put(0x80 | (value & 0x3F));
    }
}

}  // namespace

Utf8Sequence ReadUtf8(std::string_view bytes) noexcept {
    const auto lead = static_cast<unsigned char>(bytes[0]);
    const size_t length = SequenceLength(lead);
    if (length <= 1) {
        return {length == 1 ? lead : kMalformed, 1};
    }
    char32_t value = lead & (0x7FU >> length);
    for (size_t at = 1; at < length; ++at) {
        const unsigned byte = at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0U;
        if ((byte & 0xC0U) != 0x80) {
            return {kMalformed, at};
        }
        value = (value << 6) | (byte & 0x3FU);
    }
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = value >= 0xD800 && value < 0xE000;
    return value < kLeast[length] || surrogate || value > 0x10FFFF ? Utf8Sequence{kMalformed, 1}
                                                                   : Utf8Sequence{value, length};
}

CodePoint ReadCodePoint(std::wstring_view units) noexcept {
    const auto unit = static_cast<char32_t>(units[0]);
    const auto next = units.size() > 1 ? static_cast<char32_t>(units[1]) : 0;
    if (IsHighSurrogate(unit) && IsLowSurrogate(next)) {
        return {0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00), 2};
    }
    return {unit, 1};
}

void AppendCodePoint(std::wstring& units, char32_t codePoint) {
    if (codePoint < 0x10000) {
        units.push_back(static_cast<wchar_t>(codePoint));
        return;
    }
    units.push_back(static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10)));
    units.push_back(static_cast<wchar_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF)));
}

std::wstring WideFromUtf8(std::string_view bytes) {
    std::wstring units;
    units.reserve(bytes.size());
    while (!bytes.empty()) {
        const auto [value, length] = ReadUtf8(bytes);
        AppendCodePoint(units, value == kMalformed ? kReplacement : value);
        bytes.remove_prefix(length);
    }
    return units;
}

std::string Utf8FromWide(std::wstring_view units) {
    std::string bytes;
    bytes.reserve(units.size());
    while (!units.empty()) {
        const auto [value, length] = ReadCodePoint(units);
        const bool lone = value >= 0xD800 && value < 0xE000;
        AppendUtf8(bytes, lone || value > 0x10FFFF ? kReplacement : value);
        units.remove_prefix(length);
    }
    return bytes;
}

wchar_t FromWindows1252(unsigned char byte) noexcept {
    return byte >= 0x80 && byte < 0xA0 ? kUpperControls.at(byte - size_t{0x80})
                                       : static_cast<wchar_t>(byte);
}

std::wstring FoldName(std::wstring_view name) {
    std::wstring folded(name);
    std::transform(folded.begin(), folded.end(), folded.begin(), [](wchar_t unit) {
        return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
    });
    return folded;
}

}  // namespace compat
