#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace console {

// The arguments of the running program, its name first.
std::vector<std::wstring> Arguments();

// `text` in UTF-8.
std::string Utf8(std::wstring_view text);

// The system's text for bytes of one character each, as the log has them.
std::wstring FromLatin1(std::string_view bytes);

// Writes `text` to a stream of the program as UTF-8, line feeds as they are.
void Print(std::FILE* stream, std::string_view text);

// Whether `stream` is a terminal that understands colours; it is made ready for them then.
bool IsTerminal(std::FILE* stream);

}  // namespace console
