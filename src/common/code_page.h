#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace kelvaro {

// `bytes` in `codePage` as UTF-16, with the flags of MultiByteToWideChar. Empty when the conversion
// refuses them, and for 2 GiB and more, which it cannot count.
std::wstring WideFromBytes(UINT codePage, DWORD flags, std::string_view bytes);

// `text` in UTF-8, with replacement characters for what is no character. Empty when the platform
// cannot say.
std::string Utf8FromWide(std::wstring_view text);

}  // namespace kelvaro
