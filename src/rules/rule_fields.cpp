#include "rules/rule_fields.h"

namespace kelvaro {
namespace {

constexpr std::string_view kWhitespace = " \t\n\v\f\r";
constexpr std::string_view kTrue = "true";
constexpr std::string_view kFalse = "false";

std::string_view SkipWhitespace(std::string_view text) noexcept {
    const size_t skipped = text.find_first_not_of(kWhitespace);
    return skipped == std::string_view::npos ? std::string_view() : text.substr(skipped);
}

// Iterates over the occurrences of `key` that are followed by a colon. Next returns the text from
// the value on, std::nullopt after the last occurrence.
class FieldValues {
  public:
    FieldValues(std::string_view objectText, std::string_view key) noexcept
        : rest_(objectText), key_(key) {}

    std::optional<std::string_view> Next() noexcept {
        for (;;) {
            const size_t quote = rest_.find('"');
            if (quote == std::string_view::npos) {
                return std::nullopt;
            }
            rest_.remove_prefix(quote + 1);
            if (!rest_.starts_with(key_) || !rest_.substr(key_.size()).starts_with('"')) {
                continue;
            }
            const std::string_view afterKey = SkipWhitespace(rest_.substr(key_.size() + 1));
            if (afterKey.starts_with(':')) {
                return SkipWhitespace(afterKey.substr(1));
            }
        }
    }

  private:
    std::string_view rest_;
    std::string_view key_;
};

}  // namespace

std::optional<std::string_view> FindStringField(std::string_view objectText,
                                                std::string_view key) noexcept {
    FieldValues values(objectText, key);
    while (const auto value = values.Next()) {
        if (!value->starts_with('"')) {
            continue;
        }
        const size_t end = value->find('"', 1);
        if (end == std::string_view::npos) {
            return std::nullopt;  // No later string can be terminated either.
        }
        return value->substr(1, end - 1);
    }
    return std::nullopt;
}

std::string ExtractStringField(std::string_view objectText, std::string_view key,
                               std::string_view defaultValue) {
    const auto raw = FindStringField(objectText, key);
    return raw ? UnescapeJsonString(*raw) : std::string(defaultValue);
}

std::optional<std::string_view> FindBoolField(std::string_view objectText,
                                              std::string_view key) noexcept {
    FieldValues values(objectText, key);
    while (const auto value = values.Next()) {
        for (const std::string_view word : {kTrue, kFalse}) {
            if (value->starts_with(word)) {
                return value->substr(0, word.size());
            }
        }
    }
    return std::nullopt;
}

bool ExtractBoolField(std::string_view objectText, std::string_view key,
                      bool defaultValue) noexcept {
    const auto word = FindBoolField(objectText, key);
    return word ? *word == kTrue : defaultValue;
}

std::string UnescapeJsonString(std::string_view raw) {
    std::string decoded;
    decoded.reserve(raw.size());
    for (size_t at = 0; at < raw.size(); ++at) {
        char byte = raw[at];
        if (byte == '\\' && at + 1 < raw.size()) {
            byte = raw[++at];
            switch (byte) {
                case 'n':
                    byte = '\n';
                    break;
                case 'r':
                    byte = '\r';
                    break;
                case 't':
                    byte = '\t';
                    break;
                default:
                    break;
            }
        }
        decoded.push_back(byte);
    }
    return decoded;
}

}  // namespace kelvaro
