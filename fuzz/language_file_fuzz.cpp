// Checks that any bytes can be decoded, and that FindIniValue finds the same value in the text as a
// plain line-by-line parser.

#include <sstream>

#include "common/text.h"
#include "i18n/language_file.h"
#include "input.h"

namespace {

using kelvaro::ToLower;
using kelvaro::TrimWhitespace;

std::optional<std::wstring> LineByLine(const std::wstring& text, const std::wstring& section,
                                       const std::wstring& key) {
    std::wistringstream lines(text);
    std::wstring line;
    bool inSection = false;
    while (std::getline(lines, line)) {
        line = TrimWhitespace(line);
        if (line.empty() || line[0] == L';' || line[0] == L'#') {
            continue;
        }
        if (line.size() >= 2 && line.front() == L'[' && line.back() == L']') {
            inSection = ToLower(TrimWhitespace(line.substr(1, line.size() - 2))) == section;
            continue;
        }
        const size_t equals = line.find(L'=');
        if (inSection && equals != std::wstring::npos &&
            ToLower(TrimWhitespace(line.substr(0, equals))) == key) {
            return std::wstring(TrimWhitespace(line.substr(equals + 1)));
        }
    }
    return std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring text = kelvaro::DecodeText(fuzz::Bytes(data, size));
    fuzz::Require(text.size() <= size);
    const auto found = kelvaro::FindIniValue(text, L"S", L"k");
    const auto expected = LineByLine(text, L"s", L"k");
    fuzz::Require(found.has_value() == expected.has_value());
    fuzz::Require(!found || *found == *expected);
    return 0;
}
