#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace console {

// Returns the arguments of this program. The first is its name.
std::vector<std::wstring> Arguments();

// Returns `text` as UTF-8. Invalid UTF-16 becomes U+FFFD.
std::string Utf8(std::wstring_view text);

// Returns Latin-1 `bytes`, the encoding of the log, as UTF-16.
std::wstring FromLatin1(std::string_view bytes);

// Writes `text` to `stream` and flushes it.
void Print(std::FILE* stream, std::string_view text);

// Returns whether `stream` is a terminal that supports colours, and switches them on.
bool IsTerminal(std::FILE* stream);

}  // namespace console
