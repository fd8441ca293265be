#include "rightclick/result_text.h"

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

}  // namespace rightclick
