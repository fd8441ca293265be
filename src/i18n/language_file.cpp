#include "i18n/language_file.h"

#include <climits>

#include "common/code_page.h"
#include "common/file.h"
#include "common/text.h"

namespace kelvaro {
namespace {

constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

std::wstring FromUtf16(std::string_view bytes) {
    std::wstring text;
    text.reserve(bytes.size() / 2);
    for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
        const auto low = static_cast<unsigned char>(bytes[at]);
        const auto high = static_cast<unsigned char>(bytes[at + 1]);
        text.push_back(static_cast<wchar_t>(low | (high << 8)));
    }
    return text;
}

bool IsComment(std::wstring_view line) noexcept {
    return line.starts_with(L';') || line.starts_with(L'#');
}

}  // namespace

std::wstring ReadLanguageText(const std::wstring& path) {
    return DecodeText(ReadFileBytes(path.c_str(), INT_MAX).View());
}

std::wstring DecodeText(std::string_view bytes) {
    if (bytes.starts_with(kUtf16Mark)) {
        return FromUtf16(bytes.substr(kUtf16Mark.size()));
    }
    std::wstring text;
    if (bytes.starts_with(kUtf8Mark)) {
        text = WideFromBytes(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.substr(kUtf8Mark.size()));
    }
    if (text.empty()) {
        text = WideFromBytes(CP_UTF8, MB_ERR_INVALID_CHARS, bytes);
    }
    if (text.empty()) {
        text = WideFromBytes(CP_ACP, 0, bytes);
    }
    return text;
}

std::optional<std::wstring_view> FindIniValue(std::wstring_view text, std::wstring_view section,
                                              std::wstring_view key) noexcept {
    section = TrimWhitespace(section);
    key = TrimWhitespace(key);
    if (section.empty() || key.empty()) {
        return std::nullopt;
    }
    bool inSection = false;
    while (!text.empty()) {
        const size_t lineEnd = text.find(L'\n');
        const std::wstring_view line = TrimWhitespace(text.substr(0, lineEnd));
        text.remove_prefix(lineEnd == std::wstring_view::npos ? text.size() : lineEnd + 1);
        if (line.empty() || IsComment(line)) {
            continue;
        }
        if (line.size() >= 2 && line.front() == L'[' && line.back() == L']') {
            const std::wstring_view name = TrimWhitespace(line.substr(1, line.size() - 2));
            inSection = EqualsIgnoringCase(name, section);
        } else if (const size_t equals = line.find(L'=');
                   inSection && equals != std::wstring_view::npos &&
                   EqualsIgnoringCase(TrimWhitespace(line.substr(0, equals)), key)) {
            return TrimWhitespace(line.substr(equals + 1));
        }
    }
    return std::nullopt;
}

}  // namespace kelvaro
