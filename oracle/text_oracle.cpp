#include "oracle/text_oracle.h"

#include <algorithm>
#include <sstream>

#include "common/text.h"

namespace oracle {

using kelvaro::ToLower;
using kelvaro::TrimWhitespace;

std::optional<std::wstring> FindIniValue(const std::wstring& text, const std::wstring& section,
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

std::wstring NormalizePath(std::wstring_view path) {
    std::wstring text(TrimWhitespace(path));
    if (text.size() >= 2 && text.front() == L'"' && text.back() == L'"') {
        text = text.substr(1, text.size() - 2);
    }
    std::replace(text.begin(), text.end(), L'/', L'\\');
    const bool network = text.starts_with(L"\\\\");
    text.erase(std::unique(text.begin(), text.end(),
                           [](wchar_t a, wchar_t b) { return a == L'\\' && b == L'\\'; }),
               text.end());
    return ToLower(network ? L"\\" + text : text);
}

}  // namespace oracle
