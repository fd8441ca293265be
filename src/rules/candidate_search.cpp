#include "rules/candidate_search.h"

#include "common/code_page.h"

namespace kelvaro {
namespace {

constexpr char kAnyBytes = '\0';

bool IsSeparatorByte(char byte) noexcept {
    return byte == '\\' || byte == '/';
}

// Returns the path as UTF-8. Some control characters can be written as escapes, and U+FFFD can come
// from any malformed bytes, so both become kAnyBytes.
std::string ExpectedBytes(std::wstring_view canonicalPath) {
    constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
    std::string bytes = Utf8FromWide(canonicalPath);
    for (size_t at = 0; (at = bytes.find(kReplacement, at)) != std::string::npos;) {
        bytes.replace(at, kReplacement.size(), kReplacement.size(), kAnyBytes);
    }
    for (char& byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        byte = value < 0x20 || value == 0x7F ? kAnyBytes : byte;
    }
    return bytes;
}

// Returns whether `byte` can be next to a target, outside of it: a quote, white space that is
// trimmed, or part of an escape for white space.
bool CanBeEdge(char byte) noexcept {
    const auto value = static_cast<unsigned char>(byte);
    return value <= 0x20 || value >= 0x7F || byte == '"' || byte == '\\' || byte == 'n' ||
           byte == 'r' || byte == 't';
}

// Returns true if `bytes` could start with `path` followed by the end of a target. Any byte can be
// escaped by a backslash.
bool CanBeginWith(std::string_view bytes, std::string_view path) noexcept {
    size_t at = 0;
    for (const char wanted : path) {
        if (wanted == kAnyBytes) {
            return true;
        }
        const size_t begin = at;
        while (at < bytes.size() &&
               (wanted == '\\' ? IsSeparatorByte(bytes[at]) : bytes[at] == '\\')) {
            ++at;
        }
        if (wanted == '\\') {
            if (at == begin) {
                return false;
            }
            continue;
        }
        if (at == bytes.size() || LooseFold(bytes[at]) != LooseFold(wanted)) {
            return false;
        }
        ++at;
    }
    return at == bytes.size() || CanBeEdge(bytes[at]);
}

// Returns true if `bytes` could end with the start of a target followed by `path`.
bool CanEndWith(std::string_view bytes, std::string_view path) noexcept {
    size_t at = bytes.size();
    while (!path.empty()) {
        const char wanted = path.back();
        path.remove_suffix(1);
        if (wanted == kAnyBytes) {
            return true;
        }
        const size_t end = at;
        while (at > 0 &&
               (wanted == '\\' ? IsSeparatorByte(bytes[at - 1]) : bytes[at - 1] == '\\')) {
            --at;
        }
        if (wanted == '\\') {
            // The two backslashes that start a network path match one run of separators.
            path.remove_suffix(path.ends_with('\\') ? 1 : 0);
            if (at == end) {
                return false;
            }
            continue;
        }
        if (at == 0 || LooseFold(bytes[at - 1]) != LooseFold(wanted)) {
            return false;
        }
        --at;
    }
    return at == 0 || CanBeEdge(bytes[at - 1]);
}

}  // namespace

CandidateSearch::CandidateSearch(std::wstring_view canonicalPath)
    : path_(ExpectedBytes(canonicalPath)), anchor_(Anchor::Choose(path_)) {}

size_t CandidateSearch::Next(std::string_view rules, size_t from) const noexcept {
    if (!anchor_) {
        return from < rules.size() ? from : std::string_view::npos;
    }
    const std::string_view path = path_;
    const std::string_view head = path.substr(0, anchor_->Position());
    const std::string_view tail = path.substr(anchor_->Position());
    size_t at = anchor_->Find(rules, from);
    // The end is compared first: it is short and differs for most programs. Comparing the start as
    // well saves parsing the rules for programs with the same file name in other folders.
    while (at != std::string_view::npos &&
           !(CanBeginWith(rules.substr(at), tail) && CanEndWith(rules.substr(0, at), head))) {
        at = anchor_->Find(rules, at + 1);
    }
    return at;
}

}  // namespace kelvaro
