// Checks that any bytes can be decoded, and that FindIniValue returns a trimmed part of one line.

#include "common/text.h"
#include "i18n/language_file.h"
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring text = kelvaro::DecodeText(fuzz::Bytes(data, size));
    fuzz::Require(text.size() <= size);
    if (const auto value = kelvaro::FindIniValue(text, L"S", L"k")) {
        fuzz::Require(*value == kelvaro::TrimWhitespace(*value));
        fuzz::Require(value->find(L'\n') == std::wstring::npos);
        fuzz::Require(text.find(*value) != std::wstring::npos);
    }
    return 0;
}
