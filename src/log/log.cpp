#include "log/log.h"

#include "common/file.h"
#include "common/text.h"

namespace kelvaro {
namespace {

void AppendTime(std::string& line, const SYSTEMTIME& time) {
    AppendNumber(line, time.wYear, 10, 4);
    const struct {
        char separator;
        WORD value;
    } parts[] = {{'-', time.wMonth},
                 {'-', time.wDay},
                 {' ', time.wHour},
                 {':', time.wMinute},
                 {':', time.wSecond}};
    for (const auto& [separator, value] : parts) {
        line.push_back(separator);
        AppendNumber(line, value, 10, 2);
    }
}

void AppendEscaped(std::string& line, unsigned codePoint) {
    line += "<U+";
    AppendNumber(line, codePoint, 16, 4);
    line += ">";
}

bool IsSurrogatePair(char16_t first, char16_t second) noexcept {
    return first >= 0xD800 && first < 0xDC00 && second >= 0xDC00 && second < 0xE000;
}

}  // namespace

std::string FormatLogLine(const SYSTEMTIME& time, std::wstring_view message) {
    std::string line;
    line.reserve(sizeof "[2026-11-16 18:06:33] \r\n" + message.size());
    line += "[";
    AppendTime(line, time);
    line += "] ";
    for (size_t at = 0; at < message.size(); ++at) {
        const auto unit = static_cast<char16_t>(message[at]);
        const auto next = static_cast<char16_t>(at + 1 < message.size() ? message[at + 1] : 0);
        if (unit == u'\n') {
            line += "\r\n";
        } else if (unit <= 0xFF) {
            line.push_back(static_cast<char>(unit));
        } else if (IsSurrogatePair(unit, next)) {
            AppendEscaped(line, 0x10000U + ((unit - 0xD800U) << 10) + (next - 0xDC00U));
            ++at;
        } else {
            AppendEscaped(line, unit);
        }
    }
    line += "\r\n";
    return line;
}

void WriteLog(std::wstring_view message) noexcept {
    try {
        SYSTEMTIME now = {};
        GetLocalTime(&now);
        const std::string line = FormatLogLine(now, message);
        // The directory is usually missing only on the first write. Another thread or process may
        // have created it, and even the file, since the failed attempt.
        if (!AppendToFile(kLogFilePath, line) && CreateDirectories(kLogDirectory)) {
            AppendToFile(kLogFilePath, line);
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): there is no other place to report it
    }
}

}  // namespace kelvaro
