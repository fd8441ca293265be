#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

inline constexpr wchar_t kLogDirectory[] = L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs";
inline constexpr wchar_t kLogFilePath[] = L"C:\\ProgramData\\Vorandel\\Kelvaro\\logs\\ShellExt.log";

// Appends one line with the local time and `message` to the diagnostic log. Never reports a
// failure: a line that cannot be written is dropped.
void WriteLog(std::wstring_view message) noexcept;

// The bytes of one log line, line end included: "[time] message". A character has one byte; one
// above U+00FF stands as its code point, "<U+8F6F>", so that the line stays whole.
std::string FormatLogLine(std::string_view time, std::wstring_view message);

}  // namespace kelvaro
