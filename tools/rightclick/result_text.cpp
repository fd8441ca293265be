#include "rightclick/result_text.h"

#include <algorithm>
#include <iterator>

#include "common/code_page.h"
#include "common/result.h"
#include "common/text.h"

namespace rightclick {
namespace {

struct KnownResult {
    HRESULT result;
    const char* words;
};

// Results that have a name of their own in the SDK.
constexpr KnownResult kKnown[] = {
    {S_OK, "S_OK: done"},
    {S_FALSE, "S_FALSE: succeeded without effect"},
    {E_FAIL, "E_FAIL: failed"},
    {E_INVALIDARG, "E_INVALIDARG: invalid argument"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY: not enough memory"},
    {E_NOINTERFACE, "E_NOINTERFACE: interface not supported"},
    {E_POINTER, "E_POINTER: invalid pointer"},
    {CLASS_E_NOAGGREGATION, "CLASS_E_NOAGGREGATION: aggregation not supported"},
    {CLASS_E_CLASSNOTAVAILABLE, "CLASS_E_CLASSNOTAVAILABLE: the library does not have this class"},
};

bool IsSystemError(HRESULT result) noexcept {
    return (static_cast<DWORD>(result) & 0xFFFF0000U) == 0x80070000U;
}

struct Range {
    wchar_t first;
    wchar_t last;
};

constexpr Range kUnseen[] = {{0x0000, 0x001F}, {0x007F, 0x00A0}, {0x00AD, 0x00AD}, {0x034F, 0x034F},
                             {0x061C, 0x061C}, {0x115F, 0x1160}, {0x1680, 0x1680}, {0x17B4, 0x17B5},
                             {0x180B, 0x180F}, {0x2000, 0x200F}, {0x2028, 0x202F}, {0x205F, 0x206F},
                             {0x3000, 0x3000}, {0x3164, 0x3164}, {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF},
                             {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFD}};

// Characters that take two columns. Each half of a surrogate pair counts as one.
constexpr Range kWide[] = {{0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3},
                           {0xF900, 0xFAFF}, {0xFE30, 0xFE6F}, {0xFF00, 0xFF60}};
constexpr Range kCombining[] = {{0x0300, 0x036F}};

template <size_t Count>
bool IsIn(const Range (&ranges)[Count], wchar_t unit) noexcept {
    return std::any_of(std::begin(ranges), std::end(ranges), [unit](const Range& range) {
        return unit >= range.first && unit <= range.last;
    });
}

bool IsHighSurrogate(wchar_t unit) noexcept {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(wchar_t unit) noexcept {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendCodePoint(std::string& text, wchar_t unit) {
    text += "<U+";
    kelvaro::AppendNumber(text, static_cast<uint32_t>(unit), 16, 4);
    text += '>';
}

}  // namespace

std::string HexResult(HRESULT result) {
    std::string text = "0x";
    kelvaro::AppendNumber(text, static_cast<DWORD>(result), 16, 8);
    return text;
}

std::string SystemText(HRESULT result) {
    const auto code = static_cast<DWORD>(IsSystemError(result) ? HRESULT_CODE(result) : result);
    wchar_t text[512] = {};
    FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, code, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
    std::string words = kelvaro::Utf8FromWide(kelvaro::TrimWhitespace(text));
    if (words.ends_with('.')) {
        words.pop_back();
    }
    return words;
}

std::string DescribeResult(HRESULT result) {
    for (const auto& [known, words] : kKnown) {
        if (known == result) {
            return HexResult(result) + " (" + words + ")";
        }
    }
    const std::string words = SystemText(result);
    return words.empty() ? HexResult(result) : HexResult(result) + " (" + words + ")";
}

std::string DescribeError(DWORD error) {
    const HRESULT result = kelvaro::FailureFromWin32(error);
    const std::string words = SystemText(result);
    return words.empty() ? HexResult(result) : words + " (" + HexResult(result) + ")";
}

bool IsUnseen(wchar_t unit) noexcept {
    return IsIn(kUnseen, unit);
}

std::string Printable(std::wstring_view text) {
    std::string printable;
    for (size_t at = 0; at < text.size(); ++at) {
        const wchar_t unit = text[at];
        const wchar_t next = at + 1 < text.size() ? text[at + 1] : L'\0';
        const bool end = at == 0 || at + 1 == text.size();
        if (IsHighSurrogate(unit) && IsLowSurrogate(next)) {
            printable += kelvaro::Utf8FromWide(text.substr(at++, 2));
        } else if (IsUnseen(unit) || IsHighSurrogate(unit) || IsLowSurrogate(unit) ||
                   (unit == L' ' && end)) {
            AppendCodePoint(printable, unit);
        } else {
            printable += kelvaro::Utf8FromWide({&unit, 1});
        }
    }
    return printable;
}

std::string Printable(std::string_view utf8) {
    return Printable(kelvaro::WideFromBytes(CP_UTF8, 0, utf8));
}

size_t Columns(std::string_view printable) {
    size_t columns = 0;
    for (const wchar_t unit : kelvaro::WideFromBytes(CP_UTF8, 0, printable)) {
        columns += IsIn(kWide, unit) ? 2 : IsIn(kCombining, unit) ? 0 : 1;
    }
    return columns;
}

}  // namespace rightclick
