#include <windows.h>

#include <cwchar>
#include <string>
#include <string_view>

#include "internal/call.h"
#include "internal/encoding.h"
#include "internal/last_error.h"

using compat::Fail;

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

// False if `bytes` are malformed and `flags` forbid that.
bool Decode(std::wstring& text, UINT codePage, DWORD flags, std::string_view bytes) {
    while (!bytes.empty()) {
        size_t length = 1;
        if (codePage == CP_ACP) {
            text.push_back(compat::FromWindows1252(static_cast<unsigned char>(bytes[0])));
        } else {
            const auto sequence = compat::ReadUtf8(bytes);
            const bool malformed = sequence.value == compat::kMalformed;
            if (malformed && (flags & MB_ERR_INVALID_CHARS) != 0) {
                return false;
            }
            compat::AppendCodePoint(text, malformed ? kReplacement : sequence.value);
            length = sequence.length;
        }
        bytes.remove_prefix(length);
    }
    return true;
}

// Copies `from` and returns its length. With a capacity of 0 it only returns the length. Fails if
// the text does not fit.
template <class Text, class Unit>
int CopyText(const Text& from, Unit* to, int capacity) noexcept {
    const auto length = static_cast<int>(from.size());
    if (capacity == 0) {
        return length;
    }
    if (length > capacity) {
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    from.copy(to, from.size());
    return length;
}

template <class Unit>
Unit* CopyBounded(Unit* to, const Unit* from, int capacity) noexcept {
    if (to == nullptr || from == nullptr) {
        return nullptr;
    }
    int at = 0;
    for (; at + 1 < capacity && from[at] != 0; ++at) {
        to[at] = from[at];
    }
    if (capacity > 0) {
        to[at] = 0;
    }
    return to;
}

template <class Unit>
int CompareFolded(const Unit* left, const Unit* right) noexcept {
    const auto fold = [](Unit unit) {
        return unit >= 'A' && unit <= 'Z' ? static_cast<int>(unit) - 'A' + 'a'
                                          : static_cast<int>(unit);
    };
    while (*left != 0 && fold(*left) == fold(*right)) {
        ++left;
        ++right;
    }
    return fold(*left) - fold(*right);
}

}  // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR bytes, int size, LPWSTR text,
                        int capacity) noexcept {
    const compat::Call call("MultiByteToWideChar", ERROR_NO_UNICODE_TRANSLATION);
    if (call.Fails()) {
        return 0;
    }
    if (bytes == nullptr || size == 0 || size < -1 || capacity < 0 ||
        (text == nullptr && capacity > 0) || (codePage != CP_ACP && codePage != CP_UTF8)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const size_t length = size < 0 ? std::string_view(bytes).size() + 1 : static_cast<size_t>(size);
    std::wstring decoded;
    decoded.reserve(length);
    if (!Decode(decoded, codePage, flags, {bytes, length})) {
        return Fail(ERROR_NO_UNICODE_TRANSLATION);
    }
    return CopyText(decoded, text, capacity);
}

int WideCharToMultiByte(UINT codePage, DWORD /*flags*/, LPCWSTR text, int length, LPSTR bytes,
                        int capacity, LPCSTR /*defaultChar*/, LPBOOL /*usedDefault*/) noexcept {
    const compat::Call call("WideCharToMultiByte", ERROR_NO_UNICODE_TRANSLATION);
    if (call.Fails()) {
        return 0;
    }
    if (text == nullptr || length == 0 || length < -1 || capacity < 0 || codePage != CP_UTF8) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const size_t units = length < 0 ? std::wcslen(text) + 1 : static_cast<size_t>(length);
    return CopyText(compat::Utf8FromWide({text, units}), bytes, capacity);
}

LPSTR lstrcpynA(LPSTR to, LPCSTR from, int capacity) noexcept {
    return CopyBounded(to, from, capacity);
}

LPWSTR lstrcpynW(LPWSTR to, LPCWSTR from, int capacity) noexcept {
    return CopyBounded(to, from, capacity);
}

int _stricmp(const char* left, const char* right) noexcept {
    return CompareFolded(left, right);
}

int _wcsicmp(const wchar_t* left, const wchar_t* right) noexcept {
    return CompareFolded(left, right);
}
