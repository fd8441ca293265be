// Checks that NormalizePath returns a canonical path for any text.

#include <algorithm>

#include "common/text.h"
#include "input.h"
#include "rules/path_normalizer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring path = fuzz::Units(fuzz::Bytes(data, size));
    const std::wstring canonical = kelvaro::NormalizePath(path);
    fuzz::Require(canonical.size() <= path.size());
    fuzz::Require(canonical.find(L'/') == std::wstring::npos);
    fuzz::Require(canonical.find(L"\\\\", 1) == std::wstring::npos);
    fuzz::Require(std::none_of(canonical.begin(), canonical.end(),
                               [](wchar_t unit) { return unit >= L'A' && unit <= L'Z'; }));
    // Normalising again changes the result only if the quotes contained white space or more quotes.
    const bool isStable =
        canonical == kelvaro::TrimWhitespace(canonical) &&
        (canonical.size() < 2 || canonical.front() != L'"' || canonical.back() != L'"');
    fuzz::Require(!isStable || kelvaro::NormalizePath(canonical) == canonical);
    return 0;
}
