#include "rightclick/explain_fields.h"

#include <algorithm>
#include <optional>

#include "common/code_page.h"
#include "console/console.h"

namespace rightclick {
namespace {

constexpr std::string_view kWhitespace = " \t\r\n";
constexpr std::string_view kNoValue = ",{}[]:";

// Lower case.
constexpr std::string_view kTargetKeys[] = {
    "target",     "targets",    "path",    "file",    "filename",   "filepath",
    "fullpath",   "targetpath", "program", "exepath", "location",   "exe",
    "executable", "app",        "image",   "process", "application"};

struct Quotes {
    std::string_view opening;
    std::string_view closing;
};

constexpr Quotes kQuotes[] = {
    {"\"", "\""},
    {"'", "'"},
    {"\xE2\x80\x9C", "\xE2\x80\x9D"},  // U+201C, U+201D
    {"\xE2\x80\x9D", "\xE2\x80\x9D"},
    {"\xE2\x80\x9E", "\xE2\x80\x9C"},  // U+201E
    {"\xE2\x80\x98", "\xE2\x80\x99"},  // U+2018, U+2019
};

struct Token {
    std::string_view text;
    std::string_view quote;
};

class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool SkipTo(std::string_view byte) {
        SkipWhitespace();
        const bool found = rest_.starts_with(byte);
        rest_.remove_prefix(found ? byte.size() : 0);
        return found;
    }

    // Returns a quoted text, or the bytes up to a byte of `ends`. std::nullopt at the end of the
    // text and if there are none.
    std::optional<Token> Next(std::string_view ends) {
        SkipWhitespace();
        for (const Quotes& quotes : kQuotes) {
            if (rest_.starts_with(quotes.opening)) {
                rest_.remove_prefix(quotes.opening.size());
                const size_t end = QuotedLength(rest_, quotes.closing);
                const Token token = {rest_.substr(0, end), quotes.opening};
                rest_.remove_prefix(std::min(end + quotes.closing.size(), rest_.size()));
                return token;
            }
        }
        const size_t end = std::min(rest_.find_first_of(ends), rest_.size());
        std::string_view word = rest_.substr(0, end);
        word = word.substr(0, word.find_last_not_of(kWhitespace) + 1);
        rest_.remove_prefix(end);
        return word.empty() ? std::nullopt : std::optional(Token{word, {}});
    }

    bool SkipSeparators() {
        const size_t skipped = rest_.find_first_not_of(",{}[]: \t\r\n");
        rest_.remove_prefix(std::min(skipped, rest_.size()));
        return !rest_.empty();
    }

  private:
    void SkipWhitespace() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(kWhitespace), rest_.size()));
    }

    std::string_view rest_;
};

}  // namespace

// An escaped quotation mark closes the text only if the value ends there: then the backslash is the
// last one of a path, and it is not doubled.
size_t QuotedLength(std::string_view text, std::string_view closing) {
    size_t at = text.find(closing);
    for (; at < text.size(); at = text.find(closing, at + closing.size())) {
        const std::string_view before = text.substr(0, at);
        const size_t backslashes = at - (before.find_last_not_of('\\') + 1);
        const size_t after = text.find_first_not_of(kWhitespace, at + closing.size());
        const bool ends = after == std::string_view::npos ||
                          std::string_view(",}]").find(text[after]) != std::string_view::npos;
        if (backslashes % 2 == 0 || ends) {
            return at;
        }
    }
    return text.size();
}

std::vector<LooseField> ReadLooseFields(std::string_view object) {
    std::vector<LooseField> fields;
    Reader reader(object);
    while (reader.SkipSeparators()) {
        const auto key = reader.Next(kNoValue);
        if (!key || !reader.SkipTo(":")) {
            continue;
        }
        const bool inList = reader.SkipTo("[");
        do {
            if (const auto value = reader.Next(",}]\n")) {
                fields.push_back({key->text, key->quote, value->text, value->quote, inList});
            }
        } while (inList && reader.SkipTo(","));
    }
    return fields;
}

bool IsTargetKey(std::string_view key) {
    return std::find(std::begin(kTargetKeys), std::end(kTargetKeys), LowerCase(key)) !=
           std::end(kTargetKeys);
}

std::string LowerCase(std::string_view text) {
    std::string lowered(text);
    for (char& byte : lowered) {
        byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    }
    return lowered;
}

std::string Shown(std::string_view bytes) {
    constexpr size_t kMaxUnits = 260;
    const std::wstring text = kelvaro::WideFromBytes(CP_UTF8, 0, bytes);
    return text.size() <= kMaxUnits ? console::Utf8(text)
                                    : console::Utf8(text.substr(0, kMaxUnits)) + "...";
}

std::string Quoted(std::string_view bytes) {
    return "\"" + Shown(bytes) + "\"";
}

}  // namespace rightclick
