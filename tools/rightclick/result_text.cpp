#include "rightclick/result_text.h"

#include <algorithm>
#include <iterator>

#include "common/code_page.h"
#include "common/result.h"
#include "common/text.h"

namespace rightclick {
namespace {

// Results for which the system has no text, or a vague one.
constexpr struct {
    HRESULT result;
    const char* words;
} kKnown[] = {
    {S_OK, "S_OK: done"},
    {S_FALSE, "S_FALSE: succeeded without effect"},
    {E_FAIL, "E_FAIL: failed"},
    {E_INVALIDARG, "E_INVALIDARG: invalid argument"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY: not enough memory"},
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

bool IsSurrogate(wchar_t unit) noexcept {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

// Returns whether `text` begins with a surrogate pair.
bool StartsWithPair(std::wstring_view text) noexcept {
    return text.size() > 1 && IsSurrogate(text[0]) && text[0] < 0xDC00 && IsSurrogate(text[1]) &&
           text[1] >= 0xDC00;
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
    constexpr std::string_view kInsertion = "%1";
    if (const size_t at = words.find(kInsertion); at != std::string::npos) {
        words.replace(at, kInsertion.size(), "it");
    }
    return words;
}

std::string DescribeResult(HRESULT result) {
    const auto* const known = std::find_if(std::begin(kKnown), std::end(kKnown),
                                           [&](const auto& row) { return row.result == result; });
    const std::string words = known == std::end(kKnown) ? SystemText(result) : known->words;
    return words.empty() ? HexResult(result) : HexResult(result) + " (" + words + ")";
}

std::string DescribeFailure(HRESULT result) {
    const std::string words = SystemText(result);
    return words.empty() ? HexResult(result) : words + " (" + HexResult(result) + ")";
}

std::string DescribeError(DWORD error) {
    return DescribeFailure(kelvaro::FailureFromWin32(error));
}

bool IsUnseen(wchar_t unit) noexcept {
    return std::any_of(std::begin(kUnseen), std::end(kUnseen), [unit](const Range& range) {
        return unit >= range.first && unit <= range.last;
    });
}

std::string Printable(std::wstring_view text) {
    std::string printable;
    for (size_t at = 0; at < text.size(); ++at) {
        const wchar_t unit = text[at];
        const bool end = at == 0 || at + 1 == text.size();
        if (StartsWithPair(text.substr(at))) {
            printable += kelvaro::Utf8FromWide(text.substr(at++, 2));
        } else if (IsUnseen(unit) || IsSurrogate(unit) || (unit == L' ' && end)) {
            printable += "<U+";
            kelvaro::AppendNumber(printable, static_cast<uint32_t>(unit), 16, 4);
            printable += '>';
        } else {
            printable += kelvaro::Utf8FromWide({&unit, 1});
        }
    }
    return printable;
}

std::string Printable(std::string_view utf8) {
    return Printable(kelvaro::WideFromBytes(CP_UTF8, 0, utf8));
}

}  // namespace rightclick
