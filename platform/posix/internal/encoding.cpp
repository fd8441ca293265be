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
bool IsSurrogate(char32_t unit) noexcept {
    return IsHighSurrogate(unit) || IsLowSurrogate(unit);
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
    if (value < 0x80) {
        bytes.push_back(static_cast<char>(value));
        return;
    }
    const unsigned trailing = value < 0x800 ? 1 : value < 0x10000 ? 2 : 3;
    const char32_t lead = (0xF80U >> trailing) & 0xFF;  // 0xC0, 0xE0 or 0xF0
    bytes.push_back(static_cast<char>(lead | (value >> (6 * trailing))));
    for (unsigned left = trailing; left-- > 0;) {
        bytes.push_back(static_cast<char>(0x80 | ((value >> (6 * left)) & 0x3F)));
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
    return value < kLeast[length] || IsSurrogate(value) || value > 0x10FFFF
               ? Utf8Sequence{kMalformed, 1}
               : Utf8Sequence{value, length};
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
    for (size_t at = 0; at < units.size(); ++at) {
        auto value = static_cast<char32_t>(units[at]);
        const auto next = static_cast<char32_t>(at + 1 < units.size() ? units[at + 1] : 0);
        if (IsHighSurrogate(value) && IsLowSurrogate(next)) {
            value = 0x10000 + ((value - 0xD800) << 10) + (next - 0xDC00);
            ++at;
        }
        AppendUtf8(bytes, IsSurrogate(value) || value > 0x10FFFF ? kReplacement : value);
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
