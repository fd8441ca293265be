#include "rightclick/name_search.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "common/code_page.h"
#include "rightclick/platform.h"
#include "rightclick/result_text.h"
#include "rules/anchor_search.h"

namespace rightclick {
namespace {

constexpr wchar_t kMalformed = 0xFFFD;

// Returns whether `byte` can be before a file name.
bool IsBeforeName(char byte) noexcept {
    return byte == '"' || byte == '\'' || byte == '\\' || byte == '/' || byte == ':';
}

// Accepts a byte or a UTF-16 unit.
constexpr auto IsAscii = [](auto unit) { return static_cast<unsigned>(unit) < 0x80; };

// Returns `text` without blanks, unseen characters and differences of letter case. Keeps nulls, so
// that no text in UTF-16 is taken for one in UTF-8.
std::wstring Fold(std::wstring_view text) {
    std::wstring folded = LowerCase(text);
    std::erase_if(folded, [](wchar_t unit) {
        return unit == L' ' || (IsUnseen(unit) && unit != L'\0' && unit != kMalformed);
    });
    return folded;
}

// Removes one ASCII character or one escape from the start of `text` and returns it.
std::wstring TakeUnit(std::string_view& text) {
    constexpr size_t kEscape = 6;  // \u006F
    unsigned unit = 0;
    if (text.size() >= kEscape && text.starts_with("\\u") &&
        std::from_chars(text.data() + 2, text.data() + kEscape, unit, 16).ptr ==
            text.data() + kEscape) {
        text.remove_prefix(kEscape);
        return {static_cast<wchar_t>(unit)};
    }
    text.remove_prefix(text.size() > 1 && text[0] == '\\' ? 1 : 0);
    const auto byte = static_cast<unsigned char>(text[0]);
    text.remove_prefix(1);
    return {static_cast<wchar_t>(byte)};
}

}  // namespace

NameSearch::NameSearch(std::wstring_view canonicalPath)
    : name_(Fold(canonicalPath.substr(canonicalPath.rfind(L'\\') + 1))) {}

bool NameSearch::IsAtStartOf(std::string_view text) const {
    constexpr size_t kLongestRun = 4096;  // much longer than a file name
    constexpr int kMostSkipped = 16;      // so that each search ends soon
    int skipped = 0;
    std::wstring_view wanted = name_;
    while (!wanted.empty()) {
        if (text.empty() || skipped > kMostSkipped) {
            return false;
        }
        const char byte = text[0];
        const bool graphic = byte > ' ' && byte < 0x7F && byte != '\\';
        if (graphic && IsAscii(wanted[0]) &&
            kelvaro::LooseFold(byte) != kelvaro::LooseFold(static_cast<char>(wanted[0]))) {
            return false;  // the usual case, decided quickly
        }
        std::wstring read;
        if (IsAscii(byte)) {
            read = Fold(TakeUnit(text));
        } else {
            const std::string_view window = text.substr(0, kLongestRun);
            const auto end = std::find_if(window.begin(), window.end(), IsAscii);
            const auto run = static_cast<size_t>(end - window.begin());
            read = Fold(kelvaro::WideFromBytes(CP_UTF8, 0, text.substr(0, run)));
            text.remove_prefix(run);
        }
        skipped += read.empty() ? 1 : 0;
        if (read.find(kMalformed) != std::wstring::npos) {
            const auto ascii = std::find_if(wanted.begin(), wanted.end(), IsAscii);
            wanted.remove_prefix(static_cast<size_t>(ascii - wanted.begin()));
        } else if (wanted.starts_with(read)) {
            wanted.remove_prefix(read.size());
        } else {
            return false;
        }
    }
    return text.empty() || std::isalnum(static_cast<unsigned char>(text[0])) == 0;
}

bool NameSearch::IsIn(std::string_view text) const {
    for (size_t at = 0; at < text.size(); ++at) {
        if (IsBeforeName(text[at]) && IsAtStartOf(text.substr(at + 1))) {
            return true;
        }
    }
    return false;
}

}  // namespace rightclick
