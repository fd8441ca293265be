#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace kelvaro {

inline constexpr wchar_t kLogDirectory[] = L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs";
inline constexpr wchar_t kLogFilePath[] = L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs\\ShellExt.log";

// Appends one line with the local time and `message` to the diagnostic log. Creates the log and its
// directory if they are missing. A line that cannot be written is dropped.
void WriteLog(std::wstring_view message) noexcept;

// Returns the bytes of the log line "[2026-11-16 18:06:33] message" with its line end. Characters
// up to U+00FF are single bytes; others are written as their code point, such as "<U+8F6F>". A line
// feed becomes CR LF. Throws std::bad_alloc.
std::string FormatLogLine(const SYSTEMTIME& time, std::wstring_view message);

}  // namespace kelvaro
