#include "rightclick/result_text.h"

#include "common/text.h"

namespace rightclick {
namespace {

struct KnownResult {
    HRESULT result;
    const char* words;
};

constexpr KnownResult kKnown[] = {
    {S_OK, "S_OK: done"},
    {S_FALSE, "S_FALSE: no"},
    {E_FAIL, "E_FAIL: failed"},
    {E_INVALIDARG, "E_INVALIDARG: invalid argument"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY: not enough memory"},
    {E_NOINTERFACE, "E_NOINTERFACE: interface not supported"},
    {E_POINTER, "E_POINTER: invalid pointer"},
    {CLASS_E_NOAGGREGATION, "CLASS_E_NOAGGREGATION: aggregation not supported"},
    {CLASS_E_CLASSNOTAVAILABLE, "CLASS_E_CLASSNOTAVAILABLE: the library does not have this class"},
};

constexpr KnownResult kKnownErrors[] = {
    {ERROR_FILE_NOT_FOUND, "the file does not exist"},
    {ERROR_PATH_NOT_FOUND, "the folder does not exist"},
    {ERROR_ACCESS_DENIED, "access is denied"},
    {ERROR_MOD_NOT_FOUND, "the library or one that it depends on does not exist"},
    {ERROR_PROC_NOT_FOUND, "the library does not have this export"},
    {ERROR_BAD_EXE_FORMAT, "the file is not a library for this machine"},
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

std::string DescribeResult(HRESULT result) {
    for (const auto& [known, words] : kKnown) {
        if (known == result) {
            return HexResult(result) + " (" + words + ")";
        }
    }
    if (!IsSystemError(result)) {
        return HexResult(result);
    }
    const DWORD error = HRESULT_CODE(result);
    for (const auto& [known, words] : kKnownErrors) {
        if (static_cast<DWORD>(known) == error) {
            return HexResult(result) + " (" + words + ")";
        }
    }
    return HexResult(result) + " (system error " + std::to_string(error) + ")";
}

}  // namespace rightclick
