#include "rightclick/log_lines.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "common/code_page.h"
#include "common/file.h"
#include "console/console.h"
#include "log/log.h"
#include "rightclick/result_text.h"
#include "rightclick/target.h"

namespace rightclick {
namespace {

// The messages that tell whether the prompt started. The rest of the line continues the words.
constexpr struct {
    std::string_view message;
    const char* state;
    const char* words;
} kPromptResults[] = {
    {"CreateProcess started (non-blocking)", "started", "the prompt was started"},
    {"CreateProcess failed gle=", "not started", "the prompt did not start: "},
    {"Launch failed: KelvaroAuthPrompt/Kelvaro not found in ", "not found",
     "no prompt was found in "},
    {"Launch failed: module dir empty", "not found",
     "no prompt was found: Windows did not return the DLL's path"},
};

// Returns Latin-1 `bytes`, the encoding of the log, as UTF-16.
std::wstring FromLatin1(std::string_view bytes) {
    std::wstring text;
    for (const char byte : bytes) {
        text.push_back(static_cast<wchar_t>(static_cast<unsigned char>(byte)));
    }
    return text;
}

}  // namespace

size_t LogSize() {
    return kelvaro::ReadFileBytes(kelvaro::kLogFilePath).View().size();
}

std::vector<std::string> LogLinesFrom(size_t begin) {
    constexpr std::string_view kLineEnd = "\r\n";
    const auto bytes = kelvaro::ReadFileBytes(kelvaro::kLogFilePath);
    std::string_view log = bytes.View();
    log.remove_prefix(begin <= log.size() ? begin : 0);
    std::vector<std::string> lines;
    while (!log.empty()) {
        const size_t end = std::min(log.find(kLineEnd), log.size());
        lines.push_back(kelvaro::Utf8FromWide(FromLatin1(log.substr(0, end))));
        log.remove_prefix(std::min(end + kLineEnd.size(), log.size()));
    }
    return lines;
}

std::string ExplainUnwritableLog() {
    const auto error = OpenError(kelvaro::kLogFilePath, FILE_APPEND_DATA);
    return !error                           ? ""
           : *error == ERROR_FILE_NOT_FOUND ? "it does not exist and cannot be created"
                                            : DescribeError(*error);
}

PromptResult ReadPromptResult(const std::vector<std::string>& lines) {
    for (const std::string_view line : lines) {
        const size_t time = line.find("] ");
        const auto text =
            time == std::string_view::npos ? std::string_view() : line.substr(time + 2);
        for (const auto& [message, state, words] : kPromptResults) {
            if (text.starts_with(message)) {
                std::string rest(text.substr(message.size()));
                if (message.ends_with("gle=")) {
                    rest =
                        DescribeError(static_cast<DWORD>(std::strtoul(rest.c_str(), nullptr, 10)));
                }
                return {state, words + rest};
            }
        }
    }
    return {"unknown", "whether the prompt started is unknown: the log does not tell"};
}

}  // namespace rightclick
