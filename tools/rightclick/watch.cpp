#include "rightclick/watch.h"

#include <windows.h>

#include <algorithm>
#include <csignal>
#include <cstdio>

#include "common/file.h"
#include "console/console.h"
#include "log/log.h"

namespace rightclick {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

volatile std::sig_atomic_t g_interrupted = 0;

void SetInterrupted(int /*signal*/) {
    g_interrupted = 1;
}

}  // namespace

std::string ReadLog() {
    return std::string(kelvaro::ReadFileBytes(kelvaro::kLogFilePath).View());
}

std::vector<std::string> LinesAfter(const std::string& log, size_t begin) {
    std::vector<std::string> lines;
    for (size_t at = begin; at < log.size();) {
        const size_t end = std::min(log.find(kLineEnd, at), log.size());
        lines.push_back(console::Utf8(console::FromLatin1(log.substr(at, end - at))));
        at = end + kLineEnd.size();
    }
    return lines;
}

std::vector<std::string> LogFollower::Poll() {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(kelvaro::kLogFilePath, GetFileExInfoStandard, &data)) {
        known_.clear();
        return {};
    }
    const uint64_t size = (uint64_t{data.nFileSizeHigh} << 32) | uint64_t{data.nFileSizeLow};
    if (size == known_.size()) {
        return {};
    }
    std::string log = ReadLog();
    if (log.empty() && size != 0) {
        return {};  // It cannot be read at this moment.
    }
    const size_t begin = log.starts_with(known_) ? known_.size() : 0;
    const size_t lastEnd = log.rfind(kLineEnd);
    log.resize(lastEnd == std::string::npos ? begin : std::max(lastEnd + kLineEnd.size(), begin));
    std::vector<std::string> lines = LinesAfter(log, begin);
    known_ = std::move(log);
    return lines;
}

InterruptCatcher::InterruptCatcher() {
    g_interrupted = 0;
    previous_ = std::signal(SIGINT, SetInterrupted);
}

InterruptCatcher::~InterruptCatcher() {
    std::signal(SIGINT, previous_);
}

bool InterruptCatcher::IsInterrupted() {
    return g_interrupted != 0;
}

void WatchLog() {
    constexpr DWORD kInterval = 200;  // milliseconds
    const InterruptCatcher catcher;
    LogFollower follower;
    const bool exists = kelvaro::PathExists(kelvaro::kLogFilePath);
    console::Print(stderr, "Watching " + console::Utf8(kelvaro::kLogFilePath) +
                               (exists ? "" : ", which does not exist yet") +
                               ". Press Ctrl+C to stop.\n");
    while (!InterruptCatcher::IsInterrupted() && std::ferror(stdout) == 0) {
        for (const std::string& line : follower.Poll()) {
            console::Print(stdout, line + "\n");
        }
        Sleep(kInterval);
    }
}

}  // namespace rightclick
