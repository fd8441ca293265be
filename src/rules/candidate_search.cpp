#include "rules/candidate_search.h"

#include "common/code_page.h"

namespace kelvaro {
namespace {

constexpr char kAnything = '\0';

bool IsSeparatorByte(char byte) noexcept {
    return byte == '\\' || byte == '/';
}

// Control characters are spelt by escapes, and a replacement character stands for any malformed
// bytes.
std::string ExpectedBytes(std::wstring_view canonicalPath) {
    constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
    std::string bytes = Utf8FromWide(canonicalPath);
    for (size_t at = 0; (at = bytes.find(kReplacement, at)) != std::string::npos;) {
        bytes.replace(at, kReplacement.size(), kReplacement.size(), kAnything);
    }
    for (char& byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        byte = value < 0x20 || value == 0x7F ? kAnything : byte;
    }
    return bytes;
}

// Whether a target can begin behind `byte` or end before it: at its quote, at white space that is
// trimmed, or at an escape, whose letter may stand for white space.
bool MayBeEdge(char byte) noexcept {
    const auto value = static_cast<unsigned char>(byte);
    return value <= 0x20 || value >= 0x7F || byte == '"' || byte == '\\' || byte == 'n' ||
           byte == 'r' || byte == 't';
}

// Whether `bytes` can begin with the spelling of `path` and the end of a target. Backslashes may
// stand before any byte, as escapes.
bool MayBeginWith(std::string_view bytes, std::string_view path) noexcept {
    size_t at = 0;
    for (const char wanted : path) {
        if (wanted == kAnything) {
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
        } else if (at == bytes.size() || LooseFold(bytes[at++]) != LooseFold(wanted)) {
            return false;
        }
    }
    return at == bytes.size() || MayBeEdge(bytes[at]);
}

// Whether `bytes` can end with the beginning of a target and the spelling of `path`.
bool MayEndWith(std::string_view bytes, std::string_view path) noexcept {
    size_t at = bytes.size();
    while (!path.empty()) {
        const char wanted = path.back();
        path.remove_suffix(1);
        if (wanted == kAnything) {
            return true;
        }
        const size_t end = at;
        while (at > 0 &&
               (wanted == '\\' ? IsSeparatorByte(bytes[at - 1]) : bytes[at - 1] == '\\')) {
            --at;
        }
        if (wanted == '\\') {
            // The two of a network path are one run as well.
            path.remove_suffix(path.ends_with('\\') ? 1 : 0);
            if (at == end) {
                return false;
            }
        } else if (at == 0 || LooseFold(bytes[--at]) != LooseFold(wanted)) {
            return false;
        }
    }
    return at == 0 || MayBeEdge(bytes[at - 1]);
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
    // The end first: it is short, and tells most names apart.
    while (at != std::string_view::npos &&
           !(MayBeginWith(rules.substr(at), tail) && MayEndWith(rules.substr(0, at), head))) {
        at = anchor_->Find(rules, at + 1);
    }
    return at;
}

}  // namespace kelvaro
