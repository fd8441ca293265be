#include "rules/rule_pieces.h"

#include <algorithm>

namespace kelvaro {
namespace {

bool IsBrace(char byte) noexcept {
    return byte == '{' || byte == '}';
}

}  // namespace

std::optional<RulePiece> RulePieces::Find(size_t position) noexcept {
    if (position > rules_.size()) {
        return std::nullopt;
    }
    size_t begin = position;
    while (begin > next_ && !IsBrace(rules_[begin - 1])) {
        --begin;
    }
    const size_t end = std::min(rules_.find_first_of("{}", position), rules_.size());
    next_ = end + 1;
    const bool opened = begin > 0 && rules_[begin - 1] == '{';
    const bool closed = end < rules_.size() && rules_[end] == '}';
    begin -= opened ? 1 : 0;
    return RulePiece{rules_.substr(begin, end + (closed ? 1 : 0) - begin), opened, closed};
}

}  // namespace kelvaro
