#include "rightclick/log_lines.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "common/code_page.h"
#include "common/file.h"
#include "common/owners.h"
#include "console/console.h"
#include "log/log.h"
#include "rightclick/result_text.h"

namespace rightclick {
namespace {

uint64_t LogSize() {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    const bool known = GetFileAttributesExW(kelvaro::kLogFilePath, GetFileExInfoStandard, &data);
    return known ? (uint64_t{data.nFileSizeHigh} << 32) | uint64_t{data.nFileSizeLow} : 0;
}

// Returns the text of `line` after its time and `message`. std::nullopt if it has another message.
std::optional<std::string> After(const std::string& line, std::string_view message) {
    const size_t time = line.find("] ");
    return time != std::string::npos && line.compare(time + 2, message.size(), message) == 0
               ? std::optional(line.substr(time + 2 + message.size()))
               : std::nullopt;
}

}  // namespace

LogReader::LogReader() : begin_(LogSize()) {}

std::vector<std::string> LogReader::NewLines() const {
    constexpr std::string_view kLineEnd = "\r\n";
    const auto bytes = kelvaro::ReadFileBytes(kelvaro::kLogFilePath);
    std::string_view log = bytes.View();
    // A shorter log is a new one.
    log.remove_prefix(begin_ <= log.size() ? static_cast<size_t>(begin_) : 0);
    std::vector<std::string> lines;
    while (!log.empty()) {
        const size_t end = std::min(log.find(kLineEnd), log.size());
        lines.push_back(kelvaro::Utf8FromWide(console::FromLatin1(log.substr(0, end))));
        log.remove_prefix(std::min(end + kLineEnd.size(), log.size()));
    }
    return lines;
}

std::string ExplainUnwritableLog() {
    const kelvaro::ScopedHandle file(
        CreateFileW(kelvaro::kLogFilePath, FILE_APPEND_DATA,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_ATTRIBUTE_NORMAL, nullptr));
    const DWORD error = GetLastError();
    if (file) {
        return {};
    }
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND
               ? "it does not exist and cannot be created"
               : DescribeError(error);
}

PromptResult ReadPromptResult(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        if (After(line, "CreateProcess started")) {
            return {"started", "the prompt was started"};
        }
        if (const auto code = After(line, "CreateProcess failed gle=")) {
            const auto error = static_cast<DWORD>(std::strtoul(code->c_str(), nullptr, 10));
            return {"not started", "the prompt did not start: " + DescribeError(error)};
        }
        if (const auto folder =
                After(line, "Launch failed: KelvaroAuthPrompt/Kelvaro not found in ")) {
            return {"not found", "no prompt was found in " + *folder};
        }
        if (After(line, "Launch failed: module dir empty")) {
            return {"not found", "no prompt was found: Windows did not return the DLL's path"};
        }
    }
    return {"unknown", "whether the prompt started is unknown: the log does not tell"};
}

}  // namespace rightclick
