#include "common/code_page.h"

#include <climits>

namespace kelvaro {

std::wstring WideFromBytes(UINT codePage, DWORD flags, std::string_view bytes) {
    if (bytes.empty() || bytes.size() > INT_MAX) {
        return {};
    }
    const int size = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    if (length <= 0) {
        return {};
    }
    std::wstring text(static_cast<size_t>(length), L'\0');
    const int written =
        MultiByteToWideChar(codePage, flags, bytes.data(), size, text.data(), length);
    text.resize(static_cast<size_t>(written > 0 ? written : 0));
    return text;
}

std::string Utf8FromWide(std::wstring_view text) {
    if (text.empty() || text.size() > INT_MAX) {
        return {};
    }
    const int length = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (size <= 0) {
        return {};
    }
    std::string bytes(static_cast<size_t>(size), '\0');
    const int written =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    bytes.resize(static_cast<size_t>(written > 0 ? written : 0));
    return bytes;
}

}  // namespace kelvaro
