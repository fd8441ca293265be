#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace kelvaro {

// Returns `bytes`, encoded in `codePage`, as UTF-16. `flags` are those of MultiByteToWideChar.
// Empty if the conversion fails or `bytes` has 2 GiB or more. Throws std::bad_alloc.
std::wstring WideFromBytes(UINT codePage, DWORD flags, std::string_view bytes);

// Returns `text` as UTF-8. Invalid UTF-16 becomes U+FFFD. Empty if the conversion fails or `text`
// has 2^31 units or more. Throws std::bad_alloc.
std::string Utf8FromWide(std::wstring_view text);

}  // namespace kelvaro
