// Checks that any bytes can be decoded, and that FindIniValue finds the same value in the text as a
// plain line-by-line parser.

#include "i18n/language_file.h"
#include "input.h"
#include "oracle/text_oracle.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring text = kelvaro::DecodeText(fuzz::Bytes(data, size));
    fuzz::Require(text.size() <= size);
    const auto found = kelvaro::FindIniValue(text, L"S", L"k");
    const auto expected = oracle::FindIniValue(text, L"s", L"k");
    fuzz::Require(found == expected);
    return 0;
}
