#include "common/text.h"

#include <algorithm>
#include <cwctype>

namespace kelvaro {
namespace {

bool IsWhitespace(wchar_t unit) noexcept {
    return std::iswspace(static_cast<wint_t>(unit)) != 0;
}

}  // namespace

std::wstring Concat(std::initializer_list<std::wstring_view> parts) {
    size_t length = 0;
    for (const std::wstring_view part : parts) {
        length += part.size();
    }
    std::wstring text;
    text.reserve(length);
    for (const std::wstring_view part : parts) {
        text.append(part);
    }
    return text;
}

std::wstring ToLower(std::wstring_view text) {
    std::wstring lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), ToLowerUnit);
    return lowered;
}

std::wstring_view TrimWhitespace(std::wstring_view text) noexcept {
    const auto first = std::find_if_not(text.begin(), text.end(), IsWhitespace);
    const auto last =
        std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), IsWhitespace);
    return text.substr(static_cast<size_t>(first - text.begin()),
                       static_cast<size_t>(last.base() - first));
}

bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](wchar_t a, wchar_t b) { return ToLowerUnit(a) == ToLowerUnit(b); });
}

}  // namespace kelvaro
