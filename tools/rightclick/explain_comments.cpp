#include "rightclick/explain_comments.h"

#include <algorithm>

#include "rightclick/explain_fields.h"

namespace rightclick {
namespace {

// Returns the length of the comment at `at`; 0 if there is none. A URL without quotation marks is
// no comment.
size_t CommentLength(std::string_view rules, size_t at) {
    const std::string_view rest = rules.substr(at);
    if (rest.starts_with("/*")) {
        const size_t end = rest.find("*/", 2);
        return end == std::string_view::npos ? rest.size() : end + 2;
    }
    const std::string_view before = rules.substr(0, at);
    const size_t last = before.find_last_not_of(" \t");
    const bool beginsLine = last == std::string_view::npos || before[last] == '\n';
    const bool comment =
        rest.starts_with('#') ? beginsLine : rest.starts_with("//") && !before.ends_with(':');
    return comment ? std::min(rest.find('\n'), rest.size()) : 0;
}

// Returns the length of the text in quotation marks at the start of `rest`. It ends with the line.
size_t TextLength(std::string_view rest) {
    const std::string_view text = rest.substr(0, QuotedLength(rest.substr(1), "\"") + 2);
    return std::min(text.find('\n'), text.size());
}

}  // namespace

Comments::Comments(std::string_view rules) {
    for (size_t at = rules.find_first_of("\"/#"); at < rules.size();
         at = rules.find_first_of("\"/#", at)) {
        const size_t length = CommentLength(rules, at);
        if (length > 0) {
            comments_.push_back(rules.substr(at, length));
        }
        at += length > 0 ? length : rules[at] == '"' ? TextLength(rules.substr(at)) : 1;
    }
}

bool Comments::Contain(std::string_view part) const {
    const auto next = std::upper_bound(
        comments_.begin(), comments_.end(), part.data(),
        [](const char* at, std::string_view comment) { return at < comment.data(); });
    return next != comments_.begin() &&
           part.data() < std::prev(next)->data() + std::prev(next)->size();
}

}  // namespace rightclick
