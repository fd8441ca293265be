#include <windows.h>

#include "rightclick/unicode.h"

namespace rightclick {

std::wstring Compose(std::wstring_view text) {
    const auto length = static_cast<int>(text.size());
    // Composing makes no text longer than three times its length.
    std::wstring composed(text.size() * 3, L'\0');
    const int size = NormalizeString(NormalizationC, text.data(), length, composed.data(),
                                     static_cast<int>(composed.size()));
    if (length == 0 || size <= 0) {
        return std::wstring(text);
    }
    composed.resize(static_cast<size_t>(size));
    return composed;
}

std::wstring FoldCase(std::wstring_view text) {
    std::wstring folded(text);
    CharLowerBuffW(folded.data(), static_cast<DWORD>(folded.size()));
    return folded;
}

}  // namespace rightclick
